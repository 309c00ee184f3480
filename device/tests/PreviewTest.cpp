// Previews through the C interface, of simulated cameras and of a scripted one on loopback.

#include "Selvikdcm.h"
#include "device/tests/ScriptedCamera.h"
#include "device/tests/StreamRecorder.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace selvik
{
namespace
{

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

// What waited for the network would take five seconds; on a busy machine what does not may take a while too.
constexpr std::chrono::milliseconds kNoWaiting{2000};
// A try of five seconds, and what a busy machine adds.
constexpr std::chrono::milliseconds kOneTry{8000};

std::string clip(const std::string &name)
{
    const char *pMedia = std::getenv("PELLORA_TEST_MEDIA");
    return std::string("file:") + (pMedia != nullptr ? pMedia : "build/media") + "/" + name;
}

std::chrono::milliseconds since(SteadyClock::time_point begin)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - begin);
}

template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds most)
{
    const auto deadline = SteadyClock::now() + most;
    while (!condition()) {
        if (SteadyClock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

/** Stops its preview at the end of a test. */
class StartedPreview
{
public:
    StartedPreview(StreamRecorder &recorder, const std::string &url, long userID = -1)
    {
        const SELVIK_DCM_PREVIEW_INFO info = recorder.request(url);
        const auto begin = SteadyClock::now();
        m_lHandle = SELVIK_DCM_StartPreview(userID, &info);
        m_nError = SELVIK_DCM_GetLastError();
        m_duration = since(begin);
    }
    ~StartedPreview()
    {
        if (m_lHandle >= 0) {
            SELVIK_DCM_StopPreview(m_lHandle);
        }
    }
    StartedPreview(const StartedPreview &) = delete;
    StartedPreview &operator=(const StartedPreview &) = delete;

    [[nodiscard]] long handle() const
    {
        return m_lHandle;
    }
    [[nodiscard]] unsigned long error() const
    {
        return m_nError;
    }
    [[nodiscard]] std::chrono::milliseconds duration() const
    {
        return m_duration;
    }
    /** How long the stop took. */
    [[nodiscard]] std::chrono::milliseconds stop()
    {
        const auto begin = SteadyClock::now();
        EXPECT_EQ(SELVIK_DCM_StopPreview(m_lHandle), 1);
        m_lHandle = -1;
        return since(begin);
    }

private:
    long m_lHandle = -1;
    unsigned long m_nError = 0;
    std::chrono::milliseconds m_duration{};
};

/** Printed by name. */
struct FileCase {
    const char *pFile;
    const char *pCodec;
};

void PrintTo(const FileCase &file, std::ostream *pStream)
{
    *pStream << file.pFile;
}

class FileCamera : public testing::TestWithParam<FileCase>
{
};

TEST_P(FileCamera, IsSentAsALiveStream)
{
    StreamRecorder recorder;
    StartedPreview preview(recorder, clip(GetParam().pFile));
    ASSERT_GE(preview.handle(), 0) << preview.error();
    ASSERT_TRUE(recorder.waitForRecords(1, 40, 20s));
    EXPECT_LT(preview.stop(), kNoWaiting);
    EXPECT_TRUE(recorder.beganWithHeader());
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(recorder.overlaps(), 0);
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.codec, GetParam().pCodec);
    EXPECT_EQ(contents.nWidth, 320);
    EXPECT_EQ(contents.nHeight, 240);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_TRUE(contents.bTimesRise);
    EXPECT_GE(contents.nPictures, 10);
    EXPECT_EQ(contents.nDecoded, contents.nPictures);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    EXPECT_GT(contents.nSounds, 0);
    EXPECT_FALSE(contents.recordingTime.empty());
}

TEST(FileCameraRound, BeginsWithTheFirstPictureAgain)
{
    // 100 pictures each; in parallel, since they are sent at their own pace.
    const std::vector<std::string> files = {"mpeg1.mpg", "mpeg2.mpg", "h264.mpg", "h264.ts", "h264.mp4", "h264.avi"};
    std::vector<std::unique_ptr<StreamRecorder>> recorders;
    std::vector<std::unique_ptr<StartedPreview>> previews;
    for (const std::string &file : files) {
        recorders.push_back(std::make_unique<StreamRecorder>());
        previews.push_back(std::make_unique<StartedPreview>(*recorders.back(), clip(file)));
        ASSERT_GE(previews.back()->handle(), 0) << file;
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        // Pictures, and sounds between them.
        std::size_t nRecords = 104;
        while (recorders[i]->read(0).nPictures <= 103 && recorders[i]->waitForRecords(1, nRecords, 30s)) {
            nRecords += 50;
        }
        previews[i].reset();
        const std::vector<int> keys = recorders[i]->read(0).keyPictures;
        EXPECT_TRUE(std::find(keys.begin(), keys.end(), 100) != keys.end()) << files[i];
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, FileCamera,
                         testing::Values(FileCase{"h264.mp4", "h264"}, FileCase{"h265-mulaw.mkv", "hevc"},
                                         FileCase{"h264-alaw.mkv", "h264"}, FileCase{"mjpeg-g722.mkv", "mjpeg"},
                                         FileCase{"mpeg4.mov", "mpeg4"}),
                         [](const testing::TestParamInfo<FileCase> &testCase) {
                             std::string name = testCase.param.pFile;
                             const auto isOther = [](unsigned char letter) { return std::isalnum(letter) == 0; };
                             std::replace_if(name.begin(), name.end(), isOther, '_');
                             return name;
                         });

TEST(FileCameraPace, IsTheFilesOwnAndGoesOnBeyondItsEnd)
{
    StreamRecorder recorder;
    const auto begin = SteadyClock::now();
    const StartedPreview preview(recorder, clip("mpeg4.mov"));
    ASSERT_GE(preview.handle(), 0);
    // Four seconds long: it must have started over.
    std::this_thread::sleep_until(begin + 5s);
    ASSERT_EQ(recorder.headers(), 1U);
    const StreamContents contents = recorder.read(0);
    EXPECT_NEAR(contents.nPictures, 125, 15);
    for (std::size_t i = 1; i < contents.pictureTimes.size(); ++i) {
        const long long nStep = contents.pictureTimes[i] - contents.pictureTimes[i - 1];
        EXPECT_LE(std::abs(nStep), 200) << "at picture " << i;
    }
}

TEST(FileCameraFailure, SaysWhatIsMissing)
{
    StreamRecorder recorder;
    const StartedPreview missing(recorder, "file:/nowhere/clip.mp4");
    EXPECT_EQ(missing.handle(), -1);
    EXPECT_EQ(missing.error(), static_cast<unsigned long>(SELVIK_ERROR_CHANNEL));
    EXPECT_EQ(recorder.headers(), 0U);
}

TEST(Records, EachHoldsWholeClustersAndEachKeyPictureBeginsOne)
{
    StreamRecorder recorder;
    StartedPreview preview(recorder, clip("h264.mp4"));
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 60, 20s));
    (void)preview.stop();
    const std::vector<Bytes> records = recorder.connection(0);
    for (std::size_t i = 1; i < records.size(); ++i) {
        // A cluster: its four bytes of identity, then a size that ends with the record.
        const Bytes &record = records[i];
        ASSERT_GT(record.size(), 12U);
        EXPECT_EQ(read32(record.data()), 0x1F43B675U);
        std::size_t sizeLength = 1;
        while ((record[4] & (0x80 >> (sizeLength - 1))) == 0) {
            ++sizeLength;
        }
        std::uint64_t nSize = record[4] & (0xFF >> sizeLength);
        for (std::size_t n = 1; n < sizeLength; ++n) {
            nSize = nSize << 8 | record[4 + n];
        }
        EXPECT_EQ(nSize, record.size() - 4 - sizeLength) << "record " << i;
    }
}

TEST(StopPreview, WorksInsideTheCallback)
{
    StreamRecorder recorder;
    std::atomic<int> nStopped{0};
    std::atomic<int> nCalls{0};
    recorder.onData = [&](long handle, unsigned int type) {
        ++nCalls;
        if (type == SELVIK_STREAM_DATA) {
            nStopped += SELVIK_DCM_StopPreview(handle);
            // Once more finds nothing.
            nStopped += SELVIK_DCM_StopPreview(handle);
        }
    };
    const SELVIK_DCM_PREVIEW_INFO info = recorder.request(clip("h264.mp4"));
    const long handle = SELVIK_DCM_StartPreview(-1, &info);
    ASSERT_GE(handle, 0);
    ASSERT_TRUE(waitUntil([&] { return nStopped == 1; }, 20s));
    const int nCallsThen = nCalls;
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(SELVIK_DCM_StopPreview(handle), 0);
    EXPECT_EQ(nCalls, nCallsThen);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
}

TEST(StopPreview, SucceedsOnceFromManyThreadsAndNothingIsCalledAfterwards)
{
    for (int nRound = 0; nRound < 20; ++nRound) {
        StreamRecorder recorder;
        std::atomic<bool> bStopped{false};
        std::atomic<int> nLate{0};
        recorder.onData = [&](long, unsigned int) { nLate += bStopped ? 1 : 0; };
        const SELVIK_DCM_PREVIEW_INFO info = recorder.request(clip("h264.mp4"));
        const long handle = SELVIK_DCM_StartPreview(-1, &info);
        ASSERT_GE(handle, 0);
        std::atomic<int> nSuccesses{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                nSuccesses += SELVIK_DCM_StopPreview(handle);
                bStopped = true;
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        EXPECT_EQ(nSuccesses, 1);
        EXPECT_EQ(nLate, 0);
    }
}

TEST(StopPreview, WaitsForACallbackThatRuns)
{
    StreamRecorder recorder;
    std::atomic<bool> bInside{false};
    recorder.onData = [&](long, unsigned int) {
        bInside = true;
        std::this_thread::sleep_for(50ms);
        bInside = false;
    };
    StartedPreview preview(recorder, clip("h264.mp4"));
    ASSERT_TRUE(waitUntil([&] { return bInside.load(); }, 20s));
    (void)preview.stop();
    EXPECT_FALSE(bInside);
}

TEST(Handles, AreNeverHandedOutTwice)
{
    StreamRecorder recorder;
    std::vector<long> handles;
    for (int i = 0; i < 5; ++i) {
        const StartedPreview preview(recorder, clip("h264.mp4"));
        handles.push_back(preview.handle());
    }
    std::sort(handles.begin(), handles.end());
    EXPECT_GE(handles.front(), 0);
    EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
}

TEST(Logout, StopsItsPreviewsAndNoOthers)
{
    const std::string address = clip("{stream}.mp4");
    const long userID = SELVIK_DCM_Login(address.c_str(), "", "");
    ASSERT_GE(userID, 0);
    StreamRecorder other;
    const StartedPreview others(other, clip("h264.mp4"));
    StreamRecorder recorder;
    const StartedPreview own(recorder, clip("h264.mp4"), userID);
    ASSERT_GE(own.handle(), 0);
    EXPECT_EQ(SELVIK_DCM_Logout(userID), 1);
    EXPECT_EQ(SELVIK_DCM_StopPreview(own.handle()), 0);
    const std::size_t nBefore = other.dataRecords();
    EXPECT_TRUE(waitUntil([&] { return other.dataRecords() > nBefore; }, 20s));
}

TEST(Login, FillsChannelAndStreamIntoItsTemplate)
{
    const long userID = SELVIK_DCM_Login(clip("h{stream}{channel}.mp4").c_str(), "", "");
    ASSERT_GE(userID, 0);
    StreamRecorder recorder;
    SELVIK_DCM_PREVIEW_INFO info = recorder.request({});
    info.streamType = 26;
    info.channel = 4;
    const long handle = SELVIK_DCM_StartPreview(userID, &info);
    EXPECT_GE(handle, 0);
    EXPECT_EQ(SELVIK_DCM_StopPreview(handle), 1);
    info.channel = 7;
    EXPECT_EQ(SELVIK_DCM_StartPreview(userID, &info), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), static_cast<unsigned long>(SELVIK_ERROR_CHANNEL));
    EXPECT_EQ(SELVIK_DCM_Logout(userID), 1);
}

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

class RtspCamera : public testing::TestWithParam<OddCamera>
{
};

TEST_P(RtspCamera, Plays)
{
    const ScriptedCamera camera(GetParam().script);
    StreamRecorder recorder;
    const bool bCredentials = GetParam().script.credentials != Script::Credentials::None;
    {
        StartedPreview preview(recorder, camera.url(bCredentials ? "viewer:s3cret%2F%26%40@" : ""));
        ASSERT_GE(preview.handle(), 0) << "error " << preview.error() << " after " << preview.duration().count();
        EXPECT_LT(preview.duration(), kNoWaiting);
        ASSERT_TRUE(recorder.waitForRecords(1, 32, 20s)) << recorder.dataRecords();
        EXPECT_LT(preview.stop(), kNoWaiting);
    }
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.codec, GetParam().script.clip == "h264.mp4" ? "h264" : "hevc");
    EXPECT_EQ(contents.nWidth, 320);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_GT(contents.nPictures, 10);
    EXPECT_GE(contents.nDecoded, contents.nPictures - 1);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(camera.requests("TEARDOWN") + camera.openConnections() > 0, true);
    EXPECT_TRUE(waitUntil([&] { return camera.openConnections() == 0; }, kNoWaiting))
        << "the connection is still there";
    EXPECT_EQ(camera.requests("TEARDOWN"), 1);
}

