// Both ways to start and stop a preview, and what becomes of starts that are under way.

#include "interface/tests/PreviewFixture.h"

#include <algorithm>
#include <atomic>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace
{

const char *const kStart = "SELVIK_DCM_StartPreview";
const char *const kStop = "SELVIK_DCM_StopPreview";
const char *const kTasks = "VideoWindow\\TakeStreamMgr";
const char *const kStartTask = "void __cdecl pellora::TakeStreamTask::run(void)";
const char *const kStopTask = "void __cdecl pellora::StopTakeStreamTask::run(void)";
const char *const kPane = "VideoWindow\\VideoWnd";
const char *const kStartHere =
    "bool __cdecl pellora::VideoWnd::previewStreamAsync(const struct pellora::PreviewParam &)";
const char *const kStopHere = "bool __cdecl pellora::VideoWnd::stopPreviewStreamAsync(void)";

std::string withHandle(const std::string &text, long lPreview)
{
    return text + std::to_string(lPreview) + ".";
}

class PreviewRoutesTest : public PreviewFixture
{
protected:
    /** A start of the current pane that the device holds. */
    void startHeld()
    {
        doubles::hold(kStart);
        EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
        ASSERT_TRUE(untilHeld(kStart));
    }

    /** Lets a held start go, and waits until the pane has its result. */
    void letStartThrough(int nNotices = 1)
    {
        EXPECT_TRUE(delivers(nNotices, [] { doubles::letAllThrough(kStart); }));
        settle();
    }

    static unsigned long threadOf(const std::string &beginning)
    {
        for (const doubles::Call &call : doubles::calls()) {
            if (call.text.rfind(beginning, 0) == 0) {
                return call.threadId;
            }
        }
        return 0;
    }
};

// ---- through the pool ----

TEST_F(PreviewRoutesTest, StartsOnAPoolThreadAndLogsTheHandle)
{
    const long lPreview = start();

    EXPECT_NE(threadOf(kStart), GetCurrentThreadId());
    EXPECT_THAT(m_log.lines(),
                Contains(IsLine("INFO", kTasks, kStartTask,
                                withHandle("SELVIK_DCM_StartPreview success, userID: 7, previewHandel: ", lPreview))));
    EXPECT_THAT(newCalls(), ElementsAre(StartsWith("SELVIK_DCM_StartPreview(7, {2, 1, 0, 0, 1, 0, 0x")));
}

TEST_F(PreviewRoutesTest, ReturnsFromTheStartBeforeTheDeviceAnswers)
{
    doubles::hold(kStart);

    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);

    ASSERT_TRUE(untilHeld(kStart));
    EXPECT_THAT(doubles::openPreviews(), IsEmpty());
    letStartThrough();
    EXPECT_EQ(doubles::openPreviews().size(), 1U);
}

TEST_F(PreviewRoutesTest, RefusesASecondStartWhileOneIsUnderWay)
{
    startHeld();
    doubles::clearCalls();
    m_log.clear();

    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam(8, 3)), 0);

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre(StartsWith("INFO PELLORA_PreviewStream, "),
                                           StartsWith("WARN PELLORA_PreviewStream: a start is under way")));
    letStartThrough();
    const std::vector<long> previews = doubles::openPreviews();
    ASSERT_EQ(previews.size(), 1U);
    // The first one is the pane's, whole: its data open the port, and its status is its own.
    listen();
    sendHeader(previews.front());
    EXPECT_THAT(told(), ElementsAre("0 7/2 1"));
}

TEST_F(PreviewRoutesTest, StartsInOtherPanesWhileOneIsUnderWay)
{
    startHeld();
    PELLORA_SetCurWnd(m_lHandle, 1);

    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);

    ASSERT_TRUE(untilHeld(kStart, 2));
    doubles::letThrough(kStart, 1);
    EXPECT_TRUE(until([this] { return m_notices.at(1)->count() == 1; }));
    doubles::letAllThrough();
    EXPECT_TRUE(until([this] { return m_notices.at(0)->count() == 1; }));
    EXPECT_EQ(doubles::openPreviews().size(), 2U);
}

TEST_F(PreviewRoutesTest, StopsOnAPoolThreadInTheOrderThatThePlayerNeeds)
{
    const long lPreview = startPlaying();

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);

    ASSERT_TRUE(untilLogged(withHandle("INFO SELVIK_DCM_StopPreview success, previewHandel: ", lPreview)));
    EXPECT_NE(threadOf(kStop), GetCurrentThreadId());
    EXPECT_EQ(newCalls(),
              (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0) + Texts{stopCall(lPreview)}));
    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsExportLine("PELLORA_StopPreviewStream: lHandle: 0",
                                         "int __cdecl PELLORA_StopPreviewStream(long)"),
                            IsLine("INFO", kTasks, kStopTask,
                                   withHandle("SELVIK_DCM_StopPreview success, previewHandel: ", lPreview))));
}

