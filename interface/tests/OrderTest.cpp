// Every function before the start, after the end, after its window, on the wrong thread: one process, hence in this
// order.

#include "interface/tests/EveryExport.h"
#include "interface/tests/PreviewFixture.h"
#include "tests/support/ExportNames.h"
#include "tests/support/LiveObjects.h"

#include <QCoreApplication>

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace
{

std::string nameOf(const testing::TestParamInfo<ExportCall> &parameter)
{
    return parameter.param.name;
}

/** Calls each function of a window and looks at its answer. */
void expectRefusals(const CallTarget &target)
{
    for (const ExportCall &call : everyExport()) {
        if (call.bTakesHandle) {
            EXPECT_EQ(call.run(target), call.lRefused) << call.name;
        }
    }
}

TEST(EveryExportTest, IsCalledInTheTestsOfOrder)
{
    std::set<std::string> names;
    for (const ExportCall &call : everyExport()) {
        names.insert(std::string("PELLORA_") + call.name);
    }
    EXPECT_EQ(names, support::definitionFileNames("interface/Pellora.def"));
    EXPECT_THAT(everyExport(), SizeIs(54));
}

// ---- before the start ----

TEST(BeforeTheStartTest, EveryFunctionAnswersByWhatItFinds)
{
    doubles::reset();
    doubles::PlayerOutputs outputs;
    outputs.fileTime = 3600;
    doubles::setPlayerOutputs(outputs);
    support::HostWindow host;
    const CallTarget target{host.handle(), 0};

    expectRefusals(target);
    EXPECT_THAT(doubles::callTexts(), IsEmpty());
    EXPECT_EQ(exportNamed("CreateWindow").run(target), -1);
    EXPECT_EQ(exportNamed("DestroyWindow").run(target), 1);
    EXPECT_EQ(exportNamed("GetFileTimeNoPriview").run(target), 3600);
    EXPECT_EQ(exportNamed("Fini").run(target), 1);
    // A window without Qt.
    EXPECT_EQ(exportNamed("CreateWindow2").run(target), 1);
    EXPECT_THAT(support::childrenOf(host.handle()), SizeIs(1));

    EXPECT_EQ(QCoreApplication::instance(), nullptr);
}

// ---- begun and ended more than once ----

class SequenceTest : public testing::TestWithParam<const char *>
{
};

TEST_P(SequenceTest, LeavesALibraryThatWorks)
{
    doubles::reset();
    for (const char *pStep = GetParam(); *pStep != '\0'; ++pStep) {
        EXPECT_EQ(*pStep == 'I' ? PELLORA_Init() : PELLORA_Fini(), 1) << pStep;
    }
    support::HostWindow host;
    const CallTarget target{host.handle(), PELLORA_CreateWindow(host.handle(), 2)};
    EXPECT_EQ(target.lHandle, 0);
    setScene(target);
    EXPECT_EQ(PELLORA_Play(0), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    EXPECT_EQ(PELLORA_Fini(), 1);

    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

// A library that was begun once can be used after its end, too: there is an application object.
INSTANTIATE_TEST_SUITE_P(Host, SequenceTest,
                         testing::Values("I", "II", "FI", "FFI", "IIF", "IFF", "IFIF", "IFI", "IIFFI", "IFFIIFFI"));

// ---- with windows ----

/** Windows of a library that has begun, which each test may end and begin. */
class OrderTest : public PreviewFixture
{
protected:
    void SetUp() override
    {
        PreviewFixture::SetUp();
        m_target = {m_pHost->handle(), m_lHandle};
        setScene(m_target);
    }

    void TearDown() override
    {
        if (m_bEnded) {
            PELLORA_Init();
            support::stopLogger();
            support::startLogger();
        }
        PreviewFixture::TearDown();
    }

    void end()
    {
        m_bEnded = true;
        EXPECT_EQ(PELLORA_Fini(), 1);
    }

    CallTarget m_target;

private:
    bool m_bEnded = false;
};

class AfterTheEndTest : public OrderTest, public testing::WithParamInterface<ExportCall>
{
};

TEST_P(AfterTheEndTest, AnswersAboutAWindowThatIsStillOpen)
{
    end();

    EXPECT_EQ(GetParam().run(m_target), GetParam().lPlaying);

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
}

INSTANTIATE_TEST_SUITE_P(Host, AfterTheEndTest, testing::ValuesIn(everyExport()), &nameOf);

TEST_F(OrderTest, AnswersAfterTheEndByWhatItFinds)
{
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    doubles::clearCalls();
    end();

    expectRefusals(m_target);
    EXPECT_THAT(doubles::callTexts(), IsEmpty());
    EXPECT_EQ(exportNamed("DestroyWindow").run(m_target), 1);
    EXPECT_EQ(exportNamed("GetFileTimeNoPriview").run(m_target), 3600);
    EXPECT_EQ(exportNamed("CreateWindow").run(m_target), 0);
    EXPECT_EQ(exportNamed("CreateWindow2").run(m_target), 1);
    EXPECT_EQ(exportNamed("Fini").run(m_target), 1);
}

TEST_F(OrderTest, PlaysOnInNineWindowsThatAreOpenAtTheEnd)
{
    startIn(1);
    for (long lHandle = 1; lHandle < 9; ++lHandle) {
        EXPECT_EQ(createWindow(), lHandle);
        playFile(lHandle);
    }
    EXPECT_THAT(doubles::openPorts(), SizeIs(9));

    end();

    EXPECT_THAT(doubles::openPorts(), SizeIs(9));
    EXPECT_THAT(doubles::openPreviews(), SizeIs(1));
    EXPECT_THAT(videoWindows(), SizeIs(9));
    for (long lHandle = 1; lHandle < 9; ++lHandle) {
        EXPECT_EQ(PELLORA_Pause(lHandle), 1);
    }
    PELLORA_Init();
    EXPECT_EQ(createWindow(), -1);
    for (long lHandle = 0; lHandle < 9; ++lHandle) {
        EXPECT_EQ(PELLORA_SplitScreen(lHandle, 9), 1);
        EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);
    }
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    // The tenth was shown without a handle, and goes with its host.
    EXPECT_TRUE(until([] { return videoWindows().size() == 1; }));
}

TEST_F(OrderTest, RefusesEverythingAboutADestroyedWindow)
{
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    doubles::clearCalls();

    expectRefusals(m_target);
    support::pumpPosted();
    expectRefusals(m_target);

    EXPECT_THAT(doubles::callTexts(), IsEmpty());
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
}

TEST_F(OrderTest, LeavesTheNextWindowWithTheSameHandleAlone)
{
    start();
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    EXPECT_EQ(createWindow(), m_lHandle);
    setScene(m_target);
    const std::vector<long> ports = doubles::openPorts();

    support::pumpPosted();

    EXPECT_EQ(doubles::openPorts(), ports);
    EXPECT_EQ(PELLORA_Play(m_lHandle), 1);
    EXPECT_EQ(PELLORA_GetPlayPos(m_lHandle), 17UL);
}

// ---- on other threads ----

class WrongThreadTest : public OrderTest, public testing::WithParamInterface<ExportCall>
{
};

TEST_P(WrongThreadTest, ChangesNothing)
{
    m_log.clear();
    long lAnswer = 7;

    std::thread([&] { lAnswer = GetParam().run(m_target); }).join();

    EXPECT_EQ(lAnswer, GetParam().lRefused);
    EXPECT_THAT(doubles::callTexts(), IsEmpty());
    EXPECT_THAT(m_log.texts(), Contains(StartsWith("ERROR called on thread")));
    EXPECT_THAT(videoWindows(), SizeIs(1));
    EXPECT_TRUE(videoWindows().front()->isVisible());
}

INSTANTIATE_TEST_SUITE_P(Host, WrongThreadTest, testing::ValuesIn(everyExport()), &nameOf);

TEST_F(OrderTest, GoesOnWhileOtherThreadsCallWhatTheyMustNot)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 25;
    std::atomic<int> nRunning{kThreads};
    std::atomic<int> nTaken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int nRound = 0; nRound < kRounds; ++nRound) {
                for (const ExportCall &call : everyExport()) {
                    nTaken += call.run(m_target) == call.lRefused ? 0 : 1;
                }
            }
            --nRunning;
        });
    }
    const DWORD dwOwn = GetCurrentThreadId();
    // At least once, and as long as they go on.
    do {
        EXPECT_EQ(PELLORA_Pause(m_lHandle), 1);
        EXPECT_EQ(PELLORA_Restore(m_lHandle), 1);
        support::pumpPosted();
    } while (nRunning > 0);
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(nTaken, 0);
    for (const doubles::Call &call : doubles::calls()) {
        EXPECT_EQ(call.threadId, dwOwn) << call.text;
    }
}