const OddCamera cameras[] = {
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

INSTANTIATE_TEST_SUITE_P(Cameras, RtspCamera, testing::ValuesIn(cameras),
                         [](const testing::TestParamInfo<OddCamera> &testCase) { return testCase.param.pName; });

TEST(RtspTracks, SoundMetadataAndCaptureTimesTravelWithThePictures)
{
    Script script;
    script.bSound = script.bMetadata = script.bReports = true;
    const ScriptedCamera camera(script);
    StreamRecorder recorder;
    {
        const StartedPreview preview(recorder, camera.url());
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

TEST(RtspLatency, APictureIsHandedOverBeforeTheNextOneComes)
{
    const ScriptedCamera camera(Script{});
    StreamRecorder recorder;
    const StartedPreview preview(recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    // The camera sends its first picture with its answer to PLAY, and the second 40 ms later.
    ASSERT_TRUE(recorder.waitForRecords(1, 1, 35ms));
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

class RtspFailure : public testing::TestWithParam<FailureCase>
{
};

TEST_P(RtspFailure, IsTold)
{
    const ScriptedCamera camera(GetParam().script);
    StreamRecorder recorder;
    const StartedPreview preview(recorder, camera.url(GetParam().pCredentials));
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), GetParam().error);
    EXPECT_LT(preview.duration(), kOneTry);
    EXPECT_EQ(recorder.headers(), 0U);
    EXPECT_TRUE(waitUntil([&] { return camera.openConnections() == 0; }, kNoWaiting));
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

TEST(Secrets, NeitherReachTheOutputNorTheErrors)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ScriptedCamera camera(withCredentials(Script::Credentials::DigestMd5));
    const std::string secret = "viewer:topsecret@";
    for (const std::string &url : {camera.url(secret), "rtsp://" + secret + "127.0.0.1:1/x",
                                   "http://" + secret + "127.0.0.1:1/x", "rtsp://" + secret + "a.invalid/"}) {
        StreamRecorder recorder;
        const StartedPreview preview(recorder, url);
        EXPECT_EQ(preview.handle(), -1);
    }
    const std::string output = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    EXPECT_EQ(output.find("topsecret"), std::string::npos) << output;
    EXPECT_EQ(output.find("viewer"), std::string::npos) << output;
}

TEST(RtspFailureOfTheNetwork, ARefusingPortIsAHostThatIsNotReached)
{
    unsigned short port = 0;
    {
        const ScriptedCamera camera(Script{});
        port = camera.port();
    }
    StreamRecorder recorder;
    const StartedPreview preview(recorder, "rtsp://127.0.0.1:" + std::to_string(port) + "/live");
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_HOST));
    // Windows asks a refusing port three times.
    EXPECT_LT(preview.duration(), kOneTry);
}

TEST(RtspFailureOfTheNetwork, AnUnknownHostIsTold)
{
    StreamRecorder recorder;
    const StartedPreview preview(recorder, "rtsp://no-such-camera.invalid/live");
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_TRUE(preview.error() == SELVIK_ERROR_HOST || preview.error() == SELVIK_ERROR_TIMEOUT) << preview.error();
    EXPECT_LT(preview.duration(), kOneTry);
}

TEST(RtspLoss, AClosedConnectionIsTakenUpAgainWithANewHeader)
{
    Script script;
    script.nClosesAfter = 10;
    const ScriptedCamera camera(script);
    StreamRecorder recorder;
    {
        const StartedPreview preview(recorder, camera.url());
        ASSERT_GE(preview.handle(), 0);
        ASSERT_TRUE(recorder.waitForRecords(2, 5, 20s));
    }
    EXPECT_EQ(recorder.read(0).nPictures, 10);
    EXPECT_EQ(recorder.read(1).nDecodeErrors, 0);
    EXPECT_TRUE(recorder.read(1).bFirstIsKey);
}

TEST(RtspLoss, ARestartedCameraIsBackSoon)
{
    auto camera = std::make_unique<ScriptedCamera>(Script{});
    const unsigned short port = camera->port();
    StreamRecorder recorder;
    const StartedPreview preview(recorder, camera->url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 5, 20s));
    camera.reset();
    std::this_thread::sleep_for(300ms);
    camera = std::make_unique<ScriptedCamera>(Script{}, port);
    EXPECT_TRUE(recorder.waitForRecords(2, 5, 20s));
}

