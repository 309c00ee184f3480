#include "device/src/RtpTrack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace selvik
{
namespace
{

SdpMedia h264()
{
    return Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 H264/90000\n").media.front();
}

Bytes rtp(std::uint16_t sequence, std::uint32_t time, bool bMarker, const Bytes &payload, std::uint32_t source = 1)
{
    Bytes packet(12 + payload.size());
    packet[0] = 0x80;
    packet[1] = static_cast<std::uint8_t>(96 | (bMarker ? 0x80 : 0));
    packet[2] = static_cast<std::uint8_t>(sequence >> 8);
    packet[3] = static_cast<std::uint8_t>(sequence);
    write32(&packet[4], time);
    write32(&packet[8], source);
    std::copy(payload.begin(), payload.end(), packet.begin() + 12);
    return packet;
}

const Bytes kKeyPicture = {0x65, 1, 2, 3};
const Bytes kOtherPicture = {0x41, 1, 2, 3};

std::vector<MediaUnit> feed(RtpTrack &track, const Bytes &packet)
{
    std::vector<MediaUnit> units;
    track.feed({packet.data(), packet.size()}, units);
    return units;
}

TEST(RtpTrack, HandsAPictureOverWithItsMarker)
{
    RtpTrack track(h264());
    EXPECT_TRUE(feed(track, rtp(1, 0, false, {0x67, 1, 2})).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(2, 0, true, kKeyPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_TRUE(units[0].isKey());
    EXPECT_EQ(Bytes(units[0].bytes().begin(), units[0].bytes().end()),
              (Bytes{0, 0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x65, 1, 2, 3}));
}

TEST(RtpTrack, CountsMicrosecondsAcrossTheWrapOfTheClock)
{
    RtpTrack track(h264());
    (void)feed(track, rtp(0xFFFF, 0xFFFFFFFF - 44999, true, kKeyPicture));
    const std::vector<MediaUnit> units = feed(track, rtp(0, 45000, true, kOtherPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(units[0].packet->pts, 1000000);
}

TEST(RtpTrack, AfterALossItWaitsForAKeyPicture)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(1, 0, true, kKeyPicture)).size(), 1U);
    EXPECT_EQ(feed(track, rtp(2, 3600, true, kOtherPicture)).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(4, 10800, true, kOtherPicture)).empty());
    EXPECT_TRUE(feed(track, rtp(5, 14400, true, kOtherPicture)).empty());
    EXPECT_EQ(feed(track, rtp(6, 18000, true, kKeyPicture)).size(), 1U);
    EXPECT_EQ(feed(track, rtp(7, 21600, true, kOtherPicture)).size(), 1U);
}

TEST(RtpTrack, IgnoresPacketsThatCameBefore)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(5, 3600, true, kKeyPicture)).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(5, 3600, true, kKeyPicture)).empty());
    EXPECT_TRUE(feed(track, rtp(4, 0, true, kOtherPicture)).empty());
    EXPECT_EQ(feed(track, rtp(6, 7200, true, kOtherPicture)).size(), 1U);
}

TEST(RtpTrack, ANewSourceBeginsWithAKeyPicture)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(5, 3600, true, kKeyPicture)).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(900, 99, true, kOtherPicture, 2)).empty());
    EXPECT_EQ(feed(track, rtp(901, 3699, true, kKeyPicture, 2)).size(), 1U);
}

