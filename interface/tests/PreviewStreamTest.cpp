// What a preview's stream makes of the player's port, and what the host is told of it.

#include "interface/tests/PreviewFixture.h"

#include <QApplication>
#include <QMouseEvent>

#include <cstring>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

void click(QWidget *pPane, Qt::MouseButton button)
{
    QMouseEvent event(QEvent::MouseButtonPress, QPointF(3, 3), button, button, Qt::NoModifier);
    QApplication::sendEvent(pPane, &event);
}

class PreviewStreamTest : public PreviewFixture
{
protected:
    QWidget *surface(std::size_t nPane = 0) const
    {
        return childNamed(pane(nPane), "m_pLiveViewWnd");
    }
};

// ---- the first header ----

TEST_F(PreviewStreamTest, OpensThePortInTheOrderThatThePlayerNeeds)
{
    const long lPreview = start();
    doubles::clearCalls();

    EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"));

    EXPECT_EQ(newCalls(), openingCalls(0, pane()));
    for (const doubles::Call &call : doubles::calls()) {
        EXPECT_NE(call.threadId, GetCurrentThreadId());
    }
}

TEST_F(PreviewStreamTest, OpensThePortWhenTheHeaderComesBeforeTheStartReturns)
{
    listen();
    doubles::whenStarted([](long lPreview) {
        doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
        doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    });

    // The header's two notices and the start's.
    EXPECT_TRUE(delivers(3, [this] { PELLORA_PreviewStream(m_lHandle, previewParam()); }));

    EXPECT_EQ(callsWith(newCalls(), "Kavun"), (openingCalls(0, pane()) + Texts{"Kavun_InputData(0, [64617461], 4)"}));
    EXPECT_THAT(told(), ElementsAre("0 7/2 1"));
    const long lPreview = doubles::openPreviews().front();
    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [64617461], 4)"));
}