TEST_F(PreviewRoutesTest, ReturnsFromTheStopBeforeTheDeviceAnswers)
{
    startPlaying();
    doubles::hold(kStop);

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);

    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    ASSERT_TRUE(untilHeld(kStop));
    EXPECT_EQ(doubles::openPreviews().size(), 1U);
}

TEST_F(PreviewRoutesTest, StopsOnceOnly)
{
    start();
    PELLORA_StopPreviewStream(m_lHandle);
    ASSERT_TRUE(until([] { return doubles::openPreviews().empty(); }));
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);

    settle();
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(PreviewRoutesTest, OnlyLogsAStopThatFails)
{
    const long lPreview = startPlaying();
    listen();
    doubles::script(kStop, {3});

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);

    ASSERT_TRUE(untilLogged(withHandle("ERROR SELVIK_DCM_StopPreview error: 3, previewHandel: ", lPreview)));
    EXPECT_THAT(m_log.lines(),
                Contains(IsLine("ERROR", kTasks, kStopTask,
                                withHandle("SELVIK_DCM_StopPreview error: 3, previewHandel: ", lPreview))));
    settle();
    EXPECT_THAT(told(), IsEmpty());
    // The pane is free; what the device goes on sending is nobody's.
    doubles::clearCalls();
    EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"));
    EXPECT_THAT(newCalls(), IsEmpty());
    SELVIK_DCM_StopPreview(lPreview);
}

TEST_F(PreviewRoutesTest, DropsForGoodWhatAPreviewSendsThatCouldNotBeStopped)
{
    const long lOld = startPlaying();
    doubles::script(kStop, {3});
    PELLORA_StopPreviewStream(m_lHandle);
    ASSERT_TRUE(untilLogged(withHandle("ERROR SELVIK_DCM_StopPreview error: 3, previewHandel: ", lOld)));
    doubles::hold(kStart);
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    ASSERT_TRUE(untilHeld(kStart));
    doubles::clearCalls();

    doubles::sendStream(lOld, SELVIK_STREAM_HEADER, "header");

    EXPECT_THAT(newCalls(), IsEmpty());
    letStartThrough();
    SELVIK_DCM_StopPreview(lOld);
}

TEST_F(PreviewRoutesTest, SwitchesABusyPaneOver)
{
    const long lOld = startPlaying(1);
    EXPECT_TRUE(delivers(1, [this] { EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam(9, 5)), 1); }));
    ASSERT_TRUE(untilLogged(withHandle("INFO SELVIK_DCM_StopPreview success, previewHandel: ", lOld)));

    Texts calls = newCalls();
    // The stop and the start may run at the same time on the two threads of the pool.
    const Texts device = callsWith(calls, "SELVIK");
    EXPECT_THAT(device, UnorderedElementsAre(stopCall(lOld), StartsWith("SELVIK_DCM_StartPreview(9, {5, 1,")));
    EXPECT_EQ(callsWith(calls, "Kavun"), (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0)));
    EXPECT_EQ(doubles::openPreviews().size(), 1U);
}

TEST_F(PreviewRoutesTest, LetsAFastNewStartComeBeforeTheOldStop)
{
    const long lOld = startPlaying();
    doubles::hold(kStop);

    EXPECT_TRUE(delivers(1, [this] { PELLORA_PreviewStream(m_lHandle, previewParam()); }));
    ASSERT_TRUE(untilHeld(kStop));
    doubles::clearCalls();
    const long lNew = doubles::openPreviews().back();
    ASSERT_NE(lNew, lOld);
    doubles::sendStream(lNew, SELVIK_STREAM_HEADER, "header");
    doubles::sendStream(lOld, SELVIK_STREAM_DATA, "old");
    doubles::sendStream(lOld, SELVIK_STREAM_HEADER, "header");
    doubles::sendStream(lNew, SELVIK_STREAM_DATA, "new");

    EXPECT_EQ(newCalls(), (openingCalls(1, pane()) + Texts{"Kavun_InputData(1, [6E6577], 3)"}));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
}

// ---- failed starts ----

TEST_F(PreviewRoutesTest, LogsAStartThatFails)
{
    doubles::script(kStart, {6});

    EXPECT_TRUE(delivers(2, [this] { EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1); }));

    EXPECT_THAT(m_log.lines(), Contains(IsLine("ERROR", kTasks, kStartTask,
                                               "SELVIK_DCM_StartPreview error: 6, userID: 7, previewHandel: -1.")));
}

TEST_F(PreviewRoutesTest, IsFreeAfterAFailedStart)
{
    doubles::script(kStart, {6});
    EXPECT_TRUE(delivers(2, [this] { PELLORA_PreviewStream(m_lHandle, previewParam()); }));
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    settle();
    EXPECT_THAT(newCalls(), IsEmpty());

    start();
    EXPECT_EQ(doubles::openPreviews().size(), 1U);
}

