// The preview of one pane, event by event: the rows of the table in its header.
#include "preview/PanePreview.h"
#include "preview/RetiredPreviews.h"
#include "preview/tests/DeviceDouble.h"
#include "preview/tests/TestStart.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

using namespace pellora;

namespace
{

using Texts = std::vector<std::string>;

/** A pool that carries out nothing by itself. */
class HeldWorkers final : public PreviewWorkers
{
public:
    void queueStart(PreviewStart &start) override
    {
        if (bNoMemory) {
            throw std::bad_alloc();
        }
        start.setQueued(bPool);
        if (bPool) {
            queued = dynamic_cast<TestStart *>(&start);
        }
    }
    void queueStop(long lPreviewHandel) override
    {
        stops.push_back(lPreviewHandel);
    }

    bool bPool = true;
    bool bNoMemory = false;
    TestStart *queued = nullptr;
    std::vector<long> stops;
};

/** A port that writes down what it is given. */
class TextPort : public LivePort
{
public:
    bool openLive(unsigned char *, unsigned long, bool bAgain) override
    {
        calls.emplace_back(bAgain ? "open again" : "open");
        return bOpens;
    }
    void feedLive(unsigned char *, unsigned long) override
    {
        calls.emplace_back("feed");
    }

    Texts calls;
    bool bOpens = true;
};

/** What the first state is brought about by, and what is looked at afterwards. */
class PanePreviewTest : public testing::Test, private PanePreview::Pane
{
protected:
    void SetUp() override
    {
        devicedouble::reset();
    }

    void TearDown() override
    {
        m_preview.abandonStart();
        comeBack();
        EXPECT_EQ(TestStart::s_nLive, 0);
        devicedouble::reset();
        for (const long lHandle : {100L, 200L, -7L}) {
            RetiredPreviews::instance().forget(lHandle);
        }
    }

    static PreviewParam param(long lUserID = 7, bool bOpenDraw = false)
    {
        PreviewParam result;
        result.userID = lUserID;
        result.lChannel = 2;
        result.streamType = 1;
        result.openDraw = bOpenDraw ? 1 : 0;
        return result;
    }

    void toStarting()
    {
        ASSERT_TRUE(m_preview.start(param()));
    }
    void toStopping()
    {
        toStarting();
        m_preview.stop();
    }
    void toLive(long lHandle = 100)
    {
        devicedouble::answerStarts({lHandle});
        m_preview.startHere(param());
    }
    void toOvertaken()
    {
        toStarting();
        toLive();
    }
    /** What has happened up to here is not looked at. */
    void forget()
    {
        static_cast<void>(devicedouble::newCalls());
        m_notices.clear();
        m_pictureEnds = 0;
        m_workers.stops.clear();
        m_port.calls.clear();
    }

    /** The start that is queued is carried out, and answers this. */
    void comeBack(long lHandle = 200)
    {
        if (m_workers.queued != nullptr) {
            devicedouble::answerStarts({lHandle});
            TestStart *const pStart = m_workers.queued;
            m_workers.queued = nullptr;
            pStart->run();
        }
    }

    /** The outcomes that the host is told, after everything that is queued has been delivered. */
    Texts told()
    {
        Texts texts;
        for (const PreviewNotice &notice : m_notices) {
            if (!m_preview.accept(notice)) {
                continue;
            }
            const PreviewStatus status = m_preview.outcome(notice, 3);
            switch (notice.kind) {
            case PreviewNotice::Kind::Header:
                texts.emplace_back("header");
                break;
            case PreviewNotice::Kind::Overlay:
                texts.emplace_back("overlay");
                break;
            default:
                texts.push_back(std::to_string(status.userID) + (status.byPlaying != 0 ? " plays" : " failed"));
            }
        }
        m_notices.clear();
        return texts;
    }

    void header(long lHandle)
    {
        devicedouble::send(lHandle, SELVIK_STREAM_HEADER, this);
    }
    void data(long lHandle)
    {
        devicedouble::send(lHandle, SELVIK_STREAM_DATA, this);
    }

