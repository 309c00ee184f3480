// Previews of a scripted RTSP camera on loopback.

#include "device/tests/PreviewFixture.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <memory>
#include <vector>

namespace selvik
{
namespace
{

// The camera answers at once: no wait may come into it but that for the next picture.
constexpr Milliseconds kNoWaiting{60};
// What a preview may take to end its session.
constexpr Milliseconds kLeaving{800};

/** A camera that plays in spite of what it does. */
struct OddCamera {
    const char *pName;
    Script script;
};

void PrintTo(const OddCamera &camera, std::ostream *pStream)
{
    *pStream << camera.pName;
}

template <typename Change>
OddCamera odd(const char *pName, Change change)
{
    OddCamera camera;
    camera.pName = pName;
    change(camera.script);
    return camera;
}

class RtspCamera : public PreviewFixture, public testing::WithParamInterface<OddCamera>
{
};

TEST_P(RtspCamera, Plays)
{
    const ScriptedCamera camera(m_time, GetParam().script);
    StreamRecorder recorder(m_time);
    const bool bCredentials = GetParam().script.credentials != Script::Credentials::None;
    {
        Started preview(*this, recorder, camera.url(bCredentials ? "viewer:s3cret%2F%26%40@" : ""));
        ASSERT_GE(preview.handle(), 0) << "error " << preview.error() << " after " << preview.duration().count();
        EXPECT_LT(preview.duration(), kNoWaiting);
        ASSERT_TRUE(recorder.waitForRecords(1, 32, 20s)) << recorder.dataRecords();
        EXPECT_EQ(preview.stop(), 0ms);
    }
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.codec, GetParam().script.clip == "h264.mp4" ? "h264" : "hevc");
    EXPECT_EQ(contents.nWidth, 320);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_GT(contents.nPictures, 10);
    EXPECT_GE(contents.nDecoded, contents.nPictures - 1);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_TRUE(waitFor([&] { return camera.openConnections() == 0; }, kLeaving)) << "the connection is still there";
    EXPECT_EQ(camera.requests("TEARDOWN"), 1);
}

const OddCamera kCameras[] = {
    odd("H264", [](Script &) {}),
    odd("H265", [](Script &script) { script.clip = "h265-mulaw.mkv"; }),
    odd("SoundAndMetadata", [](Script &script) { script.bSound = script.bMetadata = true; }),
    odd("DatagramsOnly", [](Script &script) { script.bDatagramsOnly = true; }),
    odd("DatagramsOutOfOrder", [](Script &script) { script.bDatagramsOnly = script.bReordersDatagrams = true; }),
    odd("Basic", [](Script &script) { script.credentials = Script::Credentials::Basic; }),
    odd("DigestMd5", [](Script &script) { script.credentials = Script::Credentials::DigestMd5; }),
    odd("DigestSha256", [](Script &script) { script.credentials = Script::Credentials::DigestSha256; }),
    odd("OptionsUnknown", [](Script &script) { script.bOptionsUnknown = true; }),
    odd("NoContentBase", [](Script &script) { script.bNoContentBase = true; }),
    odd("NoContentType", [](Script &script) { script.bNoContentType = true; }),
    odd("AbsoluteControls", [](Script &script) { script.bAbsoluteControls = true; }),
    odd("LooseHeaders", [](Script &script) { script.bLooseHeaders = true; }),
    odd("BareLineEnds", [](Script &script) { script.bBareLineEnds = true; }),
    odd("BrokenParameters", [](Script &script) { script.bBrokenParameters = true; }),
    odd("StartCodesInside", [](Script &script) { script.bStartCodesInside = true; }),
    odd("GarbageBetween", [](Script &script) { script.bGarbageBetween = true; }),
    odd("ForeignChannels", [](Script &script) { script.bForeignChannels = true; }),
    odd("DataBeforePlayAnswer", [](Script &script) { script.bDataBeforePlayAnswer = true; }),
    odd("ChangesSession", [](Script &script) { script.bChangesSession = script.bSound = true; }),
    odd("ChangesChannels", [](Script &script) { script.bChangesChannels = true; }),
    odd("MarkerEverywhere", [](Script &script) { script.bMarkerEverywhere = true; }),
    odd("NoMarker", [](Script &script) { script.bNoMarker = true; }),
    odd("OtherPayloadType", [](Script &script) { script.bOtherPayloadType = true; }),
    odd("MarkedParameterSets", [](Script &script) { script.bCloseTogether = true; }),
};

INSTANTIATE_TEST_SUITE_P(Cameras, RtspCamera, testing::ValuesIn(kCameras),
                         [](const testing::TestParamInfo<OddCamera> &testCase) { return testCase.param.pName; });

class RtspPreview : public PreviewFixture
{
};

TEST_F(RtspPreview, SoundMetadataAndCaptureTimesTravelWithThePictures)
{
    Script script;
    script.bSound = script.bMetadata = script.bReports = true;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0) << preview.error();
        ASSERT_TRUE(recorder.waitForRecords(1, 60, 20s));
    }
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.mediaTypes, (std::vector<int>{AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO, AVMEDIA_TYPE_SUBTITLE}));
    EXPECT_GT(contents.nSounds, 10);
    EXPECT_TRUE(contents.bTimesRise);
    ASSERT_GT(contents.documents.size(), 10U);
    EXPECT_EQ(contents.documents[1].substr(0, 22), "<tt:MetadataStream n=\"");
    EXPECT_EQ(contents.documents[1].substr(contents.documents[1].size() - 2), "/>");
    EXPECT_EQ(contents.metadataTitle, "application/vnd.onvif.metadata");
    ASSERT_GT(contents.captureTimes.size(), 10U);
    // The camera's clock stood at 1 000 000 000 s when its first picture was taken.
    EXPECT_NEAR(static_cast<double>(contents.captureTimes.front()), 1e15, 5e6);
    EXPECT_EQ(contents.captureTimes.size(), contents.pictureTimes.size());
    for (std::size_t i = 1; i < contents.captureTimes.size(); ++i) {
        const long long nCaptured = contents.captureTimes[i] - contents.captureTimes[0];
        EXPECT_NEAR(static_cast<double>(nCaptured), static_cast<double>(40000 * static_cast<long long>(i)), 2000.0);
    }
}