TEST_F(PreviewRoutesTest, StopsAFailedStartWhoseHandleIsNotMinusOne)
{
    doubles::script(kStart, {6});
    doubles::answerStarts({-7});
    EXPECT_TRUE(delivers(2, [this] { PELLORA_PreviewStream(m_lHandle, previewParam()); }));
    doubles::clearCalls();
    doubles::script(kStop, {2});

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);

    ASSERT_TRUE(untilLogged("ERROR SELVIK_DCM_StopPreview error: 2, previewHandel: -7."));
    EXPECT_THAT(newCalls(), Contains("SELVIK_DCM_StopPreview(-7)"));
    // Once.
    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    settle();
    EXPECT_THAT(newCalls(), IsEmpty());
}

// ---- on the caller's thread ----

TEST_F(PreviewRoutesTest, StartsOnTheCallersThreadAndLogsTheHandle)
{
    const long lPreview = startDirect();

    EXPECT_EQ(threadOf(kStart), GetCurrentThreadId());
    EXPECT_THAT(newCalls(), ElementsAre(StartsWith("SELVIK_DCM_StartPreview(7, {2, 1, 0, 0, 1, 0, 0x")));
    EXPECT_THAT(m_log.lines(),
                Contains(IsLine("INFO", kPane, kStartHere,
                                withHandle("SELVIK_DCM_StartPreview success, userID: 7, previewHandel: ", lPreview))));
}

TEST_F(PreviewRoutesTest, StopsOnTheCallersThreadInTheOrderThatThePlayerNeeds)
{
    const long lPreview = startDirect();
    sendHeader(lPreview);
    doubles::clearCalls();
    m_log.clear();

    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);

    EXPECT_EQ(threadOf(kStop), GetCurrentThreadId());
    EXPECT_EQ(newCalls(),
              (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0) + Texts{stopCall(lPreview)}));
    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsExportLine("PELLORA_StopAllPreviewStream_Async: lHandle: 0",
                                         "int __cdecl PELLORA_StopAllPreviewStream_Async(long)"),
                            IsLine("INFO", kPane, kStopHere,
                                   withHandle("SELVIK_DCM_StopPreview success, previewHandel: ", lPreview))));
}

TEST_F(PreviewRoutesTest, StopsTheOldPreviewBeforeItStartsTheNewOneHere)
{
    const long lOld = startDirect(1);
    sendHeader(lOld);
    doubles::clearCalls();

    const long lNew = startDirect();

    EXPECT_NE(lNew, lOld);
    const Texts calls = newCalls();
    ASSERT_EQ(calls.size(), 6U);
    EXPECT_EQ(Texts(calls.begin(), calls.end() - 1),
              (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0) + Texts{stopCall(lOld)}));
    EXPECT_THAT(calls.back(), StartsWith("SELVIK_DCM_StartPreview(7, {2,"));
}

TEST_F(PreviewRoutesTest, LogsAStartThatFailsHere)
{
    doubles::script(kStart, {8});
    doubles::answerStarts({-3});

    startDirect();

    EXPECT_THAT(m_log.lines(), Contains(IsLine("ERROR", kPane, kStartHere,
                                               "SELVIK_DCM_StartPreview error: 8, userID: 7, previewHandel: -3.")));
    EXPECT_THAT(newCalls(), ElementsAre(StartsWith(kStart), "SELVIK_DCM_GetLastError()"));
}

TEST_F(PreviewRoutesTest, KeepsTheFailedHandleAndStopsItHere)
{
    doubles::script(kStart, {8});
    doubles::answerStarts({-3});
    startDirect();
    doubles::clearCalls();

    PELLORA_StopAllPreviewStream_Async(m_lHandle);

    EXPECT_THAT(newCalls(), Contains("SELVIK_DCM_StopPreview(-3)"));
    // The double knows no such preview, so that the handle stays and the next stop tries again.
    PELLORA_StopAllPreviewStream_Async(m_lHandle);
    EXPECT_THAT(newCalls(), Contains("SELVIK_DCM_StopPreview(-3)"));
}

TEST_F(PreviewRoutesTest, KeepsUserAndChannelOfAFailedStartHere)
{
    doubles::script(kStart, {8});
    startDirect();
    settle();
    listen();

    PELLORA_SetCurWnd(m_lHandle, 0);
    QMetaObject::invokeMethod(pane(), "signalPreviewStatus");

    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
}

TEST_F(PreviewRoutesTest, ForgetsNothingWhenAStopFailsHere)
{
    const long lPreview = startDirect();
    listen();
    doubles::script(kStop, {3});

    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);

    EXPECT_THAT(m_log.lines(),
                Contains(IsLine("ERROR", kPane, kStopHere,
                                withHandle("SELVIK_DCM_StopPreview error: 3, previewHandel: ", lPreview))));
    QMetaObject::invokeMethod(pane(), "signalPreviewStatus");
    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
    doubles::clearCalls();
    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);
    EXPECT_THAT(newCalls(), Contains(stopCall(lPreview)));
    QMetaObject::invokeMethod(pane(), "signalPreviewStatus");
    EXPECT_THAT(told(), ElementsAre("0 7/2 0", "0 -1/0 0"));
}