    HeldWorkers m_workers;
    TextPort m_port;
    std::vector<PreviewNotice> m_notices;
    int m_pictureEnds = 0;
    int m_startsBack = 0;
    PanePreview m_preview{*this, m_port, m_workers, this};

private:
    void endPicture() override
    {
        ++m_pictureEnds;
    }
    PreviewStart::Owned makeStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request) override
    {
        return PreviewStart::Owned(new TestStart(lUserID, request, [this] { ++m_startsBack; }));
    }
    void notify(const PreviewNotice &notice) override
    {
        m_notices.push_back(notice);
    }
};

// ---- idle ----

TEST_F(PanePreviewTest, IdleAStartIsQueuedAndWaits)
{
    EXPECT_TRUE(m_preview.start(param()));

    EXPECT_EQ(m_pictureEnds, 1);
    EXPECT_TRUE(devicedouble::newCalls().empty());
    EXPECT_TRUE(m_preview.isWanted());
    EXPECT_EQ(m_preview.status(false, 3).userID, 7);
}

TEST_F(PanePreviewTest, IdleADirectStartMakesItLive)
{
    devicedouble::answerStarts({100});

    EXPECT_TRUE(m_preview.startHere(param()));

    EXPECT_EQ(devicedouble::newCalls(), Texts{"start 7"});
    EXPECT_TRUE(m_preview.isWanted());
    m_preview.stop();
    EXPECT_EQ(m_workers.stops, std::vector<long>{100});
}

TEST_F(PanePreviewTest, IdleADirectStartThatFailsIsToldByANotice)
{
    devicedouble::answerStarts({-1});

    EXPECT_FALSE(m_preview.startHere(param()));

    EXPECT_EQ(told(), Texts{"7 failed"});
    EXPECT_FALSE(m_preview.isWanted());
    EXPECT_EQ(m_preview.status(false, 3).userID, 7);
}

TEST_F(PanePreviewTest, IdleStopsAskNothingOfTheDevice)
{
    m_preview.stop();
    EXPECT_TRUE(m_preview.stopHere());

    EXPECT_EQ(m_pictureEnds, 2);
    EXPECT_TRUE(devicedouble::newCalls().empty());
    EXPECT_TRUE(m_workers.stops.empty());
}

TEST_F(PanePreviewTest, IdleAStartThatThePoolHasNoMemoryForIsDropped)
{
    m_workers.bNoMemory = true;
    EXPECT_THROW(m_preview.start(param()), std::bad_alloc);

    EXPECT_EQ(TestStart::s_nLive, 0);
    EXPECT_FALSE(m_preview.isWanted());
    m_workers.bNoMemory = false;
    EXPECT_TRUE(m_preview.start(param()));
}

// ---- starting ----

TEST_F(PanePreviewTest, StartingAnotherStartIsRefusedAndChangesNothing)
{
    toStarting();
    forget();

    EXPECT_FALSE(m_preview.start(param(9)));

    EXPECT_EQ(m_pictureEnds, 0);
    EXPECT_EQ(m_preview.status(false, 3).userID, 7);
    comeBack(200);
    EXPECT_FALSE(m_preview.startCameBack());
    header(200);
    EXPECT_EQ(told(), (Texts{"header", "7 plays"}));
}

TEST_F(PanePreviewTest, StartingItsResultMakesItLive)
{
    toStarting();
    comeBack(200);
    EXPECT_EQ(m_startsBack, 1);

    EXPECT_FALSE(m_preview.startCameBack());

    EXPECT_EQ(TestStart::s_nLive, 0);
    m_preview.stop();
    EXPECT_EQ(m_workers.stops, std::vector<long>{200});
}

TEST_F(PanePreviewTest, StartingALookBeforeTheResultChangesNothing)
{
    toStarting();

    EXPECT_FALSE(m_preview.startCameBack());

    EXPECT_EQ(TestStart::s_nLive, 1);
}

TEST_F(PanePreviewTest, StartingAFailureIsTold)
{
    toStarting();
    comeBack(-1);
    m_preview.startCameBack();

    EXPECT_EQ(told(), Texts{"7 failed"});
    EXPECT_FALSE(m_preview.isWanted());
}

TEST_F(PanePreviewTest, StartingAFailureWithAnotherNumberIsToldAndStopped)
{
    toStarting();
    comeBack(-7);
    m_preview.startCameBack();

    EXPECT_EQ(told(), Texts{"7 failed"});
    m_preview.stop();
    EXPECT_EQ(m_workers.stops, std::vector<long>{-7});
}

