#ifndef PLAYER_LOSTWAY_H
#define PLAYER_LOSTWAY_H

#include "player/src/core/Clock.h"
#include "player/src/core/Ffmpeg.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace player
{

/**
 * Tells when a demuxer has lost its way: it follows a length that the stream does not keep, and everything that comes
 * is swallowed.
 *
 * A length that the container announces for a packet is believed up to the size of the source buffer. FFmpeg asks for
 * the rest of such a packet at one go, whereas it skips by buffers, of which few are believed. A demuxer that looks for
 * start codes finds back by itself; there only a picture without end is given up.
 *
 * Threads: one. Units: bytes; positions count from the first byte pushed.
 */
class LostWay
{
public:
    explicit LostWay(std::size_t sourceBufferBytes) : m_nSourceBuffer(static_cast<std::int64_t>(sourceBufferBytes)) {}

    /** The stream begins. */
    void begin(const AVInputFormat &input, Moment now);
    /** The container is being opened anew at a position. */
    void beginAt(const AVInputFormat &input, std::int64_t position, Moment now);
    /** Its header is read. */
    void headerIsRead()
    {
        m_bHeader = false;
    }
    void foundPacket(std::int64_t position, Moment now);
    /** FFmpeg asks for so many bytes from a position on, at most `bufferBytes` of them when it skips. */
    [[nodiscard]] bool isLost(std::int64_t position, int wanted, int bufferBytes, Moment now);
    /** The container was opened anew at this very position already, whatever packets its header holds. */
    [[nodiscard]] bool isAtBeginning(std::int64_t position) const
    {
        return position == m_nBegunAt;
    }

private:
    const std::int64_t m_nSourceBuffer;
    bool m_bHeader = true;
    bool m_bFollowsLengths = true;
    std::int64_t m_nBegunAt = -1; /**< where the container was opened anew last */
    bool m_bAnyPacket = false;
    /** How far the stream was read, and when, as the last packet was found or the container was opened. */
    std::int64_t m_nPacketPosition = 0;
    Moment m_packetTime;
    /** Where the packet that is being read ends. */
    std::int64_t m_nAnnouncedEnd = 0;
};

/**
 * Where, in bytes that are said to be inside a packet, a new part of the container certainly begins: the announced
 * length was broken. Empty where none does, and for containers that have no such mark.
 */
[[nodiscard]] std::optional<std::size_t> beginningIn(const AVInputFormat &input, std::string_view bytes);
/** The demuxer finds no such beginning by itself, which Matroska's does. */
[[nodiscard]] bool needsBeginning(const AVInputFormat &input);
/** The most bytes that such a beginning may have before it can be told. */
inline constexpr std::size_t kMostBeginningBytes = 24;

} // namespace player

#endif