TEST_F(PreviewRoutesTest, StopsOtherPanesWhenOneStopFailsHere)
{
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(3), nullptr), 1);
    doubles::script(kStop, {3});

    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);

    EXPECT_EQ(doubles::openPreviews().size(), 1U);
    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);
}

// ---- stopped while the start is under way ----

TEST_F(PreviewRoutesTest, StopsAStartThatIsUnderWayWhenItComesBack)
{
    listen();
    startHeld();
    doubles::clearCalls();
    m_log.clear();

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    EXPECT_THAT(newCalls(), IsEmpty());
    letStartThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    const Texts calls = newCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_THAT(calls[0], StartsWith("SELVIK_DCM_StopPreview("));
    ASSERT_TRUE(until([this] { return callsWith(m_log.texts(), "INFO SELVIK_DCM_StopPreview success").size() == 1; }));
    EXPECT_THAT(m_log.lines().back().function, std::string(kStopTask));
    settle();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PreviewRoutesTest, TellsNothingOfAFailureAfterTheStop)
{
    listen();
    doubles::script(kStart, {5});
    startHeld();

    PELLORA_StopPreviewStream(m_lHandle);
    letStartThrough();

    settle();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(callsWith(doubles::callTexts(), kStop), IsEmpty());
    start();
}

TEST_F(PreviewRoutesTest, DropsDataOfAStartThatWasStopped)
{
    std::atomic<bool> bGoOn{false};
    doubles::whenStarted([&bGoOn](long lPreview) {
        while (!bGoOn) {
            std::this_thread::yield();
        }
        doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
        doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    });
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    ASSERT_TRUE(until([] { return doubles::openPreviews().size() == 1; }));

    PELLORA_StopPreviewStream(m_lHandle);
    EXPECT_TRUE(delivers(1, [&bGoOn] { bGoOn = true; }));

    ASSERT_TRUE(until([] { return doubles::openPreviews().empty(); }));
    EXPECT_THAT(callsWith(newCalls(), "Kavun"), IsEmpty());
}

TEST_F(PreviewRoutesTest, StopsAStartThatIsUnderWayFromTheOtherRoute)
{
    listen();
    startHeld();
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_StopAllPreviewStream_Async(m_lHandle), 1);
    EXPECT_THAT(newCalls(), IsEmpty());
    letStartThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    settle();
    EXPECT_THAT(told(), IsEmpty());
    // And is free again.
    start();
}

TEST_F(PreviewRoutesTest, StillRefusesAStartAfterTheStopOfOneThatIsUnderWay)
{
    startHeld();
    PELLORA_StopPreviewStream(m_lHandle);

    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 0);

    letStartThrough();
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    ASSERT_TRUE(until([] { return doubles::startedPreviews() == 2 && doubles::stoppedPreviews() == 1; }));
    settle();
}

TEST_F(PreviewRoutesTest, NeverPutsALateResultOverALivePreview)
{
    listen();
    startHeld();
    // The pool's start is held; the host's own is let through at once.
    std::thread helper([] {
        while (!doubles::letThrough(kStart, 1)) {
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(1), nullptr), 1);
    helper.join();
    const long lLive = doubles::openPreviews().back();
    sendHeader(lLive);
    doubles::clearCalls();

    letStartThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    const Texts calls = newCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_THAT(calls[0], StartsWith("SELVIK_DCM_StopPreview("));
    EXPECT_NE(calls[0], stopCall(lLive));
    EXPECT_THAT(doubles::openPreviews(), ElementsAre(lLive));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(0));
    EXPECT_THAT(told(), ElementsAre("0 7/1 1"));
    // The live one is still the pane's to stop.
    PELLORA_StopPreviewStream(m_lHandle);
    ASSERT_TRUE(until([] { return doubles::openPreviews().empty(); }));
}

TEST_F(PreviewRoutesTest, LeavesAFileAloneWhenALateResultIsStopped)
{
    startHeld();
    PELLORA_StopPreviewStream(m_lHandle);
    const long lPort = playFile(m_lHandle, 0, 1);

    letStartThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    EXPECT_THAT(newCalls(), ElementsAre(StartsWith("SELVIK_DCM_StopPreview(")));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(lPort));
}