TEST_F(PanePreviewTest, StartingAStopWaitsForTheResult)
{
    toStarting();
    forget();

    m_preview.stop();

    EXPECT_TRUE(m_workers.stops.empty());
    EXPECT_FALSE(m_preview.isWanted());
    EXPECT_FALSE(m_preview.start(param()));
}

TEST_F(PanePreviewTest, StartingADirectStartOvertakesIt)
{
    toStarting();
    devicedouble::answerStarts({100});

    EXPECT_TRUE(m_preview.startHere(param(8)));

    comeBack(200);
    EXPECT_FALSE(m_preview.startCameBack());
    EXPECT_EQ(m_workers.stops, std::vector<long>{200});
    header(100);
    EXPECT_EQ(told(), (Texts{"header", "8 plays"}));
}

TEST_F(PanePreviewTest, StartingWithoutAPoolWaitsForTheNextStop)
{
    m_workers.bPool = false;
    toStarting();
    EXPECT_FALSE(m_preview.start(param()));

    m_preview.stop();

    EXPECT_EQ(TestStart::s_nLive, 0);
    EXPECT_TRUE(m_preview.start(param()));
    m_preview.stop();
}

// ---- stopping ----

TEST_F(PanePreviewTest, StoppingTheResultIsStoppedAndNothingTold)
{
    toStopping();
    forget();
    comeBack(200);

    EXPECT_TRUE(m_preview.startCameBack());

    EXPECT_EQ(m_workers.stops, std::vector<long>{200});
    EXPECT_TRUE(told().empty());
    EXPECT_TRUE(m_preview.start(param()));
}

TEST_F(PanePreviewTest, StoppingAFailureHasNothingToStop)
{
    toStopping();
    forget();
    comeBack(-1);

    EXPECT_TRUE(m_preview.startCameBack());

    EXPECT_TRUE(m_workers.stops.empty());
    EXPECT_TRUE(told().empty());
}

TEST_F(PanePreviewTest, StoppingADirectStopChangesNothing)
{
    toStopping();
    forget();

    EXPECT_TRUE(m_preview.stopHere());

    EXPECT_TRUE(devicedouble::newCalls().empty());
    comeBack(200);
    EXPECT_TRUE(m_preview.startCameBack());
    EXPECT_EQ(m_workers.stops, std::vector<long>{200});
}

// ---- live ----

TEST_F(PanePreviewTest, LiveAStartStopsThePreviewThroughThePool)
{
    toLive(100);
    forget();

    EXPECT_TRUE(m_preview.start(param(9)));

    EXPECT_EQ(m_workers.stops, std::vector<long>{100});
    // What it still sends is nobody's, although the new start's handle is not known.
    header(100);
    EXPECT_TRUE(m_port.calls.empty());
}

TEST_F(PanePreviewTest, LiveADirectStartStopsThePreviewFirst)
{
    toLive(100);
    forget();

    m_preview.startHere(param(9));

    EXPECT_EQ(devicedouble::newCalls(), (Texts{"stop 100", "start 9"}));
}

TEST_F(PanePreviewTest, LiveADirectStopThatIsRefusedIsTriedAgain)
{
    toLive(100);
    devicedouble::refuseStops(1);
    forget();

    EXPECT_FALSE(m_preview.stopHere());
    EXPECT_EQ(m_preview.status(false, 3).userID, 7);
    EXPECT_TRUE(RetiredPreviews::instance().contains(100));
    EXPECT_TRUE(m_preview.stopHere());

    EXPECT_EQ(devicedouble::newCalls(), (Texts{"stop 100", "stop 100"}));
    EXPECT_FALSE(RetiredPreviews::instance().contains(100));
    EXPECT_EQ(m_preview.status(false, 3).userID, -1);
}

TEST_F(PanePreviewTest, LiveThePictureEndsBeforeTheDeviceIsStopped)
{
    toLive(100);
    header(100);
    forget();

    EXPECT_TRUE(m_preview.stopHere());

    EXPECT_EQ(m_pictureEnds, 1);
    header(100);
    data(100);
    EXPECT_TRUE(m_port.calls.empty());
}

// ---- overtaken ----

TEST_F(PanePreviewTest, OvertakenAStopLeavesTheStartToBeStopped)
{
    toOvertaken();
    forget();

    m_preview.stop();

    EXPECT_EQ(m_workers.stops, std::vector<long>{100});
    comeBack(200);
    EXPECT_TRUE(m_preview.startCameBack());
    EXPECT_EQ(m_workers.stops, (std::vector<long>{100, 200}));
}

