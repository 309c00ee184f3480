// The library before its start, over its end, and after it: one process, hence in this order.

#include "interface/tests/PelloraFixture.h"

#include <QApplication>
#include <QThread>

#include <filesystem>
#include <fstream>
#include <iterator>
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

TEST_F(BeforeInitTest, MakesNoWindowWithoutAnApplicationObject)
{
    support::HostWindow host;
    const LONG_PTR own = GetWindowLongPtrW(host.handle(), GWLP_WNDPROC);

    EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 0), -1);

    EXPECT_EQ(GetWindowLongPtrW(host.handle(), GWLP_WNDPROC), own);
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
        EXPECT_THAT(videoWindows(), IsEmpty());
        EXPECT_THAT(doubles::openPorts(), IsEmpty());
    }
};

TEST_F(LifecycleTest, MakesTheApplicationObjectOnTheCallingThread)
{
    ASSERT_NE(qApp, nullptr);
    EXPECT_EQ(qApp->thread(), QThread::currentThread());
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

/** The installation's own log, beside the library that writes it. */
std::string installedLog()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleW(L"Corvane.dll"), path, MAX_PATH);
    std::ifstream file(std::filesystem::path(path).replace_filename(L"addon.log"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST_F(LifecycleTest, BeginsWithItsBannerInTheInstallationsLog)
{
    PELLORA_Fini();
    const std::size_t nBefore = installedLog().size();

    PELLORA_Init();

    const std::string log = installedLog();
    const std::string added = log.size() > nBefore ? log.substr(nBefore) : log;
    const std::regex banner("==================Pellora Begin==================[^]*"
                            "CorvaneMgr: [0-9A-F]{16}[^]*CLog: [0-9A-F]{16}");
    EXPECT_TRUE(std::regex_search(added, banner)) << added;
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

    EXPECT_THAT(videoWindows(), IsEmpty());
    EXPECT_EQ(GetWindowLongPtrW(host.handle(), GWLP_WNDPROC), own);
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
