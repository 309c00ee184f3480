// Damaged files of every container, at one place after the other: opened, played and sought through a port.
#include "player/src/port/Port.h"
#include "player/tests/support/AnalysisRecording.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::Port;
using player::test::bytesOf;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::mediaPath;
using player::test::MemoryBytes;

/** In KiB what the process takes; 0 where nobody tells, as Linux does. */
long memory(const char *what)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(what, 0) == 0) {
            return std::atol(line.c_str() + std::string(what).size());
        }
    }
    return 0;
}

constexpr std::string_view kWithAnalysis = "small.mkv with analysis";

std::string documentOfEveryFifth(int number)
{
    return number % 5 == 0 ? player::test::analysisDocument(number) : std::string();
}

class AHostileFile : public testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        m_bytes = std::string_view(GetParam()) == kWithAnalysis
                      ? player::test::savedWithAnalysis("small.mkv", documentOfEveryFifth)
                      : bytesOf(mediaPath(GetParam()));
        ASSERT_GT(m_bytes.size(), 900u);
        m_platform.openBy([this](const char *) { return std::make_unique<MemoryBytes>(m_bytes); });
        // The most that is taken is counted anew from here on.
        std::ofstream("/proc/self/clear_refs") << "5";
        m_before = memory("VmRSS:");
    }

    void TearDown() override
    {
        // The sanitizers keep 256 MiB of what was given back.
        constexpr long kMost = 400 * 1024;
        EXPECT_LT(memory("VmHWM:") - m_before, kMost);
    }

    /** True where there was something to play. The clock fails the test when the player's threads go on for ever. */
    bool plays()
    {
        const auto pPort = std::make_shared<Port>(m_platform, 1, 0);
        pPort->showPrivateData(0xff, true);
        const Error error = pPort->openFile("any");
        if (error != Error::None) {
            EXPECT_TRUE(error == Error::Unsupported || error == Error::Corrupt || error == Error::Resources)
                << static_cast<unsigned long>(error);
            return false;
        }
        EXPECT_EQ(pPort->play(m_platform.window()), Error::None);
        m_clock.advance(200ms);
        EXPECT_EQ(pPort->seek(160), Error::None);
        m_clock.advance(100ms);
        static_cast<void>(pPort->stepForward());
        EXPECT_EQ(pPort->seek(0), Error::None);
        m_clock.advance(20ms);
        pPort->close();
        m_clock.settle();
        return true;
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::vector<std::uint8_t> m_bytes;
    long m_before = 0;
};

TEST_P(AHostileFile, WithAFlippedByteIsPlayedOrRefused)
{
    ASSERT_TRUE(plays()) << "the clip itself";
    int played = 0;
    int files = 0;
    for (std::size_t at = 0; at < m_bytes.size(); at += 10, ++files) {
        m_bytes[at] ^= 0xFF;
        played += plays() ? 1 : 0;
        m_bytes[at] ^= 0xFF;
    }
    EXPECT_GT(played, files / 4) << "a player gives up not too soon";
}

TEST_P(AHostileFile, ThatIsCutAnywhereIsPlayedOrRefused)
{
    const std::vector<std::uint8_t> whole = m_bytes;
    for (std::size_t size = 0; size < whole.size(); size += 100) {
        m_bytes.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        static_cast<void>(plays());
    }
}

INSTANTIATE_TEST_SUITE_P(Containers, AHostileFile,
                         testing::Values("small.mp4", "small.mov", "small-fragmented.mp4", "small.mkv", "small.webm",
                                         "small.avi", "small.ts", "small.mpg", "small.flv", "small.h264", "small.h265",
                                         kWithAnalysis.data()),
                         [](const auto &row) { return player::test::testName(row.param); });

} // namespace