TEST_F(PanePreviewTest, OvertakenAStartIsRefused)
{
    toOvertaken();

    EXPECT_FALSE(m_preview.start(param()));
}

// ---- the stream ----

TEST_F(PanePreviewTest, OpensThePortWithTheFirstHeaderAndAgainWithLaterOnes)
{
    toLive(100);

    data(100);
    header(100);
    data(100);
    header(100);

    EXPECT_EQ(m_port.calls, (Texts{"feed", "open", "feed", "open again"}));
    EXPECT_EQ(told(), (Texts{"header", "7 plays", "header"}));
}

TEST_F(PanePreviewTest, TellsOnceThatTheHeaderCouldNotOpenThePort)
{
    toLive(100);
    m_port.bOpens = false;

    header(100);
    header(100);

    EXPECT_EQ(told(), (Texts{"header", "7 failed", "header"}));
}

TEST_F(PanePreviewTest, AsksForTheOverlayOnceUnlessTheWishWasForgotten)
{
    devicedouble::answerStarts({100, 101});
    m_preview.startHere(param(7, true));
    header(100);
    header(100);
    EXPECT_EQ(told(), (Texts{"header", "overlay", "7 plays", "header"}));

    m_preview.startHere(param(7, true));
    m_preview.forgetOverlay();
    header(101);

    EXPECT_EQ(told(), (Texts{"header", "7 plays"}));
}

TEST_F(PanePreviewTest, NoticesOfAnEarlierGenerationHaveNoEffect)
{
    toLive(100);
    header(100);

    m_preview.stop();

    EXPECT_TRUE(told().empty());
}

TEST_F(PanePreviewTest, TellsAFailureThatTheNextStartOvertakesButNoneAfterAStop)
{
    devicedouble::answerStarts({-1, -1});
    m_preview.startHere(param(7));
    m_preview.startHere(param(8));
    EXPECT_EQ(told(), (Texts{"7 failed", "8 failed"}));

    devicedouble::answerStarts({-1});
    m_preview.startHere(param(9));
    m_preview.stop();
    EXPECT_TRUE(told().empty());
}

// ---- the pane goes ----

TEST_F(PanePreviewTest, AStartThatWasAbandonedBeforeIsNotMade)
{
    toStarting();

    m_preview.abandonStart();
    comeBack(200);

    EXPECT_TRUE(devicedouble::newCalls().empty());
    EXPECT_EQ(TestStart::s_nLive, 0);
}

TEST_F(PanePreviewTest, AnAbandonedStartIsStoppedByWhoCarriesItOut)
{
    toStarting();
    devicedouble::whenStarting([this] { m_preview.abandonStart(); });

    comeBack(200);

    EXPECT_EQ(devicedouble::newCalls(), (Texts{"start 7", "stop 200"}));
    EXPECT_EQ(TestStart::s_nLive, 0);
    EXPECT_EQ(m_startsBack, 0);
}

TEST_F(PanePreviewTest, AnAbandonedStartThatTheDeviceWillNotStopIsNobodysForEver)
{
    toStarting();
    devicedouble::whenStarting([this] { m_preview.abandonStart(); });
    devicedouble::refuseStops(1);
    comeBack(200);

    // A start of the next pane at the same address, whose handle is not known yet.
    ASSERT_TRUE(m_preview.start(param()));
    header(200);

    EXPECT_TRUE(m_port.calls.empty());
    header(201);
    EXPECT_EQ(m_port.calls, Texts{"open"});
}

TEST_F(PanePreviewTest, AResultThatNobodyHasTakenIsStoppedWithThePane)
{
    toStarting();
    comeBack(200);
    forget();

    m_preview.abandonStart();

    EXPECT_EQ(devicedouble::newCalls(), Texts{"stop 200"});
}

TEST_F(PanePreviewTest, AStartWhosePoolHasEndedIsAFailure)
{
    toStarting();
    TestStart *const pStart = m_workers.queued;
    m_workers.queued = nullptr;

    pStart->settle();
    m_preview.startCameBack();

    EXPECT_EQ(told(), Texts{"7 failed"});
    EXPECT_TRUE(devicedouble::newCalls().empty());
}

} // namespace