TEST_F(RtspPreview, EachPictureIsHandedOverBeforeTheNextOneComes)
{
    const ScriptedCamera camera(m_time);
    StreamRecorder recorder(m_time);
    std::vector<Clock::time_point> times;
    recorder.onData = [&](long, unsigned int type) {
        if (type == SELVIK_STREAM_DATA) {
            times.push_back(m_time.now());
        }
    };
    const Clock::time_point begin = m_time.now();
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0);
        ASSERT_TRUE(recorder.waitForRecords(1, 50, 5s));
    }
    // The camera sends its first picture with its answer to PLAY, and each further one 40 ms later.
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_LT(times[i] - begin, 40ms * i + 35ms) << i;
    }
}

struct FailureCase {
    const char *pName;
    Script script;
    const char *pCredentials;
    unsigned long error;
};

void PrintTo(const FailureCase &failure, std::ostream *pStream)
{
    *pStream << failure.pName;
}

class RtspFailure : public PreviewFixture, public testing::WithParamInterface<FailureCase>
{
};

TEST_P(RtspFailure, IsTold)
{
    const ScriptedCamera camera(m_time, GetParam().script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url(GetParam().pCredentials));
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), GetParam().error);
    if (GetParam().error == SELVIK_ERROR_TIMEOUT) {
        EXPECT_GT(preview.duration(), 4700ms);
        EXPECT_LE(preview.duration(), 5s);
    } else {
        EXPECT_LT(preview.duration(), kNoWaiting);
    }
    EXPECT_EQ(recorder.headers(), 0U);
    EXPECT_TRUE(waitFor([&] { return camera.openConnections() == 0; }, kLeaving));
}

Script withCredentials(Script::Credentials credentials)
{
    Script script;
    script.credentials = credentials;
    return script;
}