TEST_F(PreviewRoutesTest, KeepsTwoStartsApartUntilItKnowsWhoseDataTheyAre)
{
    // Both starts have their numbers, and neither has come back.
    std::atomic<int> nReady{0};
    std::atomic<bool> bPoolGoOn{false};
    std::vector<long> previews(2, -1);
    const unsigned long nUserInterfaceThread = GetCurrentThreadId();
    doubles::whenStarted([&](long lPreview) {
        if (GetCurrentThreadId() != nUserInterfaceThread) {
            previews[0] = lPreview;
            ++nReady;
            while (!bPoolGoOn) {
                std::this_thread::yield();
            }
            return;
        }
        previews[1] = lPreview;
        doubles::sendStream(previews[0], SELVIK_STREAM_HEADER, "abandoned");
        doubles::sendStream(previews[1], SELVIK_STREAM_HEADER, "header");
        doubles::sendStream(previews[0], SELVIK_STREAM_DATA, "abandoned");
        doubles::sendStream(previews[1], SELVIK_STREAM_DATA, "data");
    });
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    ASSERT_TRUE(until([&nReady] { return nReady == 1; }));
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(1), nullptr), 1);

    EXPECT_EQ(callsWith(newCalls(), "Kavun"), (openingCalls(0, pane()) + Texts{"Kavun_InputData(0, [64617461], 4)"}));
    doubles::sendStream(previews[0], SELVIK_STREAM_HEADER, "abandoned");
    doubles::sendStream(previews[1], SELVIK_STREAM_DATA, "more");
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [6D6F7265], 4)"));
    settle();
    EXPECT_TRUE(delivers(1, [&bPoolGoOn] { bPoolGoOn = true; }));
    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    EXPECT_THAT(doubles::openPreviews(), ElementsAre(previews[1]));
}

TEST_F(PreviewRoutesTest, OpensThePortOnceForHeadersThatItHadToKeep)
{
    const unsigned long nUserInterfaceThread = GetCurrentThreadId();
    std::atomic<bool> bHeld{false};
    std::atomic<bool> bPoolGoOn{false};
    doubles::whenStarted([&](long lPreview) {
        if (GetCurrentThreadId() != nUserInterfaceThread) {
            bHeld = true;
            while (!bPoolGoOn) {
                std::this_thread::yield();
            }
            return;
        }
        // A device that was reached again while its start was under way: the new stream takes the old one's place.
        for (int i = 0; i < 3; ++i) {
            doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
            doubles::sendStream(lPreview, SELVIK_STREAM_DATA, std::string(1, static_cast<char>('a' + i)));
        }
    });
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    ASSERT_TRUE(until([&bHeld] { return bHeld.load(); }));
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(1), nullptr), 1);

    EXPECT_EQ(callsWith(newCalls(), "Kavun"), (openingCalls(0, pane()) + Texts{"Kavun_InputData(0, [63], 1)"}));
    EXPECT_TRUE(delivers(1, [&bPoolGoOn] { bPoolGoOn = true; }));
}

// ---- locks ----

/** In the middle of a call, the device still gets through to the pane on a thread of its own. */
class PreviewLockTest : public PreviewRoutesTest
{
protected:
    void TearDown() override
    {
        doubles::whenCalled(kStart, nullptr);
        doubles::whenCalled(kStop, nullptr);
        s_whenTold = nullptr;
        PreviewRoutesTest::TearDown();
    }

    /** A record of a preview that nobody wants; true when the callback has returned. */
    bool deviceGetsThrough() const
    {
        auto pDone = std::make_shared<std::atomic<bool>>(false);
        std::thread([request = m_request, pDone] {
            unsigned char bytes[] = {1};
            const SELVIK_DCM_STREAM_DATA data = {SELVIK_STREAM_DATA, 1, bytes};
            doubles::callBack(request, 4711, &data);
            *pDone = true;
        }).detach();
        const ULONGLONG nEnd = GetTickCount64() + kPatience;
        while (!*pDone && GetTickCount64() < nEnd) {
            std::this_thread::yield();
        }
        return *pDone;
    }

    /** Pane 0 has had a preview, so that its request is known. */
    void learnRequest()
    {
        start();
        m_request = doubles::startRequests().front();
    }

    doubles::StartRequest m_request;
};

TEST_F(PreviewLockTest, HoldsNoneWhileTheDeviceLibraryIsCalled)
{
    learnRequest();
    std::atomic<int> nCalls{0};
    std::atomic<int> nThrough{0};
    const auto look = [&] {
        ++nCalls;
        nThrough += deviceGetsThrough() ? 1 : 0;
    };
    doubles::whenCalled(kStart, look);
    doubles::whenCalled(kStop, look);

    startDirect();
    PELLORA_StopAllPreviewStream_Async(m_lHandle);
    start();
    PELLORA_StopPreviewStream(m_lHandle);
    EXPECT_TRUE(until([] { return doubles::openPreviews().empty(); }));

    // The stop of the first preview, and twice both.
    EXPECT_EQ(nCalls, 5);
    EXPECT_EQ(nThrough, 5);
}

TEST_F(PreviewLockTest, HoldsNoneWhileTheHostIsCalled)
{
    learnRequest();
    listen();
    int nThrough = 0;
    s_whenTold = [&](const tagPELLORA_PREVIEW_STATUS &) { nThrough += deviceGetsThrough() ? 1 : 0; };

    sendHeader(doubles::openPreviews().front());

    EXPECT_EQ(nThrough, 1);
}

