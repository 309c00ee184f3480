#ifndef PLAYER_LIVEDEMUXER_H
#define PLAYER_LIVEDEMUXER_H

#include "player/src/core/Error.h"
#include "player/src/core/Ffmpeg.h"
#include "player/src/live/LiveBuffer.h"
#include "player/src/live/LostWay.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace player
{

/** Takes what a pushed stream holds besides its pictures. Called on the reading thread, inside open() and read(). */
class OtherStreams
{
public:
    OtherStreams() = default;
    virtual ~OtherStreams() = default;
    OtherStreams(const OtherStreams &) = delete;
    OtherStreams &operator=(const OtherStreams &) = delete;

    /** The container's header has been read, for the first time or anew: the streams before are gone. */
    virtual void opened(const AVFormatContext &format) = 0;
    /** A packet of one of the streams, which may be new. */
    virtual void took(PacketPtr pPacket, const AVFormatContext &format) = 0;
};

/** One coded picture of a pushed stream. */
struct LivePacket {
    PacketPtr pPacket;
    /** When the byte came that showed it to be whole: its last one, or one of the next picture's. */
    Moment whole;
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
 * FFmpeg's own analysis of streams is left out, since it would hold the first pictures back: what the container's
 * header says is believed. When the demuxer fails or has lost its way, the container is opened anew, with its own
 * header, at the position that was reached.
 *
 * Threads: the reading thread of the buffer.
 * Owns:    FFmpeg's reading context, a copy of the header. Borrows the clock, the buffer and whoever takes the rest.
 * Errors:  open() and read() throw OpenFailure for a stream that cannot be played.
 */
class LiveDemuxer
{
public:
    /** `onIdle` is called on the reading thread, inside open() and read(), whenever these are about to wait for bytes.
     */
    LiveDemuxer(Clock &clock, std::vector<std::uint8_t> header, LiveBuffer &buffer, std::function<void()> onIdle,
                OtherStreams *pOthers = nullptr);
    ~LiveDemuxer();
    LiveDemuxer(const LiveDemuxer &) = delete;
    LiveDemuxer &operator=(const LiveDemuxer &) = delete;

    /** Waits for the whole header of the container; false when it was interrupted. */
    bool open();
    /** Waits for the next picture; empty when it was interrupted. */
    std::optional<LivePacket> read();
    /** False until the first picture, and while the container is being opened anew. */
    [[nodiscard]] bool hasPictureStream() const
    {
        return m_pStream != nullptr;
    }
    /** The stream that the latest picture came from. */
    [[nodiscard]] const AVStream &pictureStream() const
    {
        return *m_pStream;
    }
    /** The times of the packets are made up. */
    [[nodiscard]] bool isWithoutTimes() const;

private:
    static int isInterrupted(void *pSelf);
    static int readBytes(void *pSelf, std::uint8_t *pBuffer, int size);
    int readBytes(std::uint8_t *pBuffer, int size);

    const AVInputFormat *recognise();
    void openFormat();
    bool reopen();
    bool isBehindGap(const AVPacket &packet);
    bool isOfPictureStream(const AVPacket &packet);
    LivePacket described(PacketPtr pPacket);
    [[nodiscard]] std::optional<std::int64_t> stampedTime(const AVPacket &packet) const;
    /** Holds back what comes from there on. */
    bool holdsBeginning(const std::uint8_t *pBytes, std::size_t count);
    /** How far FFmpeg has read the buffer. */
    [[nodiscard]] std::int64_t position() const;

    Clock &m_clock;
    const std::vector<std::uint8_t> m_header;
    LiveBuffer &m_buffer;
    const std::function<void()> m_onIdle;
    OtherStreams *const m_pOthers;
    bool m_bInterrupted = false;

    const AVInputFormat *m_pInput = nullptr;
    IoPtr m_pIo;
    FormatPtr m_pFormat;
    const AVStream *m_pStream = nullptr;
    /** When a picture was last read from that stream. */
    Moment m_pictureTime;
    /** Matroska's date, which its times are counted from. */
    std::optional<std::int64_t> m_utcOfZero;

    /** How much of the header FFmpeg has read since the container was opened. */
    std::size_t m_nHeaderRead = 0;
    /** A position in the buffer is FFmpeg's position plus this. */
    std::int64_t m_nPositionShift = 0;
    /** Where the data of the packet that lies furthest behind ends; negative while there was none. */
    std::int64_t m_nDataEnd = -1;
    /** The last gap of the buffer that a packet was marked for. */
    std::int64_t m_nGapTold = -1;

    LostWay m_lostWay;
    /** The last bytes that were read, in which a new part of the container may have begun … */
    std::vector<std::uint8_t> m_tail;
    /** … and what follows from there on, read from the buffer but not yet by FFmpeg. */
    std::vector<std::uint8_t> m_held;
    /** The length that is being followed has turned out to be wrong; FFmpeg gets nothing more until it begins anew. */
    bool m_bBroken = false;
    /** The container was opened anew, and FFmpeg would take for its next part whatever comes. */
    bool m_bToBeginning = false;
};

} // namespace player

#endif
