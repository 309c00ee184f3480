// What cameras send, how they send it, and whom they let in: each plays on the screen, or says why not.

#include "tests/live/LiveFixture.h"

#include "Selvikdcm.h"

#include <algorithm>
#include <cstdlib>

namespace live
{
namespace
{

using cameras::addressOf;
using cameras::CameraBed;
using testing::Values;

// What the other tests rely on: a camera's clip, played as a file, is read from the screen without a gap.
TEST_F(LiveFixture, ReadsACamerasPicturesFromTheScreen)
{
    const char *pMedia = std::getenv("PELLORA_TEST_MEDIA");
    ASSERT_NE(pMedia, nullptr);
    std::string path = std::string(pMedia) + "/cameras/ch7.mkv";
    EXPECT_EQ(screen().read(0).kind, PaneView::Kind::Empty);
    ASSERT_EQ(PELLORA_PreviewFile(m_lHandle, path.data(), 1, 0), 1);
    ASSERT_TRUE(waitForPicture(0, cameras::wallCamera(7)));
    expectAdvancing(cameras::wallCamera(7), 50);
    EXPECT_EQ(PELLORA_StopPreviewFile(m_lHandle), 1);
}

struct FormatCase {
    const char *pName;
    const char *pPath;
    CameraBed::Port port = CameraBed::Port::Anybody;
    Route route = Route::Task;
    std::size_t nPictures = 20;
};

void PrintTo(const FormatCase &format, std::ostream *pStream)
{
    *pStream << format.pName;
}

class CameraFormat : public LiveFixture, public testing::WithParamInterface<FormatCase>
{
};

TEST_P(CameraFormat, PlaysPictureAfterPicture)
{
    const FormatCase &format = GetParam();
    const cameras::Camera camera = cameras::cameraAt(format.pPath);
    const bool bLogin = format.port == CameraBed::Port::Digest || format.port == CameraBed::Port::Basic;
    const long userID = login(addressOf(bed().port(format.port), format.pPath), bLogin ? cameras::kUser : "",
                              bLogin ? cameras::kPassword : "");
    start(format.route, {userID});
    ASSERT_TRUE(waitForPicture(0, camera));
    expectAdvancing(camera, format.nPictures, 30'000);

    ASSERT_TRUE(waitForStatuses(1));
    EXPECT_EQ(statuses().size(), 1U);
    const tagPELLORA_PREVIEW_STATUS &status = statuses().front();
    EXPECT_EQ(status.userID, userID);
    EXPECT_EQ(status.lChannel, 1U);
    EXPECT_EQ(status.byPlaying, 1);
    EXPECT_EQ(status.lHandle, 0);
    EXPECT_EQ(status.lSubHandel, 0);
    stop(format.route);
}

INSTANTIATE_TEST_SUITE_P(
    Cameras, CameraFormat,
    Values(FormatCase{"H264", "h264"}, FormatCase{"H264Direct", "h264", CameraBed::Port::Anybody, Route::Direct},
           FormatCase{"H265", "h265"}, FormatCase{"Mjpeg", "mjpeg"}, FormatCase{"Alaw", "alaw"},
           FormatCase{"Mulaw", "mulaw"}, FormatCase{"Aac", "aac"}, FormatCase{"BPictures", "bframes"},
           FormatCase{"APictureASecond", "slow", CameraBed::Port::Anybody, Route::Task, 4}, FormatCase{"Hd25", "hd"},
           FormatCase{"Small50", "fast", CameraBed::Port::Anybody, Route::Task, 40},
           FormatCase{"Digest", "h264", CameraBed::Port::Digest},
           FormatCase{"DigestDirect", "aac", CameraBed::Port::Digest, Route::Direct},
           FormatCase{"Basic", "h264", CameraBed::Port::Basic}, FormatCase{"UdpOnly", "h264", CameraBed::Port::UdpOnly},
           FormatCase{"UdpOnlyH265", "h265", CameraBed::Port::UdpOnly, Route::Direct},
           FormatCase{"UdpOnlyWithSound", "aac", CameraBed::Port::UdpOnly}),
    [](const testing::TestParamInfo<FormatCase> &parameter) { return parameter.param.pName; });

struct RefusalCase {
    const char *pName;
    CameraBed::Port port;
    const char *pPath;
    const char *pUser;
    const char *pPassword;
    int nError;
    Route route;
};

void PrintTo(const RefusalCase &refusal, std::ostream *pStream)
{
    *pStream << refusal.pName;
}

class CameraRefusal : public LiveFixture, public testing::WithParamInterface<RefusalCase>
{
};

TEST_P(CameraRefusal, IsToldToTheHostAndLogged)
{
    const RefusalCase &refusal = GetParam();
    const long userID = login(addressOf(bed().port(refusal.port), refusal.pPath), refusal.pUser, refusal.pPassword);
    start(refusal.route, {userID});
    ASSERT_TRUE(waitForStatuses(1));
    EXPECT_EQ(statuses().front().byPlaying, 0);
    EXPECT_EQ(statuses().front().lSubHandel, 0);
    EXPECT_EQ(screen().read(0).kind, PaneView::Kind::Empty);
    const std::string line = "ERROR SELVIK_DCM_StartPreview error: " + std::to_string(refusal.nError) +
                             ", userID: " + std::to_string(userID) + ", previewHandel: -1.";
    const std::vector<std::string> texts = m_log.texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), line), 1) << line;
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, CameraRefusal,
    Values(RefusalCase{"WrongPasswordDigest", CameraBed::Port::Digest, "h264", cameras::kUser, cameras::kWrongPassword,
                       SELVIK_ERROR_REFUSED, Route::Task},
           RefusalCase{"WrongPasswordDigestDirect", CameraBed::Port::Digest, "h264", cameras::kUser,
                       cameras::kWrongPassword, SELVIK_ERROR_REFUSED, Route::Direct},
           RefusalCase{"WrongPasswordBasic", CameraBed::Port::Basic, "h264", cameras::kUser, cameras::kWrongPassword,
                       SELVIK_ERROR_REFUSED, Route::Task},
           RefusalCase{"NoPassword", CameraBed::Port::Digest, "h264", "", "", SELVIK_ERROR_REFUSED, Route::Task},
           RefusalCase{"NoSuchPath", CameraBed::Port::Anybody, "nothing", "", "", SELVIK_ERROR_CHANNEL, Route::Task},
           RefusalCase{"NoSuchPathDirect", CameraBed::Port::Anybody, "nothing", "", "", SELVIK_ERROR_CHANNEL,
                       Route::Direct}),
    [](const testing::TestParamInfo<RefusalCase> &parameter) { return parameter.param.pName; });

