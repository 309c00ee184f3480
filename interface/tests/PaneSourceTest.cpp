// What plays in a pane, a file or a live stream, and who ends it: each start ends the other kind, and each stop ends
// what plays as what it is.

#include "interface/tests/PreviewFixture.h"

#include <atomic>
#include <stdexcept>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

const char *const kStart = "SELVIK_DCM_StartPreview";

class PaneSourceTest : public PreviewFixture
{
protected:
    void TearDown() override
    {
        doubles::whenCalled(kStart, nullptr);
        doubles::whenCalled("Kavun_InputData", nullptr);
        PreviewFixture::TearDown();
    }

    /** A file over whatever plays; the result. The calls before are forgotten. */
    int playOver(unsigned char byLoop = 0, unsigned char byOpenDraw = 0)
    {
        std::string path = "a.mkv";
        doubles::clearCalls();
        m_log.clear();
        return PELLORA_PreviewFile(m_lHandle, path.data(), byLoop, byOpenDraw);
    }

    [[nodiscard]] bool nothingRuns() const
    {
        return until([] { return doubles::openPreviews().empty(); });
    }

    [[nodiscard]] bool logHasErrors() const
    {
        for (const std::string &text : m_log.texts()) {
            if (text.rfind("ERROR", 0) == 0 || text.rfind("WARN", 0) == 0) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] QWidget *surface() const
    {
        return childNamed(pane(), "m_pLiveViewWnd");
    }

    /** A start of the current pane that the device holds. */
    void startHeld(unsigned char byOpenDraw = 0)
    {
        doubles::hold(kStart);
        EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam(7, 2, 1, byOpenDraw)), 1);
        ASSERT_TRUE(untilHeld(kStart));
    }

    /** What ends a file in the player. */
    static Texts endOfFile(long lPort)
    {
        const std::string port = std::to_string(lPort);
        return {"Kavun_RegisterDrawFun(" + port + ", null, null)",
                "Kavun_SetFileEndCallback(" + port + ", null, null)",
                "Kavun_SetFileRefCallBack(" + port + ", null, null)",
                "Kavun_Stop(" + port + ")",
                "Kavun_CloseFile(" + port + ")",
                "Kavun_FreePort(" + port + ")"};
    }
};

// ---- a file over a live stream ----

TEST_F(PaneSourceTest, EndsALivePreviewAsAStreamBeforeAFilePlays)
{
    const long lPreview = startPlaying();

    EXPECT_EQ(playOver(), 1);

    ASSERT_TRUE(nothingRuns());
    const Texts calls = newCalls();
    EXPECT_THAT(callsWith(calls, "SELVIK"), ElementsAre(stopCall(lPreview)));
    const Texts player = callsWith(calls, "Kavun");
    ASSERT_GT(player.size(), 4U);
    EXPECT_EQ(Texts(player.begin(), player.begin() + 4),
              (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0)));
    EXPECT_EQ(player[4], "Kavun_GetPort(out)");
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
    EXPECT_FALSE(logHasErrors());
}

TEST_F(PaneSourceTest, BringsNoLivePictureBackByALaterHeader)
{
    const long lPreview = startPlaying();
    doubles::hold("SELVIK_DCM_StopPreview");
    EXPECT_EQ(playOver(), 1);
    const std::vector<long> ports = doubles::openPorts();
    ASSERT_TRUE(untilHeld("SELVIK_DCM_StopPreview"));
    doubles::clearCalls();

    // The stop has not been carried out, so that the camera goes on.
    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    settle();

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_EQ(doubles::openPorts(), ports);
    EXPECT_EQ(PELLORA_StopPreviewFile(m_lHandle), 1);
    doubles::clearCalls();
    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
    EXPECT_THAT(callsWith(newCalls(), "Kavun"), IsEmpty());
    doubles::letAllThrough();
    EXPECT_TRUE(nothingRuns());
}