TEST(RtpTrack, TellsTheTimeOfDayOfAPicture)
{
    RtpTrack track(h264());
    Bytes report(28);
    report[0] = 0x80;
    report[1] = 200;
    report[3] = 6;
    write32(&report[8], 2208988800U + 1000);
    write32(&report[12], 0x80000000U);
    write32(&report[16], 90000);
    track.feedReport({report.data(), report.size()});
    const std::vector<MediaUnit> units = feed(track, rtp(1, 0, true, kKeyPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(units[0].captureTime, 1000500000 - 1000000);
}

TEST(RtpTrack, JoinsAMetadataDocument)
{
    RtpTrack track(Sdp::parse("m=application 0 RTP/AVP 107\na=rtpmap:107 vnd.onvif.metadata/90000\n").media.front());
    EXPECT_TRUE(feed(track, rtp(1, 0, false, {'<', 'a'})).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(2, 0, true, {'/', '>'}));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(std::string(units[0].bytes().begin(), units[0].bytes().end()), "<a/>");
}

TEST(RtpTrack, TakesTheUnitsOfAacApart)
{
    RtpTrack track(Sdp::parse("m=audio 0 RTP/AVP 96\na=rtpmap:96 mpeg4-generic/16000/1\n"
                              "a=fmtp:96 streamtype=5;profile-level-id=1;mode=AAC-hbr;sizelength=13;indexlength=3;"
                              "indexdeltalength=3;config=1408\n")
                       .media.front());
    EXPECT_EQ(track.parameters().codec_id, AV_CODEC_ID_AAC);
    EXPECT_EQ(track.parameters().extradata_size, 2);
    // Two headers of 16 bits: sizes of 3 and 2 bytes.
    const std::vector<MediaUnit> units = feed(track, rtp(1, 0, true, {0, 32, 0, 24, 0, 16, 1, 2, 3, 4, 5}));
    ASSERT_EQ(units.size(), 2U);
    EXPECT_EQ(Bytes(units[0].bytes().begin(), units[0].bytes().end()), (Bytes{1, 2, 3}));
    EXPECT_EQ(Bytes(units[1].bytes().begin(), units[1].bytes().end()), (Bytes{4, 5}));
    EXPECT_EQ(units[1].packet->pts - units[0].packet->pts, 64000);
}

TEST(RtpTrack, MakesAJpegPictureOutOfItsPieces)
{
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 26\n").media.front());
    EXPECT_EQ(track.parameters().codec_id, AV_CODEC_ID_MJPEG);
    EXPECT_TRUE(feed(track, rtp(1, 0, false, {0, 0, 0, 0, 1, 50, 4, 4, 9, 9, 9, 9})).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(2, 0, true, {0, 0, 0, 4, 1, 50, 4, 4, 8, 8, 8, 8}));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_TRUE(units[0].isKey());
    EXPECT_EQ(read16(units[0].bytes().begin()), 0xFFD8);
    EXPECT_EQ(read16(units[0].bytes().end() - 2), 0xFFD9);
}

TEST(RtpTrack, GoesOnWhenFfmpegWantsToReport)
{
    // It does so for every 280 kilobytes.
    RtpTrack track(h264());
    Bytes payload(1200, 7);
    payload[0] = 0x41;
    for (std::uint16_t nSequence = 0; nSequence < 1000; ++nSequence) {
        ASSERT_EQ(feed(track, rtp(nSequence, 3600U * nSequence, true, payload)).size(), 1U) << nSequence;
    }
}

TEST(RtpTrack, RefusesWhatCannotBeCarried)
{
    EXPECT_THROW(RtpTrack(Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 UNHEARD/90000\n").media.front()),
                 std::exception);
    EXPECT_THROW(RtpTrack(Sdp::parse("m=audio 0 RTP/AVP 97\na=rtpmap:97 mpeg4-generic/48000/2\n").media.front()),
                 std::exception);
}

TEST(RtpTrack, SurvivesAnyPacket)
{
    std::mt19937 random(815);
    for (const char *pName : {"H264", "H265", "JPEG", "VP8", "MP4V-ES"}) {
        const std::string text = std::string("m=video 0 RTP/AVP 96\na=rtpmap:96 ") + pName + "/90000\n";
        RtpTrack track(Sdp::parse(text).media.front());
        std::vector<MediaUnit> units;
        for (std::uint16_t n = 0; n < 400; ++n) {
            Bytes packet = rtp(n, random() % 3, random() % 2 == 0, Bytes(random() % 60));
            for (std::size_t i = 12; i < packet.size(); ++i) {
                packet[i] = static_cast<std::uint8_t>(random());
            }
            if (random() % 4 == 0) {
                packet[0] = static_cast<std::uint8_t>(random());
            }
            packet.resize(random() % 10 == 0 ? random() % packet.size() : packet.size());
            track.feed({packet.data(), packet.size()}, units);
            track.feedReport({packet.data(), packet.size()});
        }
        for (const MediaUnit &unit : units) {
            EXPECT_GT(unit.packet->size, 0);
        }
    }
}

} // namespace
} // namespace selvik
