#include "base/tests/LogEndTest.h"

#include "base/CLog.h"
#include "base/tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <log4cxx/spi/location/locationinfo.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <windows.h>

namespace
{

constexpr int kExitCode = 23;
constexpr int kLines = 50;
constexpr DWORD kLongestLife = 60000;
const std::string kConfiguration = "log4j.rootLogger=INFO, f\n"
                                   "log4j.appender.f=org.apache.log4j.RollingFileAppender\n"
                                   "log4j.appender.f.File=out.log\n"
                                   "log4j.appender.f.layout=org.apache.log4j.PatternLayout\n"
                                   "log4j.appender.f.layout.ConversionPattern=%m%n\n";

std::array<std::atomic<int>, 4> g_written;

void logForEver(std::atomic<int> &written)
{
    for (;;) {
        Base::CLog::getInstance()->Info(std::string(1000, 'x'), std::string(),
                                        log4cxx::spi::LocationInfo("Pellora", "Pellora", "int f(void)", 1));
        ++written;
    }
}

TEST(LogEndTest, TheProcessEndsWhileOthersLog)
{
    const TemporaryFolder folder(L"corvane end");
    folder.write(L"log.properties", kConfiguration);
    std::array<char, MAX_PATH> program{};
    ASSERT_NE(GetModuleFileNameA(nullptr, program.data(), MAX_PATH), 0U);
    std::string line =
        "\"" + std::string(program.data()) + "\" " + kLogUntilTheEnd + " \"" + folder.utf8(L"log.properties") + "\"";
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    ASSERT_TRUE(
        CreateProcessA(program.data(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    const DWORD dwWaited = WaitForSingleObject(process.hProcess, kLongestLife);
    DWORD dwCode = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &dwCode));
    EXPECT_EQ(dwWaited, WAIT_OBJECT_0);
    EXPECT_EQ(dwCode, static_cast<DWORD>(kExitCode));
    if (dwWaited != WAIT_OBJECT_0) {
        TerminateProcess(process.hProcess, 1);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

} // namespace

void logUntilTheEnd(const char *pConfiguration)
{
    Base::CLog::getInstance()->InitLog(pConfiguration);
    for (auto &written : g_written) {
        std::thread(&logForEver, std::ref(written)).detach();
    }
    for (const auto &written : g_written) {
        while (written < kLines) {
            std::this_thread::yield();
        }
    }
    // One of them is inside the appender now, and dies there.
    ExitProcess(kExitCode);
}