TEST_F(PreviewStreamTest, OpensThePortOfADirectStartWithinTheCall)
{
    listen();
    doubles::whenStarted([](long lPreview) { doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"); });

    startDirect();

    EXPECT_EQ(callsWith(newCalls(), "Kavun"), openingCalls(0, pane()));
    EXPECT_THAT(told(), IsEmpty());
    settle();
    EXPECT_THAT(told(), ElementsAre("0 7/2 1"));
}

TEST_F(PreviewStreamTest, KeepsQtFromPaintingOverThePicture)
{
    const long lPreview = start();
    EXPECT_TRUE(surface()->updatesEnabled());

    sendHeader(lPreview);

    EXPECT_FALSE(surface()->updatesEnabled());
    PELLORA_StopPreviewStream(m_lHandle);
    EXPECT_TRUE(surface()->updatesEnabled());
}

TEST_F(PreviewStreamTest, KeepsQtFromPaintingWhateverThePlayerAnswers)
{
    const long lPreview = start();
    doubles::script("Kavun_OpenStream", {3});

    sendHeader(lPreview);

    EXPECT_FALSE(surface()->updatesEnabled());
}

TEST_F(PreviewStreamTest, ForgetsANoticeOfAHeaderFromBeforeTheStop)
{
    listen();
    const long lPreview = start(1);
    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
    doubles::clearCalls();

    // Its notices are queued behind this call.
    PELLORA_StopPreviewStream(m_lHandle);
    settle();

    EXPECT_TRUE(surface()->updatesEnabled());
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(callsWith(newCalls(), "Kavun_RegisterDrawFun"), ElementsAre("Kavun_RegisterDrawFun(0, null, null)"));
}

TEST_F(PreviewStreamTest, LeavesTheOverlayClosedUnlessAsked)
{
    const long lPreview = start(0);
    doubles::clearCalls();

    sendHeader(lPreview);

    EXPECT_THAT(callsWith(newCalls(), "Kavun_RegisterDrawFun"), IsEmpty());
}

TEST_F(PreviewStreamTest, OpensTheOverlayOnTheUserInterfaceThread)
{
    const long lPreview = start(1);
    doubles::clearCalls();
    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
    EXPECT_EQ(newCalls(), openingCalls(0, pane()));

    settle();

    const std::vector<doubles::Call> calls = doubles::calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_THAT(calls[0].text,
                testing::AllOf(StartsWith("Kavun_RegisterDrawFun(0, 0x"), EndsWith(", " + spelled(pane()) + ")")));
    EXPECT_EQ(calls[0].threadId, GetCurrentThreadId());
    EXPECT_TRUE(surface()->hasMouseTracking());
}

TEST_F(PreviewStreamTest, OpensTheOverlayOfAHeaderThatComesBeforeTheStartReturns)
{
    doubles::whenStarted([](long lPreview) { doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"); });

    EXPECT_TRUE(delivers(4, [this] { PELLORA_PreviewStream(m_lHandle, previewParam(7, 2, 1, 1)); }));

    EXPECT_EQ(callsWith(newCalls(), "Kavun_RegisterDrawFun").size(), 1U);
}

TEST_F(PreviewStreamTest, SaysThatThePortCannotBeOpened)
{
    listen();
    const long lPreview = start();
    doubles::clearCalls();
    m_log.clear();
    doubles::script("Kavun_OpenStream", {3});

    sendHeader(lPreview);

    EXPECT_THAT(m_log.texts(), ElementsAre("ERROR Kavun_OpenStream error: 3."));
    EXPECT_THAT(callsWith(newCalls(), "Kavun_FreePort"), ElementsAre("Kavun_FreePort(0)"));
    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(PreviewStreamTest, SaysThatThereIsNoPort)
{
    listen();
    const long lPreview = start();
    doubles::script("Kavun_GetPort", {9});

    sendHeader(lPreview);

    EXPECT_THAT(told(), ElementsAre("0 7/2 0"));
}

// ---- data ----

TEST_F(PreviewStreamTest, FeedsDataOnTheDevicesThread)
{
    const long lPreview = startPlaying();

    EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_DATA, std::string("\0\xFF", 2)));

    const std::vector<doubles::Call> calls = doubles::calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].text, "Kavun_InputData(0, [00FF], 2)");
    EXPECT_NE(calls[0].threadId, GetCurrentThreadId());
}

TEST_F(PreviewStreamTest, TriesDataThatDoNotFitThreeTimesMoreAndDropsThem)
{
    const long lPreview = startPlaying();
    doubles::script("Kavun_InputData", {}, 11);

    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "x");

    EXPECT_EQ(newCalls().size(), 4U);
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

class IgnoredRecordTest : public PreviewStreamTest, public testing::WithParamInterface<unsigned int>
{
};

TEST_P(IgnoredRecordTest, ReachesNoPlayer)
{
    const long lPreview = startPlaying();

    doubles::sendStream(lPreview, GetParam(), "x");

    settle();
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Types, IgnoredRecordTest, testing::Values(0U, 3U, 0x80000001U, 0xFFFFFFFFU));

TEST_F(PreviewStreamTest, IgnoresCallbacksWithoutARecordOrAPane)
{
    const long lPreview = startPlaying();
    doubles::StartRequest request = doubles::startRequests().front();
    unsigned char bytes[] = {1};
    const SELVIK_DCM_STREAM_DATA data = {SELVIK_STREAM_DATA, 1, bytes};

    doubles::callBack(request, lPreview, nullptr);
    const void *const pNobody = nullptr;
    std::memcpy(request.bytes.data() + 32, &pNobody, sizeof(pNobody));
    doubles::callBack(request, lPreview, &data);
    const void *const pElsewhere = this;
    std::memcpy(request.bytes.data() + 32, &pElsewhere, sizeof(pElsewhere));
    doubles::callBack(request, lPreview, &data);

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(PreviewStreamTest, DropsDataBeforeTheHeader)
{
    const long lPreview = start();
    doubles::clearCalls();

    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(PreviewStreamTest, DropsDataOfAnotherPreview)
{
    const long lPreview = startPlaying();
    const doubles::StartRequest request = doubles::startRequests().front();
    unsigned char bytes[] = {1};
    const SELVIK_DCM_STREAM_DATA header = {SELVIK_STREAM_HEADER, 1, bytes};

    doubles::callBack(request, lPreview + 1000, &header);

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(PreviewStreamTest, KeepsThePortClosedWhenAHeaderComesAfterTheStop)
{
    const long lPreview = startPlaying();
    doubles::hold("SELVIK_DCM_StopPreview");
    PELLORA_StopPreviewStream(m_lHandle);
    ASSERT_TRUE(untilHeld("SELVIK_DCM_StopPreview"));
    doubles::clearCalls();

    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");
    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");

    settle();
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    EXPECT_TRUE(surface()->updatesEnabled());
}

// ---- reconnection ----

TEST_F(PreviewStreamTest, ReplacesThePortOnASecondHeader)
{
    const long lPreview = startPlaying();

    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");

    EXPECT_EQ(newCalls(), (closingCalls(0) + openingCalls(1, pane())));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(PreviewStreamTest, TellsNothingOfALaterHeader)
{
    listen();
    const long lPreview = startPlaying();

    sendHeader(lPreview);
    sendHeader(lPreview);
    doubles::script("Kavun_OpenStream", {3});
    sendHeader(lPreview);

    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PreviewStreamTest, PutsInForceOnTheNewPortWhatWasInForce)
{
    const long lPreview = startPlaying(1);
    EXPECT_EQ(PELLORA_SetIntelData(m_lHandle, 1), 1);
    tagPELLORA_RECT region = {250, 0, 750, 500};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    EXPECT_EQ(PELLORA_SetVolume(m_lHandle, 40000), 1);
    const Texts regions = callsWith(newCalls(), "Kavun_SetDisplayRegion");
    ASSERT_EQ(regions.size(), 1U);

    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");

    Texts calls = newCalls();
    const Texts expected = closingCalls(0) + openingCalls(1, pane()) +
                           Texts{"Kavun_SetVolume(1, 40000)", "Kavun_PlaySound(1)", "Kavun_GetPictureSize(1, out, out)",
                                 "Kavun_SetDisplayRegion(1" + regions[0].substr(24)};
    ASSERT_EQ(calls.size(), expected.size() + 2);
    EXPECT_THAT(calls[expected.size()],
                testing::AllOf(StartsWith("Kavun_RegisterDrawFun(1, 0x"), EndsWith(", " + spelled(pane()) + ")")));
    EXPECT_EQ(calls[expected.size() + 1], "Kavun_RenderPrivateData(1, 1, 1)");
    calls.resize(expected.size());
    EXPECT_EQ(calls, expected);
}

TEST_F(PreviewStreamTest, ShowsTheSamePartOfACameraThatComesBackWithAnotherPicture)
{
    const long lPreview = startPlaying();
    tagPELLORA_RECT region = {250, 0, 750, 500};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    EXPECT_THAT(callsWith(newCalls(), "Kavun_SetDisplayRegion"),
                ElementsAre("Kavun_SetDisplayRegion(0, 0, {176, 0, 528, 288}, null, 0)"));
    doubles::PlayerOutputs outputs;
    outputs.width = 1920;
    outputs.height = 1080;
    doubles::setPlayerOutputs(outputs);

    sendHeader(lPreview);

    EXPECT_THAT(callsWith(newCalls(), "Kavun_SetDisplayRegion"),
                ElementsAre("Kavun_SetDisplayRegion(1, 0, {480, 0, 1440, 540}, null, 0)"));
}

TEST_F(PreviewStreamTest, ShowsThePartOnceTheNewPicturesSizeIsKnown)
{
    const long lPreview = startPlaying();
    tagPELLORA_RECT region = {0, 0, 500, 500};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    // As the real player: no size before the first picture.
    doubles::script("Kavun_GetPictureSize", {8, 8});
    m_log.clear();
    sendHeader(lPreview);
    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    EXPECT_THAT(callsWith(newCalls(), "Kavun_SetDisplayRegion(1"), IsEmpty());

    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");
    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");

    EXPECT_THAT(callsWith(newCalls(), "Kavun_SetDisplayRegion(1"),
                ElementsAre("Kavun_SetDisplayRegion(1, 0, {0, 0, 352, 288}, null, 0)"));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(PreviewStreamTest, ShowsTheSamePartOfAStreamWhosePictureChangesItsSize)
{
    const long lPreview = startPlaying();
    tagPELLORA_RECT region = {500, 500, 1000, 1000};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    doubles::PlayerOutputs outputs;
    outputs.width = 100;
    outputs.height = 50;
    doubles::setPlayerOutputs(outputs);
    doubles::clearCalls();

    doubles::sendStream(lPreview, SELVIK_STREAM_DATA, "data");

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [64617461], 4)", "Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {50, 25, 100, 50}, null, 0)"));
}

TEST_F(PreviewStreamTest, PutsInForceAgainAndAgain)
{
    const long lPreview = startPlaying();
    EXPECT_EQ(PELLORA_SetVolume(m_lHandle, 1), 1);
    sendHeader(lPreview);
    EXPECT_EQ(PELLORA_SetVolume(m_lHandle, 2), 1);
    sendHeader(lPreview);
    doubles::clearCalls();

    sendHeader(lPreview);

    EXPECT_THAT(callsWith(newCalls(), "Kavun_SetVolume"), ElementsAre("Kavun_SetVolume(3, 2)"));
}

TEST_F(PreviewStreamTest, PutsNothingInForceThatWasTakenBack)
{
    const long lPreview = startPlaying(1);
    EXPECT_EQ(PELLORA_CloseDraw(m_lHandle, -1), 1);
    tagPELLORA_RECT region = {250, 0, 750, 500};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    EXPECT_EQ(PELLORA_CloseSound(m_lHandle), 1);
    PELLORA_SetIntelData(m_lHandle, 1);
    PELLORA_SetIntelData(m_lHandle, 0);
    doubles::clearCalls();

    sendHeader(lPreview);

    EXPECT_EQ(newCalls(), (closingCalls(0) + openingCalls(1, pane())));
}

TEST_F(PreviewStreamTest, PutsNothingInForceThatThePlayerRefused)
{
    const long lPreview = startPlaying();
    doubles::script("Kavun_SetVolume", {1});
    doubles::script("Kavun_PlaySound", {13});
    doubles::script("Kavun_SetDisplayRegion", {1});
    tagPELLORA_RECT region = {250, 0, 750, 500};
    EXPECT_EQ(PELLORA_SetVolume(m_lHandle, 40000), 0);
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 0);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 0);
    doubles::clearCalls();

    sendHeader(lPreview);

    EXPECT_EQ(newCalls(), (closingCalls(0) + openingCalls(1, pane())));
}

TEST_F(PreviewStreamTest, TakesNoSoundFromAnotherPane)
{
    const long lFirst = startPlaying();
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    const long lSecond = startIn(1);
    sendHeader(lSecond);
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    doubles::clearCalls();

    sendHeader(lFirst);
    EXPECT_THAT(callsWith(newCalls(), "Kavun_PlaySound"), IsEmpty());

    sendHeader(lSecond);
    EXPECT_EQ(callsWith(newCalls(), "Kavun_PlaySound").size(), 1U);
}

TEST_F(PreviewStreamTest, SoundsNoMoreWhenAnotherPaneHasSilencedAll)
{
    const long lFirst = startPlaying();
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    const long lSecond = startIn(1);
    sendHeader(lSecond);
    // It silences whoever sounds.
    EXPECT_EQ(PELLORA_CloseSound(m_lHandle), 1);
    doubles::clearCalls();

    sendHeader(lFirst);

    EXPECT_THAT(callsWith(newCalls(), "Kavun_PlaySound"), IsEmpty());
}

TEST_F(PreviewStreamTest, BeginsTheNextPreviewWithoutTheOldOnesSettings)
{
    startPlaying(1);
    PELLORA_SetIntelData(m_lHandle, 1);
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    EXPECT_EQ(PELLORA_SetVolume(m_lHandle, 40000), 1);
    PELLORA_StopPreviewStream(m_lHandle);
    const long lNext = start();
    sendHeader(lNext);
    doubles::clearCalls();

    sendHeader(lNext);

    EXPECT_EQ(newCalls(), (closingCalls(1) + openingCalls(2, pane())));
}

TEST_F(PreviewStreamTest, ComesBackAfterAReconnectionThatCouldNotBeOpened)
{
    const long lPreview = startPlaying(1);
    EXPECT_EQ(PELLORA_SetVolume(m_lHandle, 40000), 1);
    doubles::script("Kavun_OpenStream", {3});
    sendHeader(lPreview);
    doubles::clearCalls();

    sendHeader(lPreview);

    const Texts calls = newCalls();
    EXPECT_THAT(calls, Contains("Kavun_SetVolume(2, 40000)"));
    EXPECT_THAT(calls, Contains(StartsWith("Kavun_RegisterDrawFun(2, 0x")));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(2));
}

TEST_F(PreviewStreamTest, GoesBlankButGoesOnWhenTheHostsWindowIsGone)
{
    const long lPreview = startPlaying();
    m_pHost->destroy();
    doubles::clearCalls();

    sendHeader(lPreview);

    EXPECT_THAT(callsWith(newCalls(), "Kavun_Play"), ElementsAre("Kavun_Play(1, null)"));
}

// ---- status ----

/** The bytes of the record. */
std::string statusBytes(long lUserID, unsigned long lChannel, unsigned char byPlaying, long lPane)
{
    std::string bytes(20, '\0');
    std::memcpy(bytes.data() + 0, &lUserID, 4);
    std::memcpy(bytes.data() + 4, &lChannel, 4);
    std::memcpy(bytes.data() + 8, &byPlaying, 1);
    std::memcpy(bytes.data() + 12, &lPane, 4);
    std::memcpy(bytes.data() + 16, &lPane, 4);
    return bytes;
}

TEST_F(PreviewStreamTest, TellsTheBeginningByteForByteOnTheUserInterfaceThread)
{
    listen();
    PELLORA_SetCurWnd(m_lHandle, 3);
    EXPECT_TRUE(delivers(
        1, [this] { PELLORA_PreviewStream(m_lHandle, previewParam(19, 0xFFFFFFFFUL)); }, 3));
    EXPECT_THAT(told(), IsEmpty());

    sendHeader(doubles::openPreviews().front());

    ASSERT_EQ(s_told.size(), 1U);
    EXPECT_EQ(s_told[0].bytes, statusBytes(19, 0xFFFFFFFFUL, 1, 3));
    EXPECT_EQ(s_told[0].threadId, GetCurrentThreadId());
}

TEST_F(PreviewStreamTest, TellsAFailureByteForByteOnce)
{
    listen();
    doubles::script("SELVIK_DCM_StartPreview", {6});
    PELLORA_SetCurWnd(m_lHandle, 8);

    EXPECT_TRUE(delivers(
        2, [this] { PELLORA_PreviewStream(m_lHandle, previewParam(19, 5)); }, 8));

    settle();
    ASSERT_EQ(s_told.size(), 1U);
    EXPECT_EQ(s_told[0].bytes, statusBytes(19, 5, 0, 8));
    EXPECT_EQ(s_told[0].threadId, GetCurrentThreadId());
}

TEST_F(PreviewStreamTest, NeverTellsAFailureFromInsideTheCall)
{
    listen();
    doubles::script("SELVIK_DCM_StartPreview", {}, 6);

    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(3), nullptr), 1);
    EXPECT_THAT(told(), IsEmpty());

    settle();
    EXPECT_THAT(told(), ElementsAre("0 7/1 0", "1 7/2 0", "2 7/3 0"));
}