TEST(RtspLoss, AFrozenCameraIsNoticedWithinFiveSeconds)
{
    Script script;
    script.nFreezesAfter = 10;
    const ScriptedCamera camera(script);
    StreamRecorder recorder;
    StartedPreview preview(recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 10, 20s));
    const auto begin = SteadyClock::now();
    // A second of waiting before the new connection comes on top.
    EXPECT_TRUE(waitUntil([&] { return camera.connections() >= 2; }, 1s + kOneTry));
    EXPECT_GT(since(begin), 3s);
    EXPECT_LT(preview.stop(), kNoWaiting);
}

TEST(RtspLoss, PacketsThatAreLostLeaveNoBrokenPicture)
{
    Script script;
    script.nLosesEvery = 37;
    const ScriptedCamera camera(script);
    StreamRecorder recorder;
    {
        const StartedPreview preview(recorder, camera.url());
        ASSERT_GE(preview.handle(), 0);
        ASSERT_TRUE(recorder.waitForRecords(1, 60, 30s));
    }
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(recorder.read(0).nDecodeErrors, 0);
}

TEST(RtspKeepAlive, KeepsASessionThatTimesOutAfterTwoSeconds)
{
    Script script;
    script.bShortTimeout = true;
    script.bKeepAliveUnknown = true;
    const ScriptedCamera camera(script);
    StreamRecorder recorder;
    const StartedPreview preview(recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 125, 20s));
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(camera.requests("GET_PARAMETER"), 1);
    EXPECT_GE(camera.requests("OPTIONS"), 3);
}