// ---- again and again ----

TEST_F(OrderTest, KeepsNothingOfAWindowThatEveryFunctionWasCalledOn)
{
    const auto round = [this] {
        EXPECT_EQ(createWindow(), 1);
        const CallTarget target{m_pHost->handle(), 1};
        setScene(target);
        for (const ExportCall &call : everyExport()) {
            if (call.bTakesHandle) {
                call.run(target);
            }
        }
        EXPECT_EQ(PELLORA_DestroyWindow(1), 1);
        EXPECT_TRUE(until([] {
            return videoWindows().size() == 1 && doubles::openPreviews().empty() && doubles::runningStreams() == 0;
        }));
    };
    static_cast<void>(support::liveObjects());
    round();
    const int nObjects = support::liveObjects();
    const std::size_t nWindows = support::childrenOf(m_pHost->handle()).size();
    const std::size_t nPorts = doubles::openPorts().size();

    for (int i = 0; i < 5; ++i) {
        round();
    }

    EXPECT_TRUE(until([nObjects] { return support::liveObjects() <= nObjects; })) << support::liveObjects();
    EXPECT_EQ(support::childrenOf(m_pHost->handle()).size(), nWindows);
    EXPECT_EQ(doubles::openPorts().size(), nPorts);
}

} // namespace