TEST_F(PreviewStreamTest, TellsTheOutcomesOfTwoStartsInTheirOrder)
{
    listen();
    doubles::script("SELVIK_DCM_StartPreview", {6});
    doubles::whenStarted([](long lPreview) { doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"); });

    // No message is looked at in between.
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(1), nullptr), 1);
    startDirect();

    settle();
    EXPECT_THAT(told(), ElementsAre("0 7/1 0", "0 7/2 1"));
}

TEST_F(PreviewStreamTest, TellsTheOutcomeOfEachPaneOfABatch)
{
    listen();
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(3), nullptr), 1);
    const std::vector<long> previews = doubles::openPreviews();

    sendHeader(previews[2]);
    sendHeader(previews[0]);

    EXPECT_THAT(told(), ElementsAre("2 7/3 1", "0 7/1 1"));
}

TEST_F(PreviewStreamTest, TellsNothingWhenThePreviewIsStopped)
{
    listen();
    startPlaying();

    PELLORA_StopPreviewStream(m_lHandle);
    ASSERT_TRUE(until([] { return doubles::openPreviews().empty(); }));
    settle();

    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PreviewStreamTest, TellsTheStateAtALeftClick)
{
    listen();
    const long lPreview = startIn(3);
    click(pane(3), Qt::LeftButton);
    sendHeader(lPreview);
    s_told.clear();

    click(pane(3), Qt::LeftButton);
    click(pane(5), Qt::LeftButton);
    click(pane(3), Qt::RightButton);

    ASSERT_EQ(s_told.size(), 2U);
    EXPECT_EQ(s_told[0].bytes, statusBytes(7, 2, 1, 3));
    EXPECT_EQ(s_told[1].bytes, statusBytes(-1, 0, 0, 5));
}