TEST(RtspStop, TakesNoTimeWhateverTheCameraDoes)
{
    Script silentLater;
    silentLater.nFreezesAfter = 3;
    const ScriptedCamera camera(silentLater);
    std::vector<std::unique_ptr<StreamRecorder>> recorders;
    std::vector<std::unique_ptr<StartedPreview>> previews;
    for (int i = 0; i < 9; ++i) {
        recorders.push_back(std::make_unique<StreamRecorder>());
        previews.push_back(std::make_unique<StartedPreview>(*recorders.back(), camera.url()));
        ASSERT_GE(previews.back()->handle(), 0);
    }
    ASSERT_TRUE(recorders.back()->waitForRecords(1, 3, 20s));
    const auto begin = SteadyClock::now();
    for (const auto &preview : previews) {
        (void)preview->stop();
    }
    EXPECT_LT(since(begin), kNoWaiting);
    EXPECT_TRUE(waitUntil([&] { return camera.openConnections() == 0; }, kNoWaiting));
}

TEST(RtspStop, EndsAPreviewThatIsWaitingToReconnect)
{
    auto camera = std::make_unique<ScriptedCamera>(Script{});
    StreamRecorder recorder;
    StartedPreview preview(recorder, camera->url());
    ASSERT_GE(preview.handle(), 0);
    camera.reset();
    const long userID = SELVIK_DCM_Login("rtsp://127.0.0.1/", "", "");
    EXPECT_LT(preview.stop(), kNoWaiting);
    EXPECT_EQ(SELVIK_DCM_Logout(userID), 1);
}

