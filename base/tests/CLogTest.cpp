#include "base/CLog.h"

#include "base/tests/CapturedStderr.h"
#include "base/tests/TemporaryFolder.h"
#include "tests/support/ProcessHandles.h"

#include <gtest/gtest.h>

#include <log4cxx/spi/location/locationinfo.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace
{

const std::string kFileAppender = "log4j.rootLogger=INFO, f\n"
                                  "log4j.appender.f=org.apache.log4j.RollingFileAppender\n"
                                  "log4j.appender.f.File=out.log\n"
                                  "log4j.appender.f.MaxFileSize=10KB\n"
                                  "log4j.appender.f.MaxBackupIndex=2\n"
                                  "log4j.appender.f.Encoding=UTF-8\n"
                                  "log4j.appender.f.layout=org.apache.log4j.PatternLayout\n"
                                  "log4j.appender.f.layout.ConversionPattern=%p|%m|%F|%M|%L%n\n";

class CLogTest : public testing::Test
{
protected:
    void TearDown() override
    {
        log().UninitLog();
    }
    static Base::details::CLog &log()
    {
        return *Base::CLog::getInstance();
    }
    static void info(const std::string &message)
    {
        log().Info(message, std::string(), log4cxx::spi::LocationInfo("Pellora", "Pellora", "int f(void)", 42));
    }
    static void error(const std::string &message)
    {
        log().Error(message, std::string(), log4cxx::spi::LocationInfo("Pellora", "Pellora", "int f(void)", 43));
    }
    std::string start(const std::string &configuration)
    {
        m_folder.write(L"log.properties", configuration);
        log().InitLog(m_folder.utf8(L"log.properties"));
        return configuration;
    }

    TemporaryFolder m_folder{L"corvane \u89c6\u9891"};
};

TEST_F(CLogTest, IsSilentBeforeTheStartAndAfterTheEnd)
{
    info("too early");
    start(kFileAppender);
    info("in time");
    log().UninitLog();
    info("too late");
    EXPECT_EQ("INFO|in time|Pellora|", m_folder.read(L"out.log").substr(0, 21));
    EXPECT_EQ(std::string::npos, m_folder.read(L"out.log").find("too"));
}

TEST_F(CLogTest, WritesUtf8AndTheLocationBesideTheConfiguration)
{
    start(kFileAppender);
    error("\xE8\xA7\x86\xE9\xA2\x91");
    log().UninitLog();
    const std::string text = m_folder.read(L"out.log");
    EXPECT_NE(std::string::npos, text.find("ERROR|\xE8\xA7\x86\xE9\xA2\x91|Pellora|"));
    EXPECT_NE(std::string::npos, text.find("|43"));
}

TEST_F(CLogTest, StartsAfresh)
{
    start(kFileAppender);
    info("one");
    log().UninitLog();
    start(kFileAppender);
    info("two");
    log().UninitLog();
    const std::string text = m_folder.read(L"out.log");
    EXPECT_LT(text.find("one"), text.find("two"));
    EXPECT_NE(std::string::npos, text.find("two"));
}

TEST_F(CLogTest, KeepsTheFilesWithinTheirLimit)
{
    start(kFileAppender);
    for (int i = 0; i < 1000; ++i) {
        info(std::string(100, 'x'));
    }
    log().UninitLog();
    EXPECT_GT(m_folder.read(L"out.log.1").size(), 5000U);
    EXPECT_LT(m_folder.read(L"out.log").size(), 11000U);
    EXPECT_FALSE(m_folder.exists(L"out.log.3"));
}

TEST_F(CLogTest, ReportsAMissingFileInOneLineAndLogsWarningsThere)
{
    {
        const CapturedStderr captured(m_folder.path(L"stderr.txt"));
        log().InitLog(m_folder.utf8(L"absent.properties"));
        info("quiet");
        error("loud");
        log().UninitLog();
    }
    const std::string text = m_folder.read(L"stderr.txt");
    const std::string first = text.substr(0, text.find('\n'));
    EXPECT_NE(std::string::npos, first.find("absent.properties"));
    EXPECT_NE(std::string::npos, text.find("loud"));
    EXPECT_EQ(std::string::npos, text.find("quiet"));
    EXPECT_EQ(2, std::count(text.begin(), text.end(), '\n'));
}

class CLogBrokenFileTest : public CLogTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(CLogBrokenFileTest, IsReportedInOneLine)
{
    {
        const CapturedStderr captured(m_folder.path(L"stderr.txt"));
        start(GetParam());
        log().UninitLog();
    }
    const std::string text = m_folder.read(L"stderr.txt");
    EXPECT_EQ(1, std::count(text.begin(), text.end(), '\n')) << text;
}

INSTANTIATE_TEST_SUITE_P(Files, CLogBrokenFileTest,
                         testing::Values("", "garbage \x01\xff without an equals sign",
                                         "log4j.rootLogger=INFO, absent\n",
                                         "log4j.rootLogger=INFO, f\nlog4j.appender.f=org.example.Unknown\n"));

TEST_F(CLogTest, SaysOnceThatAFileCannotBeOpenedAndSurvivesIt)
{
    {
        const CapturedStderr captured(m_folder.path(L"stderr.txt"));
        start("log4j.rootLogger=INFO, f\nlog4j.appender.f=org.apache.log4j.FileAppender\n"
              "log4j.appender.f.File=Z:/proc/absent/out.log\n"
              "log4j.appender.f.layout=org.apache.log4j.SimpleLayout\n");
        info("goes nowhere");
        info("goes nowhere, either");
        log().UninitLog();
    }
    EXPECT_FALSE(m_folder.exists(L"out.log"));
    EXPECT_EQ(m_folder.read(L"stderr.txt"),
              "Corvane: the log file \"Z:/proc/absent/out.log\" cannot be opened; what belongs there is lost\n");
}

TEST_F(CLogTest, SaysNothingOfAFileThatIsOpen)
{
    {
        const CapturedStderr captured(m_folder.path(L"stderr.txt"));
        start(kFileAppender);
        log().UninitLog();
    }
    EXPECT_EQ(m_folder.read(L"stderr.txt"), "");
}

/** The configuration that is shipped, as it is in the source tree. */
std::string shippedConfiguration()
{
    std::ifstream file(PELLORA_SOURCE_DIR "/resources/addon.log4cxx.properties", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST_F(CLogTest, KeepsTenFilesOfFiveMegabytesAsItIsShipped)
{
    constexpr std::size_t kMegabyte = 1024 * 1024;
    start(shippedConfiguration());
    // Twelve files' worth.
    for (int i = 0; i < 60; ++i) {
        info(std::string(kMegabyte, 'x'));
    }
    log().UninitLog();
    EXPECT_TRUE(m_folder.exists(L"addon.log"));
    for (int i = 1; i <= 9; ++i) {
        const std::wstring name = L"addon.log." + std::to_wstring(i);
        ASSERT_TRUE(m_folder.exists(name)) << i;
        const std::size_t nSize = m_folder.read(name).size();
        EXPECT_GT(nSize, 4 * kMegabyte) << i;
        EXPECT_LT(nSize, 7 * kMegabyte) << i;
    }
    EXPECT_FALSE(m_folder.exists(L"addon.log.10"));
}

TEST_F(CLogTest, LogsFromThreadsWhileItIsStartedAndStopped)
{
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&stop] {
            while (!stop) {
                info("from a thread");
                std::this_thread::yield();
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        start(kFileAppender);
        info("round");
        log().UninitLog();
    }
    stop = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_NE(0U, m_folder.read(L"out.log").size());
}

// The log's library has one lock an appender, and the compiler gives it no destructor unless it is told to.
TEST_F(CLogTest, LeavesNothingOfTheSystemsWhenItEnds)
{
    constexpr int kRounds = 40;
    constexpr int kLines = 200;
    const auto round = [this] {
        start(kFileAppender);
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&go] {
                while (!go) {
                    std::this_thread::yield();
                }
                for (int n = 0; n < kLines; ++n) {
                    info("wanted by several at once");
                }
            });
        }
        go = true;
        for (std::thread &thread : threads) {
            thread.join();
        }
        log().UninitLog();
    };
    round();
    const std::size_t nBefore = support::processHandles()["Event"];
    ASSERT_GT(nBefore, 0U);
    for (int i = 0; i < kRounds; ++i) {
        round();
    }
    // Locks that there are once for good make one each, at some time.
    EXPECT_LE(support::processHandles()["Event"], nBefore + kRounds / 4);
}

} // namespace
