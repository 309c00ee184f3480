#ifndef PLAYER_FRAMESTAMPS_H
#define PLAYER_FRAMESTAMPS_H

#include "player/src/file/FileReader.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>

namespace player
{

/**
 * Which packet a decoded frame came of, and when it is shown.
 *
 * Threads: one.
 * Units:   ticks of the picture stream; times in microseconds from the first picture.
 */
class FrameStamps
{
public:
    /** What travels through the decoder with a packet. */
    struct Companion {
        /** Counts packets as they are fed; 0 where the decoder has lost the packet. */
        std::uint64_t serial = 0;
        std::int64_t shift = 0;
        std::optional<std::int64_t> number;
        bool key = false;
    };

    /** `inOrder`: the container tells when packets are decoded and not when pictures are shown; see FileDemuxer. */
    void begin(AVRational tick, bool withoutTimes, bool inOrder);
    /** Before a packet is fed: names it. */
    void enter(CodedPicture &coded);
    /** What is fed next does not continue what was fed before. */
    void restart();
    /** The same, for a key picture in the middle of reading. */
    void forgetOrder();

    [[nodiscard]] Companion companionOf(const AVFrame &frame) const;
    /** Once for each frame. `delay`: pictures that the decoder may hold back at the moment; negative for any number. */
    [[nodiscard]] std::int64_t stampOf(const AVFrame &frame, const Companion &companion, int delay);
    /** Times rise from picture to picture, those without a stamp of their own by the usual duration. */
    [[nodiscard]] std::int64_t timeOf(std::int64_t stamp, std::int64_t usualDuration);
    /** Somebody knows the latest picture's time better. */
    void correct(std::int64_t time)
    {
        m_latestTime = time;
    }

    [[nodiscard]] std::uint64_t latestSerial() const
    {
        return m_nSerial;
    }
    [[nodiscard]] std::int64_t latestShift() const
    {
        return m_nShift;
    }
    [[nodiscard]] std::optional<std::int64_t> latestNumber() const
    {
        return m_latestNumber;
    }
    /** The stamp of the first picture, from which times count. */
    [[nodiscard]] std::optional<std::int64_t> firstTick() const
    {
        return m_firstTick;
    }

private:
    AVRational m_tick{1, 1};
    bool m_bWithoutTimes = false;
    bool m_bInOrder = false;
    /** Of the packets that the decoder may still have pictures of. */
    std::array<Companion, 256> m_companions;
    std::uint64_t m_nSerial = 0;
    std::int64_t m_nShift = 0;
    std::optional<std::int64_t> m_latestNumber;
    std::deque<std::int64_t> m_waiting;
    std::optional<std::int64_t> m_firstTick;
    std::optional<std::int64_t> m_latestTime;
};

} // namespace player

#endif
