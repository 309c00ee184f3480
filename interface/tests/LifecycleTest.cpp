// The library before its start, over its end, and after it: one process, hence in this order.

#include "base/tests/CapturedStderr.h"
#include "base/tests/TemporaryFolder.h"
#include "interface/tests/InstalledLog.h"
#include "interface/tests/PelloraFixture.h"

#include <QApplication>
#include <QThread>
#include <private/qabstractfileengine_p.h>

#include <regex>
#include <thread>

using testing::Contains;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

/** No PELLORA_Init of its own. */
class BeforeInitTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(QCoreApplication::instance(), nullptr);
        doubles::reset();
    }
};

TEST_F(BeforeInitTest, EndsWithoutMakingARegistry)
{
    support::startLogger();
    support::LogCapture log;

    EXPECT_EQ(PELLORA_Fini(), 1);

    EXPECT_THAT(log.texts(), Contains(testing::HasSubstr("Pellora End")));
    EXPECT_THAT(log.texts(), testing::Not(Contains(testing::HasSubstr("VideoWindowMgr"))));
}

TEST_F(BeforeInitTest, AnswersWithoutWindows)
{
    EXPECT_EQ(PELLORA_Play(0), 0);
    EXPECT_EQ(PELLORA_SetVisible(0, 1), 0);
    EXPECT_EQ(PELLORA_SetGeometry(0, 0, 0, 10, 10), 0);
    EXPECT_EQ(PELLORA_DestroyWindow(3), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(9), 0);
    EXPECT_EQ(PELLORA_DestroyWindow(-1), 0);
    EXPECT_EQ(PELLORA_GetVolume(0), 0);
    EXPECT_THAT(doubles::callTexts(), IsEmpty());
}

// The first one that makes a window, since each text comes once in a process.
TEST_F(BeforeInitTest, WarnsOnStandardErrorWhileThereIsNoLogAndThereOnce)
{
    const TemporaryFolder folder(L"pellora before");
    support::HostWindow host;
    {
        const CapturedStderr captured(folder.path(L"stderr.txt"));
        for (int i = 0; i < 3; ++i) {
            PELLORA_CreateWindow(host.handle(), 0);
            PELLORA_Pause(4);
        }
    }
    EXPECT_EQ(folder.read(L"stderr.txt"),
              "Pellora: PELLORA_CreateWindow: there is no application object, PELLORA_Init has to be called first\n"
              "Pellora: PELLORA_Pause: there is no window 4\n");
}

TEST_F(BeforeInitTest, MakesNoWindowWithoutAnApplicationObject)
{
    support::HostWindow host;
    const LONG_PTR own = GetWindowLongPtrW(host.handle(), GWLP_WNDPROC);

    EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 0), -1);

    EXPECT_EQ(GetWindowLongPtrW(host.handle(), GWLP_WNDPROC), own);
}

TEST_F(BeforeInitTest, WarnsThatInitComesBeforeTheFirstWindow)
{
    support::HostWindow host;
    support::startLogger();
    support::LogCapture log;

    EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 0), -1);

    support::stopLogger();
    EXPECT_THAT(log.texts(), Contains("WARN PELLORA_CreateWindow: there is no application object, PELLORA_Init has to "
                                      "be called first"));
}

TEST_F(BeforeInitTest, MeasuresAFile)
{
    doubles::PlayerOutputs outputs;
    outputs.fileTime = 61;
    doubles::setPlayerOutputs(outputs);
    std::string path = "a.mkv";

    EXPECT_EQ(PELLORA_GetFileTimeNoPriview(path.data()), 61UL);
}

TEST_F(BeforeInitTest, EndsWithoutHavingBegun)
{
    EXPECT_EQ(PELLORA_Fini(), 1);
}

class LifecycleTest : public testing::Test
{
protected:
    void SetUp() override
    {
        doubles::reset();
        EXPECT_EQ(PELLORA_Init(), 1);
        support::stopLogger();
        support::startLogger();
    }

    void TearDown() override
    {
        for (long lHandle = 0; lHandle < 9; ++lHandle) {
            PELLORA_DestroyWindow(lHandle);
        }
        PELLORA_Fini();
        EXPECT_THAT(doubles::openPorts(), IsEmpty());
        EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
    }
};

TEST_F(LifecycleTest, MakesTheApplicationObjectOnTheCallingThread)
{
    ASSERT_NE(qApp, nullptr);
    EXPECT_EQ(qApp->thread(), QThread::currentThread());
    EXPECT_FALSE(qApp->styleSheet().isEmpty());
}

/** While it lives, the style sheet's file cannot be opened, or it is empty. */
class OtherStyleSheet : public QAbstractFileEngineHandler
{
public:
    explicit OtherStyleSheet(bool bOpens) : m_bOpens(bOpens) {}

    QAbstractFileEngine *create(const QString &name) const override
    {
        return name == ":/Qss/Qss/Pellora.qss" ? new File(m_bOpens) : nullptr;
    }

private:
    class File : public QAbstractFileEngine
    {
    public:
        explicit File(bool bOpens) : m_bOpens(bOpens) {}
        bool open(QIODevice::OpenMode) override
        {
            return m_bOpens;
        }
        bool close() override
        {
            return true;
        }