TEST_F(PreviewStreamTest, TellsAtAClickThatThePortIsNotOpenYet)
{
    listen();
    startIn(3);

    click(pane(3), Qt::LeftButton);

    EXPECT_THAT(told(), ElementsAre("3 7/2 0"));
}

TEST_F(PreviewStreamTest, TellsNothingWithoutACallback)
{
    listen();
    EXPECT_EQ(PELLORA_SetPreviewStatusCallback(m_lHandle, nullptr), 1);

    const long lPreview = start();
    sendHeader(lPreview);
    click(pane(), Qt::LeftButton);

    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PreviewStreamTest, TellsNothingToAHostThatHasDestroyedTheWindow)
{
    listen();
    const long lPreview = start();
    doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header");

    PELLORA_DestroyWindow(m_lHandle);
    settle();

    EXPECT_THAT(told(), IsEmpty());
}

// ---- the overlay ----

TEST_F(PreviewStreamTest, DropsTheRulesWhenThePreviewIsStopped)
{
    startPlaying(1);
    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 1, 255, 0, 0, nullptr, 0, -1), 0);
    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 1, 255, 0, 0, nullptr, 0, -1), 1);

    PELLORA_StopPreviewStream(m_lHandle);

    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 1, 255, 0, 0, nullptr, 0, -1), 0);
}

TEST_F(PreviewStreamTest, KeepsTheRulesThroughAReconnection)
{
    const long lPreview = startPlaying(1);
    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 1, 255, 0, 0, nullptr, 0, -1), 0);

    sendHeader(lPreview);

    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 1, 255, 0, 0, nullptr, 0, -1), 1);
}

} // namespace
