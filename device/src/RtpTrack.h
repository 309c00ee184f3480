#ifndef DEVICE_RTPTRACK_H
#define DEVICE_RTPTRACK_H

#include "device/src/MediaUnit.h"
#include "device/src/PictureAssembler.h"
#include "device/src/PictureClock.h"
#include "device/src/PictureEntry.h"
#include "device/src/ReorderBuffer.h"
#include "device/src/RtpDepacketizer.h"
#include "device/src/Sdp.h"
#include "device/src/SourceFilter.h"

#include <memory>
#include <optional>
#include <vector>

namespace selvik
{

/**
 * One medium of an RTSP stream: whole pictures, pieces of sound and metadata documents from its RTP packets.
 *
 * Packets of others that come the same way are left out. After a packet was lost, pictures are left out until the next
 * one at which decoding can begin: what a decoder would make of them is not fit to be shown.
 *
 * Threads: one. Units: the units' times are microseconds of the camera's media clock from the first packet on, and may
 * jump where the camera's clock does.
 */
class RtpTrack
{
public:
    /** Throws Failure(SELVIK_ERROR_MEDIA) for a medium that cannot be carried. */
    explicit RtpTrack(const SdpMedia &media);

    /** Packets come as datagrams do, in any order. Else they come in the order of their sending. */
    void useDatagrams()
    {
        m_reorder.emplace();
    }
    /** Another medium comes the same way: its packets differ in their payload type or source alone. */
    void shareChannel()
    {
        m_bShared = true;
        m_filter.setStrict();
    }
    /** The source that the camera has announced. */
    void expectSource(std::uint32_t source)
    {
        m_filter.expect(source);
    }

    [[nodiscard]] const AVCodecParameters &parameters() const
    {
        return *m_parameters;
    }

    /**
     * What came where the medium is expected: an RTP packet, or an RTCP packet among them. Units that it completes are
     * appended. False where it is not the medium's.
     */
    bool feed(ByteView packet, Clock::time_point arrival, std::vector<MediaUnit> &units);
    /** Nothing came: a missing datagram is perhaps not waited for any longer. */
    void wait(Clock::time_point now, std::vector<MediaUnit> &units);
    /** A compound RTCP packet: a sender report in it tells what time of day the media clock shows. */
    void feedReport(ByteView packet);

    /** The source has taken leave (RTCP BYE), and no other has come in its place. */
    [[nodiscard]] bool hasEnded() const
    {
        return m_bEnded;
    }

private:
    struct SenderReport {
        std::int64_t utc;        /**< microseconds since 1970 */
        std::uint32_t timestamp; /**< what the media clock showed then */
        std::uint32_t source;
    };
    /** Where pieces of sound go. */
    struct SoundSink : public CodedSink {
        void begin(ByteView) override
        {
            pieces.emplace_back();
        }
        void append(ByteView bytes) override
        {
            pieces.back().insert(pieces.back().end(), bytes.begin(), bytes.end());
        }
        std::vector<Bytes> pieces;
    };

    void restart();
    void sortIn(ByteView bytes, Clock::time_point arrival, std::vector<MediaUnit> &units);
    void take(const RtpPacket &packet, Clock::time_point arrival, std::vector<MediaUnit> &units);
    /** Whether the packet goes on where the last one ended; an old one is not to be used at all. */
    [[nodiscard]] bool follow(std::uint16_t sequence, bool &bOld);
    [[nodiscard]] std::int64_t unwrap(std::uint32_t timestamp) const;
    void feedVideo(const RtpPacket &packet, Clock::time_point arrival, std::vector<MediaUnit> &units);
    void feedSound(const RtpPacket &packet, std::vector<MediaUnit> &units);
    void feedMetadata(const RtpPacket &packet, std::vector<MediaUnit> &units);
    void emitDocument(std::vector<MediaUnit> &units);
    void emitPicture(PictureAssembler::Picture &picture, Clock::time_point arrival, std::vector<MediaUnit> &units);
    [[nodiscard]] std::int64_t mediaTime(std::int64_t ticks) const;
    [[nodiscard]] std::int64_t captureTime(std::int64_t ticks) const;
    void noteSenderReport(const std::uint8_t *pReport);
    void noteLeave(ByteView report);

    const SdpMedia m_media;
    std::unique_ptr<RtpDepacketizer> m_depacketizer; /**< null for metadata */
    ParametersPtr m_parameters;
    SourceFilter m_filter;
    std::optional<ReorderBuffer> m_reorder; /**< only of datagrams */
    bool m_bShared = false;

    bool m_bStarted = false;
    std::uint16_t m_nSequence = 0;  /**< of the last packet */
    std::int64_t m_nTicks = 0;      /**< of the last packet, unwrapped; the first packet's is its own number */
    std::int64_t m_nFirstTicks = 0; /**< of the first packet */
    std::optional<SenderReport> m_report;
    bool m_bEnded = false;

    // Pictures.
    std::optional<PictureAssembler> m_assembler;
    PictureEntry m_entry;
    PictureClock m_clock;
    std::optional<Clock::time_point> m_firstArrival;

    // Metadata.
    Bytes m_document; /**< what has come of it */
    std::int64_t m_nDocumentTicks = 0;
    bool m_bDocumentTorn = false;
};

} // namespace selvik

#endif
