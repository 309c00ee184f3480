#include "device/src/Sdp.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

TEST(Sdp, IsReadHoweverItsLinesEnd)
{
    for (const std::string end : {"\r\n", "\n", " \r\n"}) {
        const Sdp sdp =
            Sdp::parse("v=0" + end + "a=control:*" + end + "m=video 0 RTP/AVP 96 97" + end + "a=rtpmap:97 X/1" + end +
                       "a=rtpmap:96 H264/90000" + end + "a=fmtp:96 packetization-mode=1;;" + end +
                       "a=control:trackID=1" + end + "m=audio 0 RTP/AVP 0" + end + "m=application 0 RTP/AVP 107" + end +
                       "a=rtpmap:107 vnd.onvif.metadata/90000" + end);
        ASSERT_EQ(sdp.media.size(), 3U);
        EXPECT_EQ(sdp.control, "*");
        EXPECT_EQ(sdp.media[0].kind, SdpMedia::Kind::Video);
        EXPECT_EQ(sdp.media[0].encoding, "h264");
        EXPECT_EQ(sdp.media[0].nClockRate, 90000);
        EXPECT_EQ(sdp.media[0].fmtp, "packetization-mode=1;;");
        EXPECT_EQ(sdp.media[0].control, "trackID=1");
        EXPECT_EQ(sdp.media[1].kind, SdpMedia::Kind::Audio);
        EXPECT_EQ(sdp.media[1].nClockRate, 8000);
        EXPECT_EQ(sdp.media[2].kind, SdpMedia::Kind::Metadata);
    }
}

TEST(Sdp, EndsNoLineOfWhatIsMadeOfIt)
{
    const Sdp sdp = Sdp::parse("a=control:all\rX\nm=video 0 RTP/AVP 96\na=rtpmap:96 H264/90000\n"
                               "a=fmtp:96 x=1\ra=fmtp:96 y\na=control:t=1 RTSP/1.0\rX: y\n");
    ASSERT_EQ(sdp.media.size(), 1U);
    EXPECT_EQ(sdp.control, "all X");
    EXPECT_EQ(sdp.media[0].control, "t=1 RTSP/1.0 X: y");
    EXPECT_EQ(sdp.media[0].fmtp, "x=1 a=fmtp:96 y");
}

TEST(Sdp, SurvivesNonsense)
{
    for (const char *pText : {"", "m=", "m=video", "a=rtpmap:96", "m=video 0 RTP/AVP\na=", "m=video 0 RTP/AVP 96\na=:",
                              "m=video 0 RTP/AVP 96\na=rtpmap:96 /", "m=video 0 RTP/AVP 96\na=rtpmap:96 H264/0"}) {
        const Sdp sdp = Sdp::parse(pText);
        for (const SdpMedia &media : sdp.media) {
            EXPECT_FALSE(media.description(true).empty()) << pText;
            EXPECT_TRUE(media.nPayloadType < 0 || media.nClockRate > 0) << pText;
        }
    }
}

struct ControlCase {
    const char *pBase;
    const char *pControl;
    const char *pExpected;
};

class Control : public testing::TestWithParam<ControlCase>
{
};

TEST_P(Control, IsJoinedAsDevicesMeanIt)
{
    EXPECT_EQ(resolveControl(GetParam().pBase, GetParam().pControl), GetParam().pExpected);
}

INSTANTIATE_TEST_SUITE_P(Controls, Control,
                         testing::Values(ControlCase{"rtsp://c/a", "", "rtsp://c/a"},
                                         ControlCase{"rtsp://c/a", "*", "rtsp://c/a"},
                                         ControlCase{"rtsp://c/a", "t=1", "rtsp://c/a/t=1"},
                                         ControlCase{"rtsp://c/a/", "t=1", "rtsp://c/a/t=1"},
                                         ControlCase{"rtsp://c/a?x=y", "t=1", "rtsp://c/a?x=y/t=1"},
                                         ControlCase{"rtsp://c/a/", "/t=1", "rtsp://c/a/t=1"},
                                         ControlCase{"rtsp://c/a", "RTSP://d/b", "RTSP://d/b"}));

} // namespace
} // namespace selvik
