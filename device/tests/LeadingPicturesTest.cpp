// H.265 with open groups, as many cameras send it: pictures behind a clean random access that are made of pictures
// before it.

#include "device/src/CodedPicture.h"
#include "device/src/RtpTrack.h"
#include "device/src/UnitScanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

extern "C" {
#include <libavutil/adler32.h>
}

namespace selvik
{
namespace
{

// Types of units of ITU-T H.265, table 7-1.
constexpr int kFirstSkipped = 8;
constexpr int kLastSkipped = 9;
constexpr int kCra = 21;

struct Coded {
    Bytes bytes;
    std::int64_t ticks = 0; /**< of 90 kHz, in the order of showing */
    int nType = -1;         /**< of its slices */

    [[nodiscard]] bool isSkipped() const
    {
        return nType >= kFirstSkipped && nType <= kLastSkipped;
    }
};

using Places = std::vector<std::size_t>;
/** A checksum of each picture that is shown, by its time. */
using Sums = std::map<std::int64_t, unsigned long>;

int sliceType(const Bytes &picture)
{
    int nType = -1;
    visitUnits({picture.data(), picture.size()}, Leading::IsNothing, [&nType](ByteView unit) {
        const int nUnit = unit.pData[0] >> 1 & 0x3F;
        nType = nUnit < 32 ? nUnit : nType;
    });
    return nType;
}

/** The clip's pictures in the order of sending. */
std::vector<Coded> readClip()
{
    const char *pMedia = std::getenv("PELLORA_TEST_MEDIA");
    const std::string path = std::string(pMedia != nullptr ? pMedia : "build/media") + "/h265-open-gop.ts";
    AVFormatContext *pFormat = nullptr;
    if (avformat_open_input(&pFormat, path.c_str(), nullptr, nullptr) < 0) {
        ADD_FAILURE() << "no such clip: " << path;
        return {};
    }
    const FormatPtr format(pFormat);
    EXPECT_GE(avformat_find_stream_info(pFormat, nullptr), 0);
    std::vector<Coded> pictures;
    const PacketPtr packet(required(av_packet_alloc()));
    while (av_read_frame(pFormat, packet.get()) >= 0) {
        Coded picture{Bytes(packet->data, packet->data + packet->size), packet->pts};
        // With the start codes that come out of a track.
        (void)inspectPicture(AV_CODEC_ID_HEVC, picture.bytes);
        picture.nType = sliceType(picture.bytes);
        pictures.push_back(std::move(picture));
        av_packet_unref(packet.get());
    }
    return pictures;
}

/** RFC 7798: a unit in a packet of its own, or in fragments. */
void appendPayloads(ByteView unit, std::vector<Bytes> &payloads)
{
    constexpr std::size_t kMost = 1200;
    if (unit.size <= kMost) {
        payloads.emplace_back(unit.begin(), unit.end());
        return;
    }
    const auto nType = static_cast<std::uint8_t>(unit.pData[0] >> 1 & 0x3F);
    const auto nHead = static_cast<std::uint8_t>((unit.pData[0] & 0x81) | 49 << 1);
    for (std::size_t at = 2; at < unit.size; at += kMost) {
        const std::size_t size = std::min(kMost, unit.size - at);
        const int nFlags = (at == 2 ? 0x80 : 0) | (at + size == unit.size ? 0x40 : 0);
        Bytes payload = {nHead, unit.pData[1], static_cast<std::uint8_t>(nFlags | nType)};
        payload.insert(payload.end(), unit.pData + at, unit.pData + at + size);
        payloads.push_back(std::move(payload));
    }
}

/** What a decoder shows that gets these pictures, one after the other. */
Sums shown(const std::vector<Coded> &clip, const Places &places)
{
    const AVCodec *pDecoder = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    const CodecPtr codec(required(avcodec_alloc_context3(pDecoder)));
    EXPECT_EQ(avcodec_open2(codec.get(), pDecoder, nullptr), 0);
    const FramePtr frame(required(av_frame_alloc()));
    Sums sums;
    for (std::size_t i = 0; i <= places.size(); ++i) {
        PacketPtr packet;
        if (i < places.size()) {
            const Coded &picture = clip[places[i]];
            packet = makePacket({picture.bytes.data(), picture.bytes.size()});
            packet->pts = picture.ticks;
        }
        EXPECT_EQ(avcodec_send_packet(codec.get(), packet.get()), 0);
        while (avcodec_receive_frame(codec.get(), frame.get()) == 0) {
            unsigned long sum = 1;
            for (int nRow = 0; nRow < frame->height; ++nRow) {
                sum = av_adler32_update(static_cast<AVAdler>(sum),
                                        frame->data[0] + static_cast<std::ptrdiff_t>(nRow) * frame->linesize[0],
                                        static_cast<std::size_t>(frame->width));
            }
            sums[frame->pts] = sum;
        }
    }
    return sums;
}

/** A camera that sends a clip, some of whose packets are lost on the way. */
class OpenGroups : public testing::Test
{
protected:
    void SetUp() override
    {
        m_clip = readClip();
        ASSERT_EQ(m_clip.size(), 100U);
        while (m_nAccess < m_clip.size() && m_clip[m_nAccess].nType != kCra) {
            ++m_nAccess;
        }
        ASSERT_LT(m_nAccess + 3, m_clip.size()) << "no clean random access in the clip";
        for (std::size_t i = 1; i <= 3; ++i) {
            ASSERT_TRUE(m_clip[m_nAccess + i].isSkipped()) << "no skipped leading pictures in the clip";
        }
    }