// ---- the window goes ----

TEST_F(PreviewRoutesTest, StopsEachPreviewWhenItsWindowIsDestroyed)
{
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(3), nullptr), 1);
    const std::vector<long> previews = doubles::openPreviews();
    sendHeader(previews[1]);
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    EXPECT_EQ(callsWith(doubles::callTexts(), kStop),
              (Texts{stopCall(previews[0]), stopCall(previews[1]), stopCall(previews[2])}));
    EXPECT_EQ(threadOf(kStop), GetCurrentThreadId());
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(PreviewRoutesTest, StopsAStartThatComesBackToADestroyedWindowOnItsThread)
{
    startHeld();
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    EXPECT_THAT(support::childrenOf(m_pHost->handle()), IsEmpty());
    doubles::letAllThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
    EXPECT_EQ(callsWith(doubles::callTexts(), kStop).size(), 1U);
    EXPECT_NE(threadOf(kStop), GetCurrentThreadId());
    ASSERT_TRUE(until([this] { return callsWith(m_log.texts(), "INFO SELVIK_DCM_StopPreview success").size() == 1; }));
    settle();
    EXPECT_THAT(doubles::openPreviews(), IsEmpty());
}

TEST_F(PreviewRoutesTest, AsksForNothingWhenAFailedStartComesBackToADestroyedWindow)
{
    doubles::script(kStart, {5});
    startHeld();
    PELLORA_DestroyWindow(m_lHandle);
    doubles::clearCalls();

    doubles::letAllThrough();

    ASSERT_TRUE(untilLogged("ERROR SELVIK_DCM_StartPreview error: 5, userID: 7, previewHandel: -1."));
    settle();
    EXPECT_THAT(callsWith(doubles::callTexts(), kStop), IsEmpty());
}

TEST_F(PreviewRoutesTest, StopsAResultThatWasUnderWayToTheDestroyedPane)
{
    doubles::hold(kStart);
    PELLORA_PreviewStream(m_lHandle, previewParam());
    ASSERT_TRUE(untilHeld(kStart));
    doubles::letAllThrough();
    // The notice is queued, and this thread has looked at no message since.
    while (callsWith(m_log.texts(), "INFO SELVIK_DCM_StartPreview success").empty()) {
        std::this_thread::yield();
    }

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    ASSERT_TRUE(until([] { return doubles::openPreviews().empty(); }));
    settle();
    EXPECT_EQ(callsWith(doubles::callTexts(), kStop).size(), 1U);
}

TEST_F(PreviewRoutesTest, DoesNotEvenBeginAQueuedStartOfADestroyedWindow)
{
    doubles::hold(kStart);
    EXPECT_EQ(PELLORA_BatchPreviewStream(m_lHandle, batchOf(9), nullptr), 1);
    ASSERT_TRUE(untilHeld(kStart, 2));

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    doubles::letAllThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 2; }));
    // What comes after them in the queue has been passed when a later start has run.
    m_lHandle = createWindow();
    PELLORA_PreviewStream(m_lHandle, previewParam(55));
    ASSERT_TRUE(until([] { return doubles::startedPreviews() == 3; }));
    EXPECT_EQ(doubles::startRequests().size(), 3U);
    EXPECT_EQ(doubles::startRequests().back().userID, 55);
}

