// Pictures that are larger than any that is played: refused, in bounded memory, and the port plays what comes next.
#include "ffmpeg/AllocationLimit.h"
#include "player/src/core/Container.h"
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/PushedStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::Port;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveProgram;
using player::test::liveRaw;
using player::test::liveTransport;
using player::test::mediaPath;
using player::test::PushedStream;

/** The most memory that the process took, in KiB; 0 where nobody tells, as Linux does. */
long mostMemory()
{
#ifdef __SANITIZE_THREAD__
    // What the sanitizer notes of every byte would count too.
    return 0;
#else
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
#endif
}

class ATooLargePicture : public testing::Test
{
protected:
    void TearDown() override
    {
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    void watchMemory()
    {
        // The most is counted anew from here on.
        std::ofstream("/proc/self/clear_refs") << "5";
        m_before = mostMemory();
    }

    /** One picture alone would take 106 MB. */
    void expectLittleMemory() const
    {
        constexpr long kMost = 64 * 1024;
        EXPECT_LT(mostMemory() - m_before, kMost);
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 1, 0);
    long m_before = 0;
};

class ATooLargeFile : public ATooLargePicture, public testing::WithParamInterface<const char *>
{
};

TEST_P(ATooLargeFile, IsRefusedAndThePortPlaysTheNextOne)
{
    watchMemory();
    EXPECT_EQ(m_port->openFile(mediaPath(GetParam()).c_str()), Error::Unsupported);
    expectLittleMemory();
    ASSERT_EQ(m_port->openFile(mediaPath("h264.mp4").c_str()), Error::None);
    ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    m_clock.advance(100ms);
    EXPECT_GE(m_platform.number(), 1);
}

INSTANTIATE_TEST_SUITE_P(Files, ATooLargeFile, testing::Values("too-large.mp4", "too-large.ts", "too-wide.avi"),
                         [](const auto &row) { return player::test::testName(row.param); });

struct Pushed {
    const char *name;
    PushedStream (*make)(const std::string &file, const LiveOptions &options);
    const char *file;
};

void PrintTo(const Pushed &pushed, std::ostream *pStream)
{
    *pStream << pushed.name;
}

class ATooLargeStream : public ATooLargePicture, public testing::WithParamInterface<Pushed>
{
};

TEST_P(ATooLargeStream, IsRefusedAndThePortPlaysTheNextOne)
{
    const PushedStream large = GetParam().make(GetParam().file, {});
    const PushedStream next = liveMatroska("h264.avi");
    watchMemory();
    ASSERT_EQ(large.openOn(*m_port, m_platform.window()), Error::None);
    Error error = Error::None;
    for (std::size_t i = 0; i < large.records.size() && error == Error::None; ++i) {
        error = large.push(*m_port, i, i + 1);
        m_clock.advance(40ms);
    }
    const std::uint8_t byte = 0;
    EXPECT_EQ(m_port->inputData(&byte, 1), Error::Unsupported);
    EXPECT_EQ(m_platform.number(), -1) << "nothing of it is shown";
    expectLittleMemory();
    ASSERT_EQ(m_port->closeStream(), Error::None);
    ASSERT_EQ(next.openOn(*m_port, m_platform.window()), Error::None);
    ASSERT_EQ(next.push(*m_port, 0, 5), Error::None);
    m_clock.advance(100ms);
    EXPECT_EQ(m_platform.number(), 4);
}

INSTANTIATE_TEST_SUITE_P(Containers, ATooLargeStream,
                         testing::Values(Pushed{"matroska", liveMatroska, "too-large.mp4"},
                                         Pushed{"matroska_wide", liveMatroska, "too-wide.avi"},
                                         Pushed{"transport", liveTransport, "too-large.ts"},
                                         Pushed{"program", liveProgram, "too-large.ts"},
                                         Pushed{"raw", liveRaw, "too-large.ts"}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(ATooLargePicture, InTheMiddleOfAStreamIsLeftOut)
{
    PushedStream stream = liveRaw("h264.ts");
    const PushedStream large = liveRaw("too-large.ts");
    stream.records.insert(stream.records.begin() + 50, large.records.begin(), large.records.end());
    watchMemory();
    ASSERT_EQ(stream.openOn(*m_port, m_platform.window()), Error::None);
    for (std::size_t i = 0; i < stream.records.size(); ++i) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(40ms);
    }
    EXPECT_GE(m_platform.number(), 95);
    expectLittleMemory();
}

TEST(ATableThatIsAnnounced, TakesNoMoreMemoryThanTheLargestPicture)
{
    av_max_alloc(INT_MAX);
    const player::IoPtr pIo = ffmpeg::makeIo(4096, nullptr, nullptr, nullptr, nullptr);
    const ffmpeg::FormatPtr pFormat(player::makeFormat(*pIo, player::kPushedContainers, {}));
    ASSERT_TRUE(pFormat);
    EXPECT_EQ(av_malloc(ffmpeg::kMostAllocation + 1), nullptr);
}

} // namespace