    /** Of the clip's pictures from one place up to before another, in packets. */
    void send(std::size_t from, std::size_t to)
    {
        for (std::size_t i = from; i < to; ++i) {
            const Coded &picture = m_clip[i];
            std::vector<Bytes> payloads;
            visitUnits({picture.bytes.data(), picture.bytes.size()}, Leading::IsNothing,
                       [&payloads](ByteView unit) { appendPayloads(unit, payloads); });
            for (std::size_t k = 0; k < payloads.size(); ++k) {
                sendPacket(payloads[k], picture.ticks, k + 1 == payloads.size(), Milliseconds(40) * i);
            }
        }
    }

    /** A packet that does not arrive. */
    void lose()
    {
        ++m_nSequence;
    }

    /** Which of the clip's pictures have come out. */
    [[nodiscard]] Places handedOn() const
    {
        Places places;
        for (const MediaUnit &unit : m_units) {
            const Bytes bytes(unit.bytes().begin(), unit.bytes().end());
            const auto found = std::find_if(m_clip.begin(), m_clip.end(),
                                            [&bytes](const Coded &picture) { return picture.bytes == bytes; });
            EXPECT_NE(found, m_clip.end()) << "a picture that was not sent";
            places.push_back(static_cast<std::size_t>(found - m_clip.begin()));
        }
        return places;
    }

    /** Those from one place up to before another, without the skipped ones behind the first random access. */
    [[nodiscard]] Places range(std::size_t from, std::size_t to) const
    {
        Places places;
        for (std::size_t i = from; i < to; ++i) {
            if (i <= m_nAccess || i > m_nAccess + 3) {
                places.push_back(i);
            }
        }
        return places;
    }

    /** The decoded pictures are those of the whole stream. */
    void expectWhole(const Places &places) const
    {
        const Sums whole = shown(m_clip, all());
        for (const auto &[time, sum] : shown(m_clip, places)) {
            ASSERT_EQ(whole.count(time), 1U);
            EXPECT_EQ(sum, whole.at(time)) << "the picture at " << time;
        }
    }

    [[nodiscard]] Places all() const
    {
        Places places(m_clip.size());
        for (std::size_t i = 0; i < places.size(); ++i) {
            places[i] = i;
        }
        return places;
    }

    std::vector<Coded> m_clip;
    std::size_t m_nAccess = 0; /**< the place of the first clean random access */

private:
    void sendPacket(const Bytes &payload, std::int64_t ticks, bool bMarker, Milliseconds arrival)
    {
        Bytes packet(12);
        packet[0] = 0x80;
        packet[1] = static_cast<std::uint8_t>(96 | (bMarker ? 0x80 : 0));
        packet[2] = static_cast<std::uint8_t>(m_nSequence >> 8);
        packet[3] = static_cast<std::uint8_t>(m_nSequence++);
        write32(&packet[4], static_cast<std::uint32_t>(ticks));
        write32(&packet[8], 1);
        packet.insert(packet.end(), payload.begin(), payload.end());
        EXPECT_TRUE(m_track.feed({packet.data(), packet.size()}, Clock::time_point(arrival), m_units));
    }

    RtpTrack m_track{Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 H265/90000\n").media.front()};
    std::uint16_t m_nSequence = 7;
    std::vector<MediaUnit> m_units;
};

TEST_F(OpenGroups, AreHandedOnWholeWhereNothingIsMissing)
{
    send(0, m_clip.size());
    EXPECT_EQ(handedOn(), all());
}

TEST_F(OpenGroups, EnteredAtARandomAccessAreHandedOnWithoutWhatIsMadeOfPicturesBeforeIt)
{
    send(m_nAccess, m_clip.size());
    EXPECT_EQ(handedOn(), range(m_nAccess, m_clip.size()));
    expectWhole(handedOn());
}

TEST_F(OpenGroups, AfterALossAreHandedOnFromTheNextRandomAccessWithoutWhatIsMadeOfPicturesBeforeIt)
{
    send(0, m_nAccess - 4);
    lose();
    send(m_nAccess - 3, m_clip.size());
    Places expected = range(0, m_nAccess - 4);
    const Places behind = range(m_nAccess, m_clip.size());
    expected.insert(expected.end(), behind.begin(), behind.end());
    EXPECT_EQ(handedOn(), expected);
    expectWhole(handedOn());
}

TEST_F(OpenGroups, AfterALossAmongThoseAreHandedOnFromTheNextRandomAccess)
{
    send(0, m_nAccess + 1);
    lose();
    send(m_nAccess + 2, m_clip.size());
    const Places places = handedOn();
    ASSERT_GT(places.size(), m_nAccess + 1);
    EXPECT_EQ(m_clip[places[m_nAccess + 1]].nType, kCra);
    for (std::size_t i = m_nAccess + 2; i < m_nAccess + 5; ++i) {
        EXPECT_FALSE(m_clip[places[i]].isSkipped());
    }
    expectWhole(places);
}

} // namespace
} // namespace selvik