TEST_F(PreviewRoutesTest, DropsDataForAPaneThatIsGone)
{
    const long lPreview = start();
    const doubles::StartRequest request = doubles::startRequests().front();
    PELLORA_DestroyWindow(m_lHandle);
    doubles::clearCalls();
    unsigned char bytes[] = {1, 2, 3};
    const SELVIK_DCM_STREAM_DATA header = {SELVIK_STREAM_HEADER, 3, bytes};
    const SELVIK_DCM_STREAM_DATA data = {SELVIK_STREAM_DATA, 3, bytes};

    doubles::callBack(request, lPreview, &header);
    doubles::callBack(request, lPreview, &data);

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(PreviewRoutesTest, DropsDataOfAnAbandonedStartForANewPaneInItsPlace)
{
    startHeld();
    const doubles::StartRequest request = doubles::startRequests().front();
    PELLORA_DestroyWindow(m_lHandle);
    m_lHandle = createWindow();
    doubles::clearCalls();
    unsigned char bytes[] = {1, 2, 3};
    const SELVIK_DCM_STREAM_DATA header = {SELVIK_STREAM_HEADER, 3, bytes};

    // Whether or not the new pane has the address of the old one.
    doubles::callBack(request, 4711, &header);

    EXPECT_THAT(newCalls(), IsEmpty());
    doubles::letAllThrough();
    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
}

TEST_F(PreviewRoutesTest, DestroysTheWindowOfAHostThatIsGoneWithAStartUnderWay)
{
    startHeld();
    m_pHost->destroy();

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    doubles::letAllThrough();

    ASSERT_TRUE(until([] { return doubles::stoppedPreviews() == 1; }));
}

TEST_F(PreviewRoutesTest, StopsFromInsideTheStatusCallback)
{
    listen();
    s_whenTold = [this](const tagPELLORA_PREVIEW_STATUS &) { PELLORA_StopPreviewStream(m_lHandle); };
    const long lPreview = start();

    sendHeader(lPreview);

    EXPECT_EQ(s_told.size(), 1U);
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    ASSERT_TRUE(until([] { return doubles::openPreviews().empty(); }));
    EXPECT_THAT(callsWith(doubles::callTexts(), kStop), ElementsAre(stopCall(lPreview)));
}

TEST_F(PreviewRoutesTest, DestroysTheWindowFromInsideTheStatusCallback)
{
    listen();
    s_whenTold = [this](const tagPELLORA_PREVIEW_STATUS &) { PELLORA_DestroyWindow(m_lHandle); };
    const long lPreview = start();

    sendHeader(lPreview);

    EXPECT_TRUE(until([] { return videoWindows().empty() && doubles::openPreviews().empty(); }));
    EXPECT_EQ(s_told.size(), 1U);
}

TEST_F(PreviewRoutesTest, SwitchesOverFromInsideTheStatusCallback)
{
    listen();
    bool bOnce = true;
    s_whenTold = [this, &bOnce](const tagPELLORA_PREVIEW_STATUS &) {
        if (bOnce) {
            bOnce = false;
            EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(1), nullptr), 1);
        }
    };
    const long lFirst = start();

    sendHeader(lFirst);

    const std::vector<long> previews = doubles::openPreviews();
    ASSERT_EQ(previews.size(), 1U);
    EXPECT_NE(previews.front(), lFirst);
    sendHeader(previews.front());
    EXPECT_THAT(told(), ElementsAre("0 7/2 1", "0 7/1 1"));
}

TEST_F(PreviewRoutesTest, RestartsFromInsideTheStatusCallbackOfAFailure)
{
    listen();
    s_whenTold = [this](const tagPELLORA_PREVIEW_STATUS &) {
        EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    };
    doubles::script(kStart, {5, 5});

    PELLORA_PreviewStream(m_lHandle, previewParam());

    ASSERT_TRUE(until([] { return doubles::openPreviews().size() == 1; }));
    EXPECT_THAT(told(), ElementsAre("0 7/2 0", "0 7/2 0"));
    settle();
}

TEST_F(PreviewRoutesTest, SurvivesADeviceThatStopsFromInsideItsCallback)
{
    const long lPreview = startPlaying();
    doubles::whenCalled("Kavun_InputData", [lPreview] { SELVIK_DCM_StopPreview(lPreview); });

    EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data"));
    doubles::whenCalled("Kavun_InputData", nullptr);

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    ASSERT_TRUE(untilLogged(withHandle("ERROR SELVIK_DCM_StopPreview error: 2, previewHandel: ", lPreview)));
}

// ---- the end of the library ----

/** Ends and begins the library within the test; its own log would take the place of the test's. */
class PreviewLifetimeTest : public PreviewRoutesTest
{
protected:
    void TearDown() override
    {
        begin();
        PreviewRoutesTest::TearDown();
    }

    static void begin()
    {
        PELLORA_Init();
        support::stopLogger();
        support::startLogger();
    }

    /** PELLORA_Fini, while another thread lets held calls go once it has closed the pool's queue. */
    static void finiOverHeldCalls()
    {
        std::thread helper([] {
            // Nothing says that the queue is closed; before that, the workers have nothing but held calls anyway.
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            doubles::letAllThrough();
        });
        EXPECT_EQ(PELLORA_Fini(), 1);
        helper.join();
    }
};

TEST_F(PreviewLifetimeTest, WaitsForStartsThatRunAndKeepsTheirPreviews)
{
    startHeld();

    finiOverHeldCalls();

    EXPECT_EQ(doubles::openPreviews().size(), 1U);
    begin();
    // The pane had its result before the messages were looked at: a stop finds the preview.
    PELLORA_StopPreviewStream(m_lHandle);
    EXPECT_TRUE(until([] { return doubles::openPreviews().empty(); }));
}

TEST_F(PreviewLifetimeTest, AnswersQueuedStartsSoThatTheirPanesAreFree)
{
    listen();
    doubles::hold(kStart);
    EXPECT_EQ(PELLORA_BatchPreviewStream(m_lHandle, batchOf(4), nullptr), 1);
    ASSERT_TRUE(untilHeld(kStart, 2));

    finiOverHeldCalls();

    EXPECT_EQ(doubles::startRequests().size(), 2U);
    settle();
    EXPECT_THAT(told(), UnorderedElementsAre("2 7/3 0", "3 7/4 0"));
    begin();
    for (const long lPane : {2L, 3L}) {
        PELLORA_SetCurWnd(m_lHandle, lPane);
        EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    }
    EXPECT_TRUE(until([] { return doubles::openPreviews().size() == 4; }));
    settle();
}