Script withStatus(int nStatus)
{
    Script script;
    script.nDescribeStatus = nStatus;
    return script;
}

Script circling()
{
    Script script;
    script.bRedirectsInCircles = true;
    return script;
}

Script silent()
{
    Script script;
    script.bAcceptsAndSaysNothing = true;
    return script;
}

INSTANTIATE_TEST_SUITE_P(Reasons, RtspFailure,
                         testing::Values(FailureCase{"WrongPasswordDigest",
                                                     withCredentials(Script::Credentials::DigestMd5), "viewer:wrong@",
                                                     SELVIK_ERROR_REFUSED},
                                         FailureCase{"WrongPasswordBasic", withCredentials(Script::Credentials::Basic),
                                                     "viewer:wrong@", SELVIK_ERROR_REFUSED},
                                         FailureCase{"NoPassword", withCredentials(Script::Credentials::DigestSha256),
                                                     "", SELVIK_ERROR_REFUSED},
                                         FailureCase{"NoSuchPath", withStatus(404), "", SELVIK_ERROR_CHANNEL},
                                         FailureCase{"Forbidden", withStatus(403), "", SELVIK_ERROR_REFUSED},
                                         FailureCase{"TooManyViewers", withStatus(453), "", SELVIK_ERROR_RESOURCES},
                                         FailureCase{"CirclingRedirection", circling(), "", SELVIK_ERROR_CHANNEL},
                                         FailureCase{"SaysNothing", silent(), "", SELVIK_ERROR_TIMEOUT}),
                         [](const testing::TestParamInfo<FailureCase> &testCase) { return testCase.param.pName; });

TEST_F(RtspPreview, AClosedConnectionIsTakenUpAgainWithANewHeader)
{
    Script script;
    script.nClosesAfter = 10;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0);
        ASSERT_TRUE(recorder.waitForRecords(2, 5, 5s));
    }
    EXPECT_EQ(recorder.read(0).nPictures, 10);
    EXPECT_EQ(recorder.read(1).nDecodeErrors, 0);
    EXPECT_TRUE(recorder.read(1).bFirstIsKey);
}

/** The seconds between the connections that a camera saw. */
std::vector<double> gapsBetween(const std::vector<Clock::time_point> &times)
{
    std::vector<double> gaps;
    for (std::size_t i = 1; i < times.size(); ++i) {
        gaps.push_back(std::chrono::duration<double>(times[i] - times[i - 1]).count());
    }
    return gaps;
}

TEST_F(RtspPreview, ALostCameraIsAskedAfter1248AndThenEvery8Seconds)
{
    Script script;
    script.nClosesAfter = 10;
    script.nPlays = 1;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(waitFor([&] { return camera.connectionTimes().size() == 7; }, 60s));
    // Ten pictures of 40 ms before the first loss.
    const std::vector<double> expected = {1.4, 2, 4, 8, 8, 8};
    const std::vector<double> gaps = gapsBetween(camera.connectionTimes());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(gaps[i], expected[i], expected[i] / 10 + 0.1) << i;
    }
    EXPECT_EQ(recorder.headers(), 1U);
}

TEST_F(RtspPreview, ACameraThatPlayedAgainIsAskedAfterOneSecondAgain)
{
    Script script;
    script.nClosesAfter = 10;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_TRUE(waitFor([&] { return camera.connectionTimes().size() == 5; }, 20s));
    for (const double gap : gapsBetween(camera.connectionTimes())) {
        EXPECT_NEAR(gap, 1.4, 0.2);
    }
}

TEST_F(RtspPreview, ARestartedCameraIsBackSoon)
{
    auto camera = std::make_unique<ScriptedCamera>(m_time);
    const unsigned short port = camera->port();
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera->url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 5, 1s));
    camera.reset();
    m_time.sleep(300ms);
    camera = std::make_unique<ScriptedCamera>(m_time, Script{}, port);
    EXPECT_TRUE(recorder.waitForRecords(2, 5, 2s));
}

