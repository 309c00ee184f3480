#ifndef DEVICE_FUZZ_FUZZEDTRACK_H
#define DEVICE_FUZZ_FUZZEDTRACK_H

#include "device/src/RtpTrack.h"
#include "device/src/Sdp.h"

#include <array>
#include <string>

namespace selvik
{

/** The media that fuzz targets read packets of, as cameras describe them. */
[[nodiscard]] inline SdpMedia fuzzedMedium(std::uint8_t choice)
{
    static const std::array<const char *, 16> kMedia = {
        "m=video 0 RTP/AVP 96\na=rtpmap:96 H264/90000\n",
        "m=video 0 RTP/AVP 96\na=rtpmap:96 H265/90000\n",
        "m=audio 0 RTP/AVP 8\n",
        "m=application 0 RTP/AVP 107\na=rtpmap:107 vnd.onvif.metadata/90000\n",
        "m=video 0 RTP/AVP 26\n",
        "m=video 0 RTP/AVP 96\na=rtpmap:96 MP4V-ES/90000\n",
        "m=video 0 RTP/AVP 96\na=rtpmap:96 VP8/90000\n",
        "m=video 0 RTP/AVP 96\na=rtpmap:96 VP9/90000\n",
        "m=video 0 RTP/AVP 32\n",
        "m=video 0 RTP/AVP 33\n",
        "m=audio 0 RTP/AVP 97\na=rtpmap:97 mpeg4-generic/16000/1\na=fmtp:97 "
        "streamtype=5;profile-level-id=1;mode=AAC-hbr;"
        "sizelength=13;indexlength=3;indexdeltalength=3;config=1408\n",
        "m=audio 0 RTP/AVP 97\na=rtpmap:97 MP4A-LATM/16000/1\na=fmtp:97 cpresent=1\n",
        "m=audio 0 RTP/AVP 97\na=rtpmap:97 G726-32/8000\n",
        "m=audio 0 RTP/AVP 97\na=rtpmap:97 L16/16000/1\n",
        "m=video 0 RTP/AVP 96\na=rtpmap:96 MP2P/90000\n",
        "m=video 0 RTP/AVP 96\na=rtpmap:96 AV1/90000\n"};
    SdpMedia media = Sdp::parse(kMedia[choice % kMedia.size()]).media.front();
    // Descriptions may say what they like of the clock, too.
    static constexpr std::array<int, 4> kClockRates = {0, 1, 1000, 1000000000};
    const int nClockRate = kClockRates[(choice >> 4) & 3];
    media.nClockRate = nClockRate != 0 ? nClockRate : media.nClockRate;
    return media;
}

/**
 * One medium's packets to the track that reads them. Where `bInOrder`, RTP packets get the numbers that follow each
 * other, so that changes of an input do not end in the search for a lost packet; a jump changes them on purpose.
 *
 * Threads: one. Errors: the constructor throws Failure where the medium cannot be carried.
 */
class FuzzedTrack
{
public:
    FuzzedTrack(const SdpMedia &media, bool bInOrder) : m_bInOrder(bInOrder), m_track(media) {}

    /** Numbers of the input's own come as datagrams do. */
    void useDatagrams()
    {
        m_track.useDatagrams();
    }
    void wait(Clock::time_point now, std::vector<MediaUnit> &units)
    {
        m_track.wait(now, units);
    }

    [[nodiscard]] RtpTrack &track()
    {
        return m_track;
    }
    void feed(ByteView bytes, Clock::time_point arrival, std::vector<MediaUnit> &units)
    {
        Bytes packet(bytes.begin(), bytes.end());
        if (packet.size() >= kHead) {
            const auto sequence =
                static_cast<std::uint16_t>((m_bInOrder ? ++m_nRunning : read16(&packet[2])) + m_nSequence);
            packet[2] = static_cast<std::uint8_t>(sequence >> 8);
            packet[3] = static_cast<std::uint8_t>(sequence);
            write32(&packet[4], read32(&packet[4]) + m_nTime);
            write32(&packet[8], read32(&packet[8]) + m_nSource);
        }
        (void)m_track.feed({packet.data(), packet.size()}, arrival, units);
    }
    void feedReport(ByteView packet)
    {
        m_track.feedReport(packet);
    }
    /** Sequence numbers, time stamps and the source are others from now on, by the two and four bytes in the packet. */
    void jump(ByteView packet)
    {
        m_nSequence = static_cast<std::uint16_t>(m_nSequence + (packet.size >= 2 ? read16(packet.pData) : 0));
        m_nTime += packet.size >= 6 ? read32(packet.pData + 2) : 0;
        m_nSource += packet.size >= 10 ? read32(packet.pData + 6) : 0;
    }

private:
    static constexpr std::size_t kHead = 12;

    const bool m_bInOrder;
    RtpTrack m_track;
    std::uint16_t m_nRunning = 0;
    // What jumps have added.
    std::uint16_t m_nSequence = 0;
    std::uint32_t m_nTime = 0;
    std::uint32_t m_nSource = 0;
};

} // namespace selvik

#endif
