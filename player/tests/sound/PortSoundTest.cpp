// The sound of files through a port.
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "tests/support/SoundMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::Moment;
using player::Port;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::mediaPath;
using std::chrono::milliseconds;
using testsupport::clicksIn;
using testsupport::frequencyOf;
using testsupport::levelOf;
using testsupport::soundingOf;

constexpr const char *kFlashAndClick = "flash-click.mkv";
constexpr int kPicturesPerSecond = 25;
constexpr float kClick = 0.3F;
constexpr double kHum = 0.05;
constexpr double kHertz = 440;

class PortSoundTest : public testing::Test
{
protected:
    void TearDown() override
    {
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.speaker().outputs(), 0);
    }

    void open(const char *file)
    {
        ASSERT_EQ(m_port->openFile(mediaPath(file).c_str()), Error::None);
    }

    void openAndListen(const char *file)
    {
        open(file);
        ASSERT_EQ(m_port->playSound(), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
        m_zero = m_clock.now();
    }

    [[nodiscard]] std::vector<float> heard(milliseconds from, milliseconds to)
    {
        return m_platform.speaker().heard(m_zero + from, to - from);
    }

    /** Each click that is heard in that span is within 40 ms of its flash; in milliseconds since playing began. */
    void expectInStep(milliseconds from, milliseconds to, std::size_t least)
    {
        std::size_t clicks = 0;
        for (const double click : clicksIn(heard(from, to), kClick)) {
            const Moment moment = m_zero + from + std::chrono::microseconds(std::lround(click * 1e6));
            double nearest = 1e9;
            for (const auto &shown : m_platform.changes()) {
                const double lag = std::chrono::duration<double, std::milli>(moment - shown.moment).count();
                const bool bFlash = shown.number % kPicturesPerSecond == 0;
                nearest = bFlash && std::fabs(lag) < std::fabs(nearest) ? lag : nearest;
            }
            EXPECT_LE(std::fabs(nearest), 40) << "ms, at " << click;
            ++clicks;
        }
        EXPECT_GE(clicks, least);
    }

    void expectNoGap(milliseconds from, milliseconds to)
    {
        for (milliseconds at = from; at < to; at += 10ms) {
            EXPECT_GT(levelOf(heard(at, at + 10ms)), kHum / 2) << at.count();
        }
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 0, 0);
    Moment m_zero;
};

TEST_F(PortSoundTest, AFilesClicksAreHeardWithTheirFlashes)
{
    openAndListen(kFlashAndClick);
    m_clock.advance(10500ms);
    expectInStep(0ms, 10400ms, 11);
    expectNoGap(200ms, 10400ms);
}

TEST_F(PortSoundTest, PicturesKeepToADeviceThatIsOff)
{
    m_platform.speaker().setDrift(5000);
    openAndListen(kFlashAndClick);
    m_clock.advance(18500ms);
    expectInStep(0ms, 18400ms, 18);
    expectNoGap(200ms, 18400ms);
}

TEST_F(PortSoundTest, AfterASeekSoundAndPicturesGoOnTogether)
{
    openAndListen(kFlashAndClick);
    m_clock.advance(1500ms);
    ASSERT_EQ(m_port->seek(12300), Error::None);
    m_clock.advance(4s);
    expectInStep(1500ms, 5400ms, 3);
    expectNoGap(1700ms, 5400ms);
}

TEST_F(PortSoundTest, SoundIsSilentAtOtherSpeedsWhilePausedAndWhileStepping)
{
    openAndListen(kFlashAndClick);
    m_clock.advance(1s);
    ASSERT_EQ(m_port->changeSpeed(1), Error::None);
    m_clock.advance(1s);
    EXPECT_EQ(soundingOf(heard(1010ms, 2s)), 0u);
    ASSERT_EQ(m_port->changeSpeed(-1), Error::None);
    m_clock.advance(1500ms);
    expectNoGap(2300ms, 3400ms);
    ASSERT_EQ(m_port->pause(1), Error::None);
    m_clock.advance(500ms);
    EXPECT_EQ(soundingOf(heard(3510ms, 4s)), 0u);
    ASSERT_EQ(m_port->stepForward(), Error::None);
    m_clock.advance(500ms);
    EXPECT_EQ(soundingOf(heard(4s, 4500ms)), 0u);
    ASSERT_EQ(m_port->pause(0), Error::None);
    m_clock.advance(3s);
    expectNoGap(4800ms, 7400ms);
    expectInStep(4500ms, 7400ms, 2);
}

TEST_F(PortSoundTest, SoundThatIsOpenedInTheMiddleIsInStepAtOnce)
{
    open(kFlashAndClick);
    ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    m_zero = m_clock.now();
    m_clock.advance(3500ms);
    ASSERT_EQ(m_port->playSound(), Error::None);
    m_clock.advance(3s);
    expectNoGap(3700ms, 6400ms);
    expectInStep(3500ms, 6400ms, 2);
}

TEST_F(PortSoundTest, AFileWithoutSoundFailsToSound)
{
    open("ntsc.mp4");
    EXPECT_EQ(m_port->playSound(), Error::NoSound);
}

TEST_F(PortSoundTest, ClosingTheFileEndsItsSoundAndTheNextOneHasToAsk)
{
    openAndListen(kFlashAndClick);
    m_clock.advance(1s);
    ASSERT_EQ(m_port->closeFile(), Error::None);
    m_clock.settle();
    EXPECT_EQ(m_platform.speaker().outputs(), 0);
    EXPECT_EQ(m_port->playSound(), Error::Order);
    open(kFlashAndClick);
    ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    m_clock.advance(1s);
    EXPECT_EQ(soundingOf(heard(1010ms, 2s)), 0u);
}

TEST_F(PortSoundTest, AfterTheEndTheFileSoundsAgainFromItsBeginning)
{
    openAndListen("h264.mp4");
    m_clock.advance(5s);
    EXPECT_EQ(soundingOf(heard(4200ms, 5s)), 0u);
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    m_clock.advance(2s);
    EXPECT_NEAR(frequencyOf(heard(5500ms, 6500ms)), kHertz, 3);
}

TEST_F(PortSoundTest, WithoutItsDeviceAFilePlaysOn)
{
    openAndListen(kFlashAndClick);
    m_clock.advance(1s);
    m_platform.speaker().setThere(false);
    m_clock.advance(4s);
    EXPECT_NEAR(m_platform.number(), 125, 3);
}

class EveryFilesSound : public PortSoundTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(EveryFilesSound, IsHeardAtItsPitchWithoutAGap)
{
    openAndListen(GetParam());
    m_clock.advance(3500ms);
    EXPECT_NEAR(frequencyOf(heard(1s, 3s)), kHertz, 3);
    expectNoGap(500ms, 3400ms);
}

INSTANTIATE_TEST_SUITE_P(Clips, EveryFilesSound,
                         testing::Values("h264.mp4", "av1.mp4", "mpeg2.mp4", "mpeg4.mp4", "h264.mov", "mpeg4.mov",
                                         "mjpeg.mov", "h264-alaw.mkv", "h264-g726.mkv", "mjpeg-g722.mkv", "vp8.mkv",
                                         "mpeg2.mkv", "h264.avi", "mpeg1.avi", "mjpeg.avi", "msmpeg4v2.avi", "h264.ts",
                                         "mpeg2.ts", "mpeg4.ts", "mpeg2.mpg", "h264.flv", "h264-alaw.flv",
                                         "fragmented.mp4", "live.mkv", "start-5s.mkv", "start-1h.ts"),
                         [](const auto &row) { return player::test::testName(row.param); });

} // namespace