TEST_F(RtspPreview, AFrozenCameraIsNoticedWithinFiveSeconds)
{
    Script script;
    script.nFreezesAfter = 10;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 10, 1s));
    const Clock::time_point begin = m_time.now();
    ASSERT_TRUE(waitFor([&] { return camera.connectionTimes().size() == 2; }, 20s));
    // The camera gets its time to answer TEARDOWN, and a second passes before the new connection.
    EXPECT_GT(since(begin), 4s);
    EXPECT_LT(since(begin), 5s + 700ms + 1100ms);
    EXPECT_EQ(preview.stop(), 0ms);
}

TEST_F(RtspPreview, ACameraThatOnlyAnswersIsGivenUpAfterTwentySeconds)
{
    Script script;
    script.nPausesAfter = 10;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 10, 1s));
    const Clock::time_point begin = m_time.now();
    ASSERT_TRUE(waitFor([&] { return camera.connectionTimes().size() == 2; }, 60s));
    EXPECT_GT(since(begin), 20s);
    EXPECT_LT(since(begin), 22s);
    // It was asked whether it is there whenever nothing had come for a second and a half.
    EXPECT_NEAR(camera.requests("GET_PARAMETER"), 13, 2);
}

TEST_F(RtspPreview, PacketsThatAreLostLeaveNoBrokenPicture)
{
    Script script;
    script.nLosesEvery = 37;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0);
        ASSERT_TRUE(recorder.waitForRecords(1, 60, 30s));
    }
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(recorder.read(0).nDecodeErrors, 0);
}

TEST_F(RtspPreview, KeepsASessionThatTimesOutAfterTwoSeconds)
{
    Script script;
    script.nTimeout = 2;
    script.bKeepAliveUnknown = true;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 125, 20s));
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(camera.requests("GET_PARAMETER"), 1);
    // In five seconds: one before the description, and three in place of the method that the camera does not know.
    EXPECT_EQ(camera.requests("OPTIONS"), 1 + 3);
}

TEST_F(RtspPreview, KeepsItsSessionAliveAtHalfOfTheTimeOut)
{
    Script script;
    script.nTimeout = 8;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    m_time.sleep(13s);
    EXPECT_EQ(camera.requests("GET_PARAMETER"), 3);
}

TEST_F(RtspPreview, StopsInNoTimeWhateverTheCameraDoes)
{
    Script script;
    script.nFreezesAfter = 3;
    const ScriptedCamera camera(m_time, script);
    std::vector<std::unique_ptr<StreamRecorder>> recorders;
    std::vector<std::unique_ptr<Started>> previews;
    for (int i = 0; i < 9; ++i) {
        recorders.push_back(std::make_unique<StreamRecorder>(m_time));
        previews.push_back(std::make_unique<Started>(*this, *recorders.back(), camera.url()));
        ASSERT_GE(previews.back()->handle(), 0);
    }
    ASSERT_TRUE(recorders.back()->waitForRecords(1, 3, 1s));
    for (const auto &preview : previews) {
        EXPECT_EQ(preview->stop(), 0ms);
    }
    EXPECT_TRUE(waitFor([&] { return camera.openConnections() == 0; }, kLeaving));
}

TEST_F(RtspPreview, CanBeStoppedWhileItWaitsToReconnect)
{
    auto camera = std::make_unique<ScriptedCamera>(m_time);
    StreamRecorder recorder(m_time);
    Started preview(*this, recorder, camera->url());
    ASSERT_GE(preview.handle(), 0);
    camera.reset();
    m_time.sleep(300ms);
    EXPECT_EQ(preview.stop(), 0ms);
}

TEST_F(RtspPreview, HasEndedItsSessionWhenTheLogOutReturns)
{
    const ScriptedCamera camera(m_time);
    const long userID = m_devices.login(camera.url().c_str(), "", "");
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, {}, userID);
    ASSERT_GE(preview.handle(), 0) << preview.error();
    const Clock::time_point begin = m_time.now();
    m_devices.logout(userID);
    EXPECT_EQ(camera.requests("TEARDOWN"), 1);
    EXPECT_LT(since(begin), kLeaving);
}

} // namespace
} // namespace selvik
