#ifndef DEVICE_RTPTRACK_H
#define DEVICE_RTPTRACK_H

#include "device/src/MediaUnit.h"
#include "device/src/RtpDepacketizer.h"
#include "device/src/Sdp.h"

#include <memory>
#include <optional>
#include <vector>

namespace selvik
{

/**
 * One medium of an RTSP stream: whole pictures, pieces of sound and metadata documents from its RTP packets.
 *
 * After a packet was lost, pictures are left out until the next key picture: what a decoder would make of them is not
 * fit to be shown.
 *
 * Threads: one. Units: the units' times are microseconds of the camera's media clock from the first packet on, and may
 * jump where the camera's clock does.
 */
class RtpTrack
{
public:
    /** Throws Failure(SELVIK_ERROR_MEDIA) for a medium that cannot be carried. */
    explicit RtpTrack(const SdpMedia &media);

    [[nodiscard]] const AVCodecParameters &parameters() const
    {
        return *m_parameters;
    }

    /** One RTP packet in the order of sending; units that it completes are appended. */
    void feed(ByteView packet, std::vector<MediaUnit> &units);
    /** A compound RTCP packet: a sender report in it tells what time of day the media clock shows. */
    void feedReport(ByteView packet);

private:
    struct SenderReport {
        std::int64_t utc;        /**< microseconds since 1970 */
        std::uint32_t timestamp; /**< what the media clock showed then */
    };

    /** Whether the packet goes on where the last one ended; an old one is not to be used at all. */
    [[nodiscard]] bool follow(std::uint16_t sequence, bool &bOld);
    [[nodiscard]] std::int64_t unwrap(std::uint32_t timestamp) const;
    void feedVideo(ByteView packet, bool bMarker, std::vector<MediaUnit> &units);
    void feedSound(ByteView packet, std::vector<MediaUnit> &units);
    void feedMetadata(ByteView packet, bool bMarker, std::vector<MediaUnit> &units);
    void finishPicture(std::vector<MediaUnit> &units);
    void emit(ByteView bytes, std::int64_t ticks, bool bKey, std::vector<MediaUnit> &units) const;

    SdpMedia m_media;
    std::unique_ptr<RtpDepacketizer> m_depacketizer; /**< null for metadata */
    ParametersPtr m_parameters;

    bool m_bStarted = false;
    std::uint16_t m_nSequence = 0;  /**< of the last packet */
    std::uint32_t m_nSource = 0;    /**< of the last packet */
    std::int64_t m_nTicks = 0;      /**< of the last packet, unwrapped; the first packet's is its own number */
    std::int64_t m_nFirstTicks = 0; /**< of the first packet */
    std::optional<SenderReport> m_report;

    Bytes m_picture; /**< what has come of the picture in the making, or of the document */
    std::int64_t m_nPictureTicks = 0;
    std::int64_t m_nLastPictureTicks = AV_NOPTS_VALUE; /**< of the last picture handed on by its marker */
    bool m_bMarkerTrusted = true;
    bool m_bDamaged = false; /**< a packet was lost since the last key picture */
};

} // namespace selvik

#endif
