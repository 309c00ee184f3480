// What hosts do to a port from inside its callbacks.
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>

namespace
{

using namespace std::chrono_literals;
using player::DisplayRegion;
using player::Error;
using player::Port;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::mediaPath;

class PortCallbacksTest : public testing::Test
{
protected:
    void TearDown() override
    {
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    void play()
    {
        ASSERT_EQ(m_port->openFile(mediaPath("h264.mp4").c_str()), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    }

    /** Counts how many calls there are at once, and takes its time. */
    void stay(std::chrono::microseconds duration)
    {
        m_nMost = std::max<int>(m_nMost, ++m_nInside);
        m_clock.spend(duration);
        --m_nInside;
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 1, 0);
    std::atomic<int> m_nInside{0};
    std::atomic<int> m_nMost{0};
    std::atomic<int> m_nCalls{0};
};

TEST_F(PortCallbacksTest, PlayingAgainFromInsideTheEndOfTheFileCallsItOnceAtATime)
{
    m_port->callbacks().fileEnd.set([this] {
        if (++m_nCalls < 3) {
            EXPECT_EQ(m_port->stop(), Error::None);
            EXPECT_EQ(m_port->play(m_platform.window()), Error::None);
            // Longer than the file, whose end comes again meanwhile.
            stay(10s);
        } else {
            stay(0s);
        }
    });
    play();
    EXPECT_TRUE(m_clock.advanceUntil([this] { return m_nCalls == 3 && m_nInside == 0; }));
    EXPECT_EQ(m_nMost, 1);
    EXPECT_LE(m_platform.presenters(), 1);
}

TEST_F(PortCallbacksTest, PlayingAgainFromInsideTheOverlayDrawsOnceAtATime)
{
    m_port->callbacks().draw.set([this](void *) {
        if (++m_nCalls == 3) {
            EXPECT_EQ(m_port->stop(), Error::None);
            EXPECT_EQ(m_port->play(m_platform.window()), Error::None);
            stay(500ms);
        } else {
            stay(0s);
        }
    });
    play();
    EXPECT_TRUE(m_clock.advanceUntil([this] { return m_nCalls > 10; }));
    EXPECT_EQ(m_nMost, 1);
    EXPECT_LE(m_platform.presenters(), 1);
}

TEST_F(PortCallbacksTest, ARegionOfAnyNumbersIsTakenOrRefused)
{
    constexpr int kLeast = std::numeric_limits<int>::min();
    constexpr int kMost = std::numeric_limits<int>::max();
    play();
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{kLeast, kLeast, kMost, kMost}, false}), Error::None);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{kLeast, kMost, kMost, kLeast}, true}), Error::None);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{kMost, kLeast, kLeast, kMost}, false}), Error::Argument);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, kLeast, 100, kLeast}, true}), Error::Argument);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, kLeast + 1, 100, kLeast}, true}), Error::Argument);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, kMost, 100, kMost - 1}, true}), Error::Argument);
    m_clock.advance(100ms);
    EXPECT_EQ(m_platform.shown().back().region.width(), 320);
}

} // namespace
