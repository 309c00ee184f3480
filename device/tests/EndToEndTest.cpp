// Previews through the C interface, on the system's time.

#include "Selvikdcm.h"
#include "device/tests/PreviewFixture.h"

#include <atomic>
#include <thread>
#include <vector>

namespace selvik
{
namespace
{

// Nothing here may fail because the machine is busy.
constexpr Milliseconds kPlenty{30000};

/** Stops its preview at the end of its scope. */
class StartedPreview
{
public:
    StartedPreview(StreamRecorder &recorder, const std::string &url)
    {
        const SELVIK_DCM_PREVIEW_INFO info = recorder.request(url);
        m_lHandle = SELVIK_DCM_StartPreview(-1, &info);
        m_nError = SELVIK_DCM_GetLastError();
    }
    ~StartedPreview()
    {
        SELVIK_DCM_StopPreview(m_lHandle);
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

private:
    long m_lHandle = -1;
    unsigned long m_nError = SELVIK_ERROR_NONE;
};

TEST(EndToEnd, AFileOfALogInPlays)
{
    const long userID = SELVIK_DCM_Login(clip("h{stream}{channel}.mp4").c_str(), "", "");
    ASSERT_GE(userID, 0);
    StreamRecorder recorder(realTime());
    SELVIK_DCM_PREVIEW_INFO info = recorder.request({});
    info.streamType = 26;
    info.channel = 4;
    const long handle = SELVIK_DCM_StartPreview(userID, &info);
    EXPECT_GE(handle, 0);
    EXPECT_TRUE(recorder.waitForRecords(1, 10, kPlenty));
    EXPECT_EQ(SELVIK_DCM_StopPreview(handle), 1);
    EXPECT_EQ(recorder.read(0).nDecodeErrors, 0);
    info.channel = 7;
    EXPECT_EQ(SELVIK_DCM_StartPreview(userID, &info), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), static_cast<unsigned long>(SELVIK_ERROR_CHANNEL));
    EXPECT_EQ(SELVIK_DCM_Logout(userID), 1);
}

TEST(EndToEnd, ACameraPlaysAndIsTakenUpAgain)
{
    Script script;
    script.nClosesAfter = 10;
    const ScriptedCamera camera(realTime(), script);
    StreamRecorder recorder(realTime());
    const StartedPreview preview(recorder, camera.url());
    ASSERT_GE(preview.handle(), 0) << preview.error();
    ASSERT_TRUE(recorder.waitForRecords(2, 5, kPlenty));
    EXPECT_EQ(recorder.read(0).nPictures, 10);
}

TEST(EndToEnd, ASilentCameraIsGivenUpByAStart)
{
    Script script;
    script.bAcceptsAndSaysNothing = true;
    const ScriptedCamera camera(realTime(), script);
    StreamRecorder recorder(realTime());
    const Clock::time_point begin = Clock::now();
    const StartedPreview preview(recorder, camera.url());
    EXPECT_GT(Clock::now() - begin, 4500ms);
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_TIMEOUT));
}

TEST(EndToEnd, ARefusingPortIsAHostThatIsNotReached)
{
    unsigned short port = 0;
    {
        const ScriptedCamera camera(realTime());
        port = camera.port();
    }
    StreamRecorder recorder(realTime());
    const StartedPreview preview(recorder, "rtsp://127.0.0.1:" + std::to_string(port) + "/live");
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_HOST));
}

TEST(EndToEnd, AnUnknownHostIsTold)
{
    StreamRecorder recorder(realTime());
    const StartedPreview preview(recorder, "rtsp://no-such-camera.invalid/live");
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_TRUE(preview.error() == SELVIK_ERROR_HOST || preview.error() == SELVIK_ERROR_TIMEOUT) << preview.error();
}

TEST(EndToEnd, SecretsNeitherReachTheOutputNorTheErrors)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Script script;
    script.credentials = Script::Credentials::DigestMd5;
    const ScriptedCamera camera(realTime(), script);
    const std::string secret = "viewer:topsecret@";
    for (const std::string &url : {camera.url(secret), "rtsp://" + secret + "127.0.0.1:1/x",
                                   "http://" + secret + "127.0.0.1:1/x", "rtsp://" + secret + "a.invalid/"}) {
        StreamRecorder recorder(realTime());
        const StartedPreview preview(recorder, url);
        EXPECT_EQ(preview.handle(), -1);
    }
    const std::string output = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    EXPECT_EQ(output.find("topsecret"), std::string::npos) << output;
    EXPECT_EQ(output.find("viewer"), std::string::npos) << output;
}

TEST(EndToEnd, OneOfManyStopsSucceedsAndNothingIsCalledAfterwards)
{
    for (int nRound = 0; nRound < 20; ++nRound) {
        StreamRecorder recorder(realTime());
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

TEST(EndToEnd, StartsAndStopsFromManyThreadsLeaveNothingBehind)
{
    const ScriptedCamera camera(realTime());
    std::vector<std::thread> threads;
    for (unsigned int nThread = 0; nThread < 4; ++nThread) {
        threads.emplace_back([&camera, nThread] {
            for (unsigned int nRound = 0; nRound < 12; ++nRound) {
                StreamRecorder recorder(realTime());
                const StartedPreview preview(recorder, camera.url());
                EXPECT_GE(preview.handle(), 0);
                // Stops it at another point of its life each time.
                std::this_thread::sleep_for(Milliseconds((nThread * 7 + nRound * 13) % 40));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(waitUntil(
        realTime(), [&] { return camera.openConnections() == 0; }, kPlenty));
}

} // namespace
} // namespace selvik
