#ifndef PLAYER_LIVEDEMUXER_H
#define PLAYER_LIVEDEMUXER_H

#include "player/src/core/Ffmpeg.h"
#include "player/src/file/FileDemuxer.h"
#include "player/src/live/LiveBuffer.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace player
{

/** One coded picture of a pushed stream. */
struct LivePacket {
    PacketPtr pPacket;
    /** When its last byte came. */
    LiveBuffer::Moment arrived;
    /** Microseconds since 1970, UTC: what the device stamped, else the container's date, else the time of arrival. */
    std::int64_t utc = 0;
    /** Something before it is missing. */
    bool afterGap = false;

    [[nodiscard]] bool isKey() const
    {
        return (pPacket->flags & AV_PKT_FLAG_KEY) != 0;
    }
};

/**
 * Coded pictures out of a stream that is being pushed, as soon as they are there.
 *
 * What the container's header tells is believed, and nothing is read ahead to learn more. A container that no longer
 * makes sense is begun anew with its own header at the place that was reached.
 *
 * Threads: the reading thread of the buffer.
 * Owns:    FFmpeg's reading context, a copy of the header. Borrows the buffer.
 * Errors:  open() and read() throw OpenFailure for a stream that cannot be played.
 */
class LiveDemuxer
{
public:
    /**
     * `onIdle` is called on the reading thread, from inside open() and read(), before these wait for bytes, and again
     * when somebody woke the buffer meanwhile.
     */
    LiveDemuxer(std::vector<std::uint8_t> header, LiveBuffer &buffer, std::function<void()> onIdle);
    ~LiveDemuxer();
    LiveDemuxer(const LiveDemuxer &) = delete;
    LiveDemuxer &operator=(const LiveDemuxer &) = delete;

    /** Waits for as much as the container's header takes; false when it was interrupted. */
    bool open();
    /** Waits for the next picture; empty when it was interrupted. */
    std::optional<LivePacket> read();
    /** The stream that the latest picture came from. */
    [[nodiscard]] const AVStream &pictureStream() const
    {
        return *m_pStream;
    }
    /** Nothing but pictures after each other: what times there are are made up. */
    [[nodiscard]] bool isWithoutTimes() const;

private:
    static int readBytes(void *pSelf, std::uint8_t *pBuffer, int size);
    int readBytes(std::uint8_t *pBuffer, int size);

    const AVInputFormat *recognise();
    void openFormat();
    bool reopen();
    bool isPicture(const AVPacket &packet);
    LivePacket described(PacketPtr pPacket);
    [[nodiscard]] std::optional<std::int64_t> stampedTime(const AVPacket &packet) const;
    [[nodiscard]] bool hasLostItsWay() const;

    const std::vector<std::uint8_t> m_header;
    LiveBuffer &m_buffer;
    const std::function<void()> m_onIdle;

    const AVInputFormat *m_pInput = nullptr;
    IoPtr m_pIo;
    FormatPtr m_pFormat;
    const AVStream *m_pStream = nullptr;
    std::optional<std::int64_t> m_utcOfZero;
    /** How much of the header has been handed to the container that is open now. */
    std::size_t m_nHeaderRead = 0;
    /** What its byte positions have to be added to for those of the buffer. */
    std::int64_t m_nPositionShift = 0;
    std::int64_t m_nGapTold = -1;
    std::int64_t m_nDataEnd = -1;
    bool m_bInterrupted = false;
    bool m_bReopened = false;
    /** Where and when the last packet of any kind was found. */
    std::int64_t m_nFoundAt = 0;
    LiveBuffer::Moment m_found;
    std::int64_t m_nLargest = 0;
    LiveBuffer::Moment m_pictureFound;
};

} // namespace player

#endif