TEST_F(PreviewLifetimeTest, CarriesQueuedStopsOutThereAndThen)
{
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(4), nullptr), 1);
    doubles::hold(kStop);
    EXPECT_EQ(PELLORA_StopAllPreviewStream(m_lHandle), 1);
    ASSERT_TRUE(untilHeld(kStop, 2));
    doubles::clearCalls();

    finiOverHeldCalls();

    EXPECT_THAT(doubles::openPreviews(), IsEmpty());
    const std::vector<doubles::Call> calls = doubles::calls();
    ASSERT_EQ(calls.size(), 2U);
    for (const doubles::Call &call : calls) {
        EXPECT_THAT(call.text, StartsWith(kStop));
        EXPECT_EQ(call.threadId, GetCurrentThreadId());
    }
}

TEST_F(PreviewLifetimeTest, EndsFromInsideTheStatusCallback)
{
    listen();
    s_whenTold = [](const tagPELLORA_PREVIEW_STATUS &) { EXPECT_EQ(PELLORA_Fini(), 1); };
    const long lPreview = start();

    sendHeader(lPreview);

    EXPECT_EQ(s_told.size(), 1U);
    EXPECT_THAT(doubles::openPreviews(), ElementsAre(lPreview));
}

TEST_F(PreviewLifetimeTest, FreesAPaneAtOnceWhoseStartWasStoppedInTheQueue)
{
    doubles::hold(kStart);
    EXPECT_EQ(PELLORA_BatchPreviewStream(m_lHandle, batchOf(3), nullptr), 1);
    ASSERT_TRUE(untilHeld(kStart, 2));
    EXPECT_EQ(PELLORA_StopAllPreviewStream(m_lHandle), 1);

    finiOverHeldCalls();
    begin();

    // No message has been looked at in between.
    PELLORA_SetCurWnd(m_lHandle, 2);
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    EXPECT_TRUE(until([] { return doubles::openPreviews().size() == 1 && doubles::stoppedPreviews() == 2; }));
    settle();
    const long lPreview = doubles::openPreviews().front();
    listen();
    sendHeader(lPreview);
    EXPECT_THAT(told(), ElementsAre("2 7/2 1"));
}

TEST_F(PreviewLifetimeTest, StartsAgainAfterTheNextInit)
{
    startPlaying();
    PELLORA_Fini();
    begin();

    const long lPreview = start();

    sendHeader(lPreview);
    EXPECT_THAT(doubles::openPreviews(), ElementsAre(lPreview));
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

TEST_F(PreviewLifetimeTest, GoesOnShowingAPreviewBetweenFiniAndInit)
{
    const long lPreview = startPlaying();
    PELLORA_Fini();
    doubles::clearCalls();

    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [64617461], 4)"));
}

TEST_F(PreviewLifetimeTest, StopsHereWithoutAPool)
{
    const long lPreview = startPlaying();
    PELLORA_Fini();
    doubles::clearCalls();

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);

    EXPECT_EQ(newCalls(),
              (Texts{"Kavun_RegisterDrawFun(0, null, null)"} + closingCalls(0) + Texts{stopCall(lPreview)}));
    EXPECT_THAT(doubles::openPreviews(), IsEmpty());
}

TEST_F(PreviewLifetimeTest, KeepsAStartWithoutAPoolPendingUntilTheNextStop)
{
    listen();
    PELLORA_Fini();

    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 1);
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 0);
    begin();
    EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam()), 0);
    settle();
    EXPECT_THAT(newCalls(), IsEmpty());

    EXPECT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
    start();

    EXPECT_EQ(doubles::startRequests().size(), 1U);
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PreviewLifetimeTest, DestroysAWindowWhoseStartNeverGotAPool)
{
    PELLORA_Fini();
    PELLORA_PreviewStream(m_lHandle, previewParam());

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    begin();
    settle();
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(PreviewLifetimeTest, StartsHereWithoutAPool)
{
    PELLORA_Fini();

    const long lPreview = startDirect();

    sendHeader(lPreview);
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

TEST_F(PreviewLifetimeTest, DropsStartsOfDestroyedWindowsFromTheQueue)
{
    doubles::hold(kStart);
    EXPECT_EQ(PELLORA_BatchPreviewStream(m_lHandle, batchOf(4), nullptr), 1);
    ASSERT_TRUE(untilHeld(kStart, 2));
    PELLORA_DestroyWindow(m_lHandle);

    finiOverHeldCalls();

    EXPECT_EQ(doubles::startRequests().size(), 2U);
    EXPECT_THAT(doubles::openPreviews(), IsEmpty());
    EXPECT_EQ(doubles::stoppedPreviews(), 2U);
}

} // namespace