TEST_F(PaneSourceTest, StopsAStartThatComesBackToAFile)
{
    listen();
    startHeld(1);
    EXPECT_EQ(playOver(), 1);
    const std::vector<long> ports = doubles::openPorts();
    doubles::clearCalls();

    EXPECT_TRUE(delivers(1, [] { doubles::letAllThrough(); }));

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    settle();
    EXPECT_THAT(newCalls(), ElementsAre(StartsWith("SELVIK_DCM_StopPreview(")));
    EXPECT_EQ(doubles::openPorts(), ports);
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PaneSourceTest, TellsNothingOfAStartThatFailsUnderAFile)
{
    listen();
    doubles::script(kStart, {6});
    startHeld();
    EXPECT_EQ(playOver(), 1);

    EXPECT_TRUE(delivers(1, [] { doubles::letAllThrough(); }));
    settle();

    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

TEST_F(PaneSourceTest, LetsQueuedNoticesOfThePreviewPassWithoutEffect)
{
    listen();
    const long lPreview = start(1);
    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");

    // The notices of header, overlay and outcome are queued behind this call.
    EXPECT_EQ(playOver(0, 0), 1);
    doubles::clearCalls();
    settle();

    EXPECT_THAT(callsWith(newCalls(), "Kavun_RegisterDrawFun"), IsEmpty());
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_FALSE(surface()->hasMouseTracking());
}

TEST_F(PaneSourceTest, PlaysAFileOverADirectPreview)
{
    const long lPreview = startDirect();
    sendHeader(lPreview);

    EXPECT_EQ(playOver(), 1);

    EXPECT_TRUE(nothingRuns());
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

// ---- a live stream over a file ----

class FileUnderPreviewTest : public PaneSourceTest, public testing::WithParamInterface<bool>
{
protected:
    void startOverFile()
    {
        if (GetParam()) {
            startDirect();
        } else {
            start();
        }
    }
};

TEST_P(FileUnderPreviewTest, EndsAsAFile)
{
    const long lPort = playFile(m_lHandle, 1, 0);
    m_log.clear();

    startOverFile();

    EXPECT_EQ(callsWith(newCalls(), "Kavun"), endOfFile(lPort));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    EXPECT_FALSE(logHasErrors());
}

TEST_P(FileUnderPreviewTest, LeavesNoPlayStateAndNoSpeedBehind)
{
    playFile(m_lHandle);
    EXPECT_EQ(PELLORA_Fast(m_lHandle), 1);
    EXPECT_EQ(PELLORA_Fast(m_lHandle), 1);
    startOverFile();
    sendHeader(doubles::openPreviews().back());
    doubles::clearCalls();

    // On a live stream steps are only counted; a play state from the file would hand them to the player.
    EXPECT_EQ(PELLORA_Fast(m_lHandle), 1);
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_EQ(PELLORA_Play(m_lHandle), 1);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(1, null)", "Kavun_Fast(1)"));
}

TEST_P(FileUnderPreviewTest, LeavesNoLoopBehind)
{
    const long lPort = playFile(m_lHandle, 1);
    std::thread([lPort] { doubles::fireFileEnd(lPort); }).join();
    startOverFile();
    doubles::clearCalls();

    settle();

    EXPECT_THAT(callsWith(newCalls(), "Kavun_SetPlayedTimeEx"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(EachRoute, FileUnderPreviewTest, testing::Bool(),
                         [](const auto &direct) { return direct.param ? "OnTheCallersThread" : "ThroughThePool"; });

// ---- stopped by the other kind's function ----

TEST_F(PaneSourceTest, EndsAFileAsAFileWhenPreviewsAreStopped)
{
    const auto stops = {&PELLORA_StopPreviewStream, &PELLORA_StopAllPreviewStream, &PELLORA_StopAllPreviewStream_Async};
    for (const auto stop : stops) {
        const long lPort = playFile(m_lHandle, 1);
        m_log.clear();

        EXPECT_EQ(stop(m_lHandle), 1);

        EXPECT_EQ(newCalls(), endOfFile(lPort));
        EXPECT_TRUE(surface()->updatesEnabled());
        EXPECT_FALSE(logHasErrors());
        // What is counted afterwards waits for the next file.
        EXPECT_EQ(PELLORA_Fast(m_lHandle), 0);
    }
}

TEST_F(PaneSourceTest, EndsALivePictureAsAStreamWhenFilesAreStopped)
{
    const long lPreview = startPlaying();

    EXPECT_EQ(PELLORA_StopPreviewFile(m_lHandle), 1);

    ASSERT_TRUE(nothingRuns());
    EXPECT_EQ(newCalls(),
              (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0) + Texts{stopCall(lPreview)}));
    EXPECT_FALSE(logHasErrors());
    EXPECT_TRUE(surface()->updatesEnabled());
}

TEST_F(PaneSourceTest, EndsWhatPlaysAsWhatItIsWhenTheWindowGoes)
{
    const long lPort = playFile(m_lHandle);
    PELLORA_SetCurWnd(m_lHandle, 1);
    const long lPreview = startIn(1);
    sendHeader(lPreview);
    doubles::clearCalls();
    m_log.clear();

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    EXPECT_TRUE(nothingRuns());
    const Texts calls = newCalls();
    EXPECT_THAT(calls, Contains("Kavun_CloseFile(" + std::to_string(lPort) + ")"));
    EXPECT_THAT(calls, Contains("Kavun_CloseStream(" + std::to_string(lPort + 1) + ")"));
    EXPECT_THAT(callsWith(calls, "Kavun_GetLastError"), IsEmpty());
    EXPECT_FALSE(logHasErrors());
}

TEST_F(PaneSourceTest, EndsAStreamThatCouldNotBeOpenedAsAStream)
{
    listen();
    doubles::script("Kavun_OpenStream", {6});
    const long lPreview = start();
    sendHeader(lPreview);
    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
    doubles::clearCalls();

    PELLORA_StopPreviewFile(m_lHandle);

    EXPECT_TRUE(nothingRuns());
    EXPECT_THAT(callsWith(newCalls(), "Kavun_CloseFile"), IsEmpty());
    settle();
    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
}

// ---- outcomes and wishes ----

TEST_F(PaneSourceTest, ForgetsTheWishForTheOverlayWhenFilesAreStoppedBeforeTheHeader)
{
    const long lPreview = start(1);
    EXPECT_EQ(PELLORA_StopPreviewFile(m_lHandle), 1);
    doubles::clearCalls();

    sendHeader(lPreview);

    EXPECT_THAT(callsWith(newCalls(), "Kavun_RegisterDrawFun"), IsEmpty());
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

TEST_F(PaneSourceTest, TellsNothingOfADirectStartThatFailedAndWasStopped)
{
    listen();
    doubles::script(kStart, {6});
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(1), nullptr), 1);

    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);
    settle();

    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PaneSourceTest, TellsOneOutcomeOfAStartThatSentAHeaderAndFailed)
{
    listen();
    doubles::answerStarts({-5});
    doubles::whenCalled(kStart, [] {
        // A device library that sends before it answers, and then fails.
        const doubles::StartRequest request = doubles::startRequests().back();
        unsigned char bytes[] = {1};
        const SELVIK_DCM_STREAM_DATA header = {SELVIK_STREAM_HEADER, 1, bytes};
        doubles::callBack(request, 77, &header);
    });

    startDirect();
    settle();

    EXPECT_EQ(s_told.size(), 1U);
}

// ---- exceptions ----

TEST_F(PaneSourceTest, GoesOnAfterAHostsCallbackHasThrown)
{
    listen();
    s_whenTold = [](const tagPELLORA_PREVIEW_STATUS &) { throw std::runtime_error("the host's"); };
    const long lPreview = start();

    sendHeader(lPreview);

    EXPECT_THAT(m_log.texts(), Contains(HasSubstr("ERROR exception: the host's")));
    s_whenTold = nullptr;
    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    ASSERT_TRUE(nothingRuns());
    startPlaying();
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

TEST_F(PaneSourceTest, GoesOnAfterAFileEndCallbackHasThrown)
{
    const long lPort = playFile(m_lHandle, 1);
    EXPECT_EQ(PELLORA_SetFileEndCallback(m_lHandle, [](long) { throw std::runtime_error("the host's"); }), 1UL);
    m_log.clear();

    std::thread([lPort] { doubles::fireFileEnd(lPort); }).join();
    settle();

    EXPECT_THAT(m_log.texts(), Contains(HasSubstr("ERROR exception: the host's")));
    EXPECT_EQ(PELLORA_SetFileEndCallback(m_lHandle, nullptr), 1UL);
    EXPECT_EQ(PELLORA_StopPreviewFile(m_lHandle), 1);
}

TEST_F(PaneSourceTest, LetsNoExceptionIntoTheDeviceLibrary)
{
    const long lPreview = startPlaying();
    doubles::whenCalled("Kavun_InputData", [] { throw std::bad_alloc(); });

    EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data"));
    doubles::whenCalled("Kavun_InputData", nullptr);

    EXPECT_THAT(m_log.texts(), ElementsAre("ERROR exception: std::bad_alloc"));
    doubles::clearCalls();
    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [64617461], 4)"));
}

TEST_F(PaneSourceTest, IsFreeAfterAStartInWhichTheDeviceLibraryThrew)
{
    listen();
    doubles::whenCalled(kStart, [] { throw std::bad_alloc(); });
    EXPECT_TRUE(delivers(2, [this] { PELLORA_PreviewStream(m_lHandle, previewParam()); }));
    doubles::whenCalled(kStart, nullptr);
    settle();

    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
    start();
    EXPECT_EQ(doubles::openPreviews().size(), 1U);
}

// ---- positions ----

TEST_F(PaneSourceTest, SeeksToTheLastTimeThereIsInsteadOfWrapping)
{
    playFile(m_lHandle);

    PELLORA_SetPlayPos(m_lHandle, 4294967);
    PELLORA_SetPlayPos(m_lHandle, 4294968);
    PELLORA_SetPlayPos(m_lHandle, 0xFFFFFFFF);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_SetPlayedTimeEx(0, 4294967000)", "Kavun_SetPlayedTimeEx(0, 4294967295)",
                                        "Kavun_SetPlayedTimeEx(0, 4294967295)"));
}

} // namespace