class BatchAddress : public LiveFixture, public testing::WithParamInterface<Route>
{
};

TEST_P(BatchAddress, MayCarryItsOwnCredentialsWhichTheLogHides)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const std::string place = "127.0.0.1:" + std::to_string(bed().port(CameraBed::Port::Digest)) + "/h264";
    // The password's "/" and "@" are escaped in an address.
    std::string address = "rtsp://viewer:s3cret%2Fw%40rd@" + place;
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    batch.wNum = 1;
    batch.struPreviewParam[0].userID = login(addressOf(bed().port(CameraBed::Port::Anybody), "nothing"));
    batch.struPreviewParam[0].lChannel = 1;
    batch.struPreviewParam[0].url = address.data();
    const auto pfnStart = GetParam() == Route::Direct ? &PELLORA_BatchPreviewStream_Async : &PELLORA_BatchPreviewStream;
    ASSERT_EQ(pfnStart(m_lHandle, batch, nullptr), 1);
    // The caller's memory is only read during the call.
    std::fill(address.begin(), address.end(), '#');
    ASSERT_TRUE(waitForPicture(0, camera));

    const std::vector<std::string> texts = m_log.texts();
    EXPECT_EQ(std::count_if(
                  texts.begin(), texts.end(),
                  [&](const std::string &text) { return text.find("url: rtsp://***@" + place) != std::string::npos; }),
              1);
    stop(GetParam());
    EXPECT_GE(waitUntilGone(bed().port(CameraBed::Port::Digest)), 0);
}

INSTANTIATE_TEST_SUITE_P(Routes, BatchAddress, Values(Route::Task, Route::Direct),
                         [](const testing::TestParamInfo<Route> &parameter) {
                             return std::string(nameOf(parameter.param));
                         });

} // namespace
} // namespace live