TEST(RtspLogout, WaitsForTheLeaveTaking)
{
    const ScriptedCamera camera(Script{});
    const long userID = SELVIK_DCM_Login(camera.url().c_str(), "", "");
    StreamRecorder recorder;
    const StartedPreview preview(recorder, {}, userID);
    ASSERT_GE(preview.handle(), 0) << preview.error();
    const auto begin = SteadyClock::now();
    EXPECT_EQ(SELVIK_DCM_Logout(userID), 1);
    EXPECT_EQ(camera.requests("TEARDOWN"), 1);
    EXPECT_LT(since(begin), kNoWaiting);
}

TEST(RtspRaces, StartAndStopFromManyThreadsLeaveNothingBehind)
{
    const ScriptedCamera camera(Script{});
    std::vector<std::thread> threads;
    for (unsigned int nThread = 0; nThread < 4; ++nThread) {
        threads.emplace_back([&camera, nThread] {
            for (unsigned int nRound = 0; nRound < 12; ++nRound) {
                StreamRecorder recorder;
                const StartedPreview preview(recorder, camera.url());
                EXPECT_GE(preview.handle(), 0);
                std::this_thread::sleep_for(std::chrono::milliseconds((nThread * 7 + nRound * 13) % 40));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(waitUntil([&] { return camera.openConnections() == 0; }, 2000ms));
}

} // namespace
} // namespace selvik
