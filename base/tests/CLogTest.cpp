#include "base/CLog.h"

#include "base/tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <log4cxx/spi/location/locationinfo.h>

#include <io.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
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

// Standard error into a file for the object's life.
class CapturedStderr
{
public:
    explicit CapturedStderr(const std::wstring &path) : m_nSaved(_dup(2))
    {
        std::fflush(stderr);
        std::FILE *pFile = _wfopen(path.c_str(), L"wb");
        _dup2(_fileno(pFile), 2);
        std::fclose(pFile);
    }
    ~CapturedStderr()
    {
        std::fflush(stderr);
        _dup2(m_nSaved, 2);
        _close(m_nSaved);
    }
    CapturedStderr(const CapturedStderr &) = delete;
    CapturedStderr &operator=(const CapturedStderr &) = delete;

private:
    int m_nSaved;
};

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

TEST_F(CLogTest, SurvivesAFileThatCannotBeOpened)
{
    const CapturedStderr captured(m_folder.path(L"stderr.txt"));
    start("log4j.rootLogger=INFO, f\nlog4j.appender.f=org.apache.log4j.FileAppender\n"
          "log4j.appender.f.File=Z:/proc/absent/out.log\n"
          "log4j.appender.f.layout=org.apache.log4j.SimpleLayout\n");
    info("goes nowhere");
    log().UninitLog();
    EXPECT_FALSE(m_folder.exists(L"out.log"));
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

} // namespace