    private:
        const bool m_bOpens;
    };

    const bool m_bOpens;
};

TEST_F(LifecycleTest, BeginsWithoutAStyleWhereItsStyleSheetCannotBeRead)
{
    for (const bool bOpens : {false, true}) {
        PELLORA_Fini();
        qApp->setStyleSheet("QFrame { margin: 1px }");
        int nBegun = 0;

        const std::string added = addedToInstalledLog([&] {
            const OtherStyleSheet styleSheet(bOpens);
            nBegun = PELLORA_Init();
        });

        EXPECT_EQ(nBegun, 1);
        EXPECT_EQ(qApp->styleSheet(), "") << bOpens;
        // Nobody is told.
        EXPECT_THAT(added, testing::HasSubstr("Pellora Begin"));
        EXPECT_THAT(added, testing::Not(testing::AnyOf(testing::HasSubstr("WARN"), testing::HasSubstr("ERROR"))));
        support::HostWindow host;
        EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 2), 0);
        EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    }
    // It is looked for again each time.
    PELLORA_Fini();
    EXPECT_EQ(PELLORA_Init(), 1);
    EXPECT_FALSE(qApp->styleSheet().isEmpty());
}

TEST_F(LifecycleTest, ChangesNoCoordinates)
{
    EXPECT_EQ(qApp->devicePixelRatio(), 1.0);
}

TEST_F(LifecycleTest, BeginsTwiceAndEndsTwice)
{
    EXPECT_EQ(PELLORA_Init(), 1);
    EXPECT_EQ(PELLORA_Fini(), 1);
    EXPECT_EQ(PELLORA_Fini(), 1);
}

TEST_F(LifecycleTest, BeginsWithItsBannerInTheInstallationsLog)
{
    PELLORA_Fini();

    const std::string added = addedToInstalledLog([] { PELLORA_Init(); });

    const std::regex banner("^[^\n]*==================Pellora Begin==================[^\n]*\n"
                            "[^\n]*CorvaneMgr: [0-9A-F]{16}[^\n]*\n[^\n]*CLog: [0-9A-F]{16}[^\n]*\n"
                            "[^\n]* INFO  Pellora " PELLORA_VERSION_TEXT " [^\n]*\n");
    EXPECT_TRUE(std::regex_search(added, banner, std::regex_constants::match_continuous)) << added;
}

// docs/compatibility.md: unknown-window-unlogged.
TEST_F(LifecycleTest, TellsAsideOnceThatAHandleNamesNoWindow)
{
    const TemporaryFolder folder(L"pellora unknown");
    PELLORA_Init();
    {
        const CapturedStderr captured(folder.path(L"stderr.txt"));
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(PELLORA_Play(6), 0);
            EXPECT_EQ(PELLORA_DestroyWindow(12), 0);
        }
    }
    PELLORA_Fini();
    EXPECT_EQ(folder.read(L"stderr.txt"), "Pellora: PELLORA_Play: there is no window 6\n"
                                          "Pellora: PELLORA_DestroyWindow: there is no window 12\n");
}

TEST_F(LifecycleTest, SaysThatItEnds)
{
    support::LogCapture log;

    PELLORA_Fini();

    EXPECT_THAT(log.first(),
                IsExportLine("==================Pellora End==================", "int __cdecl PELLORA_Fini(void)"));
}

TEST_F(LifecycleTest, BeginsAndEndsOnNoOtherThread)
{
    int nBegun = 7;
    int nEnded = 7;
    support::LogCapture log;

    std::thread([&] {
        nBegun = PELLORA_Init();
        nEnded = PELLORA_Fini();
    }).join();

    EXPECT_EQ(nBegun, 0);
    EXPECT_EQ(nEnded, 0);
    EXPECT_THAT(log.texts(), Contains(StartsWith("ERROR ")));
}

TEST_F(LifecycleTest, LeavesWindowsToTheHostThatItCanStillDestroy)
{
    support::HostWindow host;
    const LONG_PTR own = GetWindowLongPtrW(host.handle(), GWLP_WNDPROC);
    const long lHandle = PELLORA_CreateWindow(host.handle(), 2);
    PELLORA_Fini();

    EXPECT_EQ(videoWindows().size(), 1U);
    EXPECT_EQ(PELLORA_SetVisible(lHandle, 1), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);

    EXPECT_EQ(GetWindowLongPtrW(host.handle(), GWLP_WNDPROC), own);
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

TEST_F(LifecycleTest, PlaysInAWindowFromBeforeAfterTheNextStart)
{
    support::HostWindow host;
    const long lHandle = PELLORA_CreateWindow(host.handle(), 2);
    PELLORA_Fini();
    PELLORA_Init();
    std::string path = "a.mkv";

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 0, 0), 1);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 9), 1);
    EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 2), 1);
}

} // namespace
