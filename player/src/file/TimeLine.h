#ifndef PLAYER_TIMELINE_H
#define PLAYER_TIMELINE_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <optional>

namespace player
{

/**
 * Joins what a source's time stamps tear apart: where they start over or leap, time goes on.
 *
 * It is told every picture packet in the order of the file, and what comes out depends on nothing else, so that two
 * readers of the same packets agree. Reading that begins in the middle takes over where another one stood there.
 *
 * Threads: one.
 * Units:   ticks of the picture stream.
 */
class TimeLine
{
public:
    struct Traits {
        /** A leap forwards is a cut and not a pause. */
        bool mayLeap = false;
        /** The container says when pictures are shown; when they are decoded is a guess of FFmpeg's. */
        bool guessesDecoding = false;
    };

    /** `nominal`: what a picture lasts where nothing tells. */
    TimeLine(AVRational tick, const Traits &traits, std::int64_t nominal);

    /** What is told next follows nothing that was told before. */
    void restart(std::int64_t shift);
    /** The next packet's shift: what has to be added to its stamps. */
    std::int64_t place(const AVPacket &packet);

    [[nodiscard]] std::int64_t shift() const
    {
        return m_nShift;
    }

    /** The shift in force before the latest one began; packets of other streams there may belong to either. */
    [[nodiscard]] std::int64_t formerShift() const
    {
        return m_nFormerShift;
    }

private:
    [[nodiscard]] std::int64_t joining(const AVPacket &packet, std::int64_t stamp) const;

    const bool m_bGuessesDecoding;
    const std::int64_t m_nMostBack;
    const std::optional<std::int64_t> m_mostForward;
    const std::int64_t m_nNominal;
    std::int64_t m_nShift = 0;
    std::int64_t m_nFormerShift = 0;
    /** Of the packet before, as the source has them; the stamps of packets without any count on from there. */
    std::optional<std::int64_t> m_latest;
    bool m_bDecoding = false;
    std::int64_t m_nDuration = 0;
    /** When the picture that is shown last has been shown, with its shift. */
    std::optional<std::int64_t> m_shownUpTo;
};

} // namespace player

#endif
