// Files through a port: the pictures, when they are shown, and what a host does with them.
#include "player/src/port/Port.h"
#include "player/tests/support/AwaitingClock.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <numeric>

namespace
{

using namespace std::chrono_literals;
using player::DisplayRegion;
using player::Error;
using player::Moment;
using player::Port;
using player::test::AwaitingClock;
using player::test::clip;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::Shown;

std::vector<int> range(int from, int to)
{
    std::vector<int> numbers(static_cast<std::size_t>(to - from));
    std::iota(numbers.begin(), numbers.end(), from);
    return numbers;
}

class FilePlaybackTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_port->callbacks().fileEnd.set([this] {
            ++m_nEnds;
            m_ended = m_clock.now();
        });
    }

    void TearDown() override
    {
        m_port->closeFile();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    void play(const std::string &file)
    {
        ASSERT_EQ(m_port->openFile(clip(file).path().c_str()), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    }

    /** Plays and holds at a time. */
    void holdAt(const std::string &file, unsigned long milliseconds)
    {
        play(file);
        ASSERT_EQ(m_port->pause(1), Error::None);
        ASSERT_EQ(m_port->seek(milliseconds), Error::None);
        m_clock.settle();
    }

    /** Four steps up or down: sixteen times the speed, or a sixteenth. */
    void changeSpeedToTheLimit(int direction)
    {
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(m_port->changeSpeed(direction), Error::None);
        }
        EXPECT_EQ(m_port->changeSpeed(direction), Error::Limit);
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::atomic<int> m_nEnds{0};
    std::atomic<Moment> m_ended{Moment()};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 0, 0);
};

TEST_F(FilePlaybackTest, ShowsEveryPictureExactlyAtItsTimeAndTellsTheEndOnce)
{
    const Moment begun = m_clock.now();
    play("h264.mp4");
    m_clock.advance(10s);
    const auto changes = m_platform.changes();
    ASSERT_EQ(changes.size(), 100u);
    for (int number = 0; number < 100; ++number) {
        const Shown &shown = changes[static_cast<std::size_t>(number)];
        EXPECT_EQ(shown.number, number);
        EXPECT_EQ(shown.moment - begun, number * 40ms) << number;
    }
    EXPECT_EQ(m_nEnds, 1);
    EXPECT_EQ(m_ended.load() - begun, 4s);
}

TEST_F(FilePlaybackTest, GoesOnDrawingAfterTheEndAndStaysOpen)
{
    play("slow.mkv");
    ASSERT_EQ(m_port->seek(5900), Error::None);
    m_clock.advance(1s);
    ASSERT_EQ(m_nEnds, 1);
    m_platform.forget();
    m_clock.advance(100ms);
    EXPECT_EQ(m_platform.number(), 5);
    unsigned long seconds = 0;
    EXPECT_EQ(m_port->playedSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 6u);
    EXPECT_EQ(m_port->stepForward(), Error::End);
}

TEST_F(FilePlaybackTest, ASeekBackAfterTheEndPlaysAndEndsAgain)
{
    play("h264.mp4");
    m_port->seek(3800);
    m_clock.advance(1s);
    ASSERT_EQ(m_nEnds, 1);
    m_port->seek(3600);
    m_clock.advance(1s);
    EXPECT_EQ(m_nEnds, 2);
}

TEST_F(FilePlaybackTest, PlayingAfterTheEndBeginsAtTheBeginning)
{
    play("h264.mp4");
    m_port->seek(3900);
    m_clock.advance(1s);
    ASSERT_EQ(m_nEnds, 1);
    m_platform.forget();
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    m_clock.advance(200ms);
    EXPECT_THAT(m_platform.numbers(), testing::IsSupersetOf(range(0, 6)));
    EXPECT_EQ(m_platform.number(), 5);
}

TEST_F(FilePlaybackTest, RedrawsAHeldPictureAtTwentyFiveHertzOrBetter)
{
    holdAt("h264.mp4", 1000);
    m_platform.forget();
    m_clock.advance(1s);
    const auto shown = m_platform.shown();
    EXPECT_GE(shown.size(), 25u);
    for (std::size_t i = 1; i < shown.size(); ++i) {
        EXPECT_EQ(shown[i].number, 25);
        EXPECT_LE(shown[i].moment - shown[i - 1].moment, 40ms);
    }
}

TEST_F(FilePlaybackTest, StepsThroughEveryPicture)
{
    holdAt("variable-rate.mkv", 0);
    for (int number = 1; number < 60; ++number) {
        ASSERT_EQ(m_port->stepForward(), Error::None) << number;
        m_clock.settle();
        ASSERT_EQ(m_platform.number(), number);
    }
    EXPECT_EQ(m_port->stepForward(), Error::End);
    EXPECT_EQ(m_nEnds, 0);
}

TEST_F(FilePlaybackTest, SteppingWhilePlayingHoldsAtExactlyTheNextPicture)
{
    play("h264-alaw.mkv");
    m_clock.advance(810ms);
    EXPECT_EQ(m_platform.number(), 20);
    ASSERT_EQ(m_port->stepForward(), Error::None);
    m_clock.advance(1s);
    EXPECT_EQ(m_platform.number(), 21);
    m_port->pause(0);
    m_port->pause(1);
    ASSERT_EQ(m_port->stepForward(), Error::None);
    m_clock.advance(1s);
    EXPECT_EQ(m_platform.number(), 22);
}

TEST_F(FilePlaybackTest, StepsExactlyAfterHighSpeed)
{
    play("long.mp4");
    changeSpeedToTheLimit(1);
    m_clock.advance(600ms);
    m_port->pause(1);
    m_clock.settle();
    const int held = m_platform.number();
    EXPECT_EQ(held, 240);
    ASSERT_EQ(m_port->stepForward(), Error::None);
    m_clock.settle();
    EXPECT_EQ(m_platform.number(), held + 1);
}

TEST_F(FilePlaybackTest, KeepsTheClockAtHighSpeed)
{
    const Moment begun = m_clock.now();
    play("long.mp4");
    changeSpeedToTheLimit(1);
    ASSERT_TRUE(m_clock.advanceUntil([this] { return m_nEnds == 1; }));
    EXPECT_EQ(m_ended.load() - begun, 7500ms) << "120 seconds of film at sixteen times the speed";
    const auto changes = m_platform.changes();
    EXPECT_GT(changes.size(), 500u);
    for (std::size_t i = 1; i < changes.size(); ++i) {
        const auto due = begun + changes[i].number * 2500us;
        EXPECT_GE(changes[i].moment, due) << changes[i].number;
        EXPECT_LE(changes[i].moment, due + 10ms) << changes[i].number;
    }
}

TEST_F(FilePlaybackTest, SlowsDownToASixteenth)
{
    const Moment begun = m_clock.now();
    play("h264.mp4");
    changeSpeedToTheLimit(-1);
    m_clock.advance(2s);
    const auto changes = m_platform.changes();
    ASSERT_EQ(changes.size(), 4u);
    for (int number = 0; number < 4; ++number) {
        EXPECT_EQ(changes[static_cast<std::size_t>(number)].moment - begun, number * 640ms);
    }
}

TEST_F(FilePlaybackTest, ASlowWindowLosesPicturesAndKeepsTheClock)
{
    const Moment begun = m_clock.now();
    play("h264.mp4");
    m_port->callbacks().draw.set([this](void *) { m_clock.spend(100ms); });
    ASSERT_TRUE(m_clock.advanceUntil([this] { return m_nEnds == 1; }));
    m_port->callbacks().draw.set(nullptr);
    // One drawing is under way when the file ends, and one more may have begun for a redraw.
    EXPECT_LE(m_ended.load() - begun, 4s + 200ms);
    for (const Shown &shown : m_platform.changes()) {
        EXPECT_LE(shown.moment - begun, shown.number * 40ms + 200ms) << shown.number;
    }
    EXPECT_LT(m_platform.changes().size(), 50u);
}

struct SeekCase {
    unsigned long milliseconds;
    int number;
};

class SeekWhilePaused : public FilePlaybackTest, public testing::WithParamInterface<SeekCase>
{
};

TEST_P(SeekWhilePaused, ShowsThePictureOnDisplayAtThatTime)
{
    holdAt("h264.mp4", GetParam().milliseconds);
    EXPECT_EQ(m_platform.number(), GetParam().number);
    EXPECT_EQ(m_nEnds, 0);
}

INSTANTIATE_TEST_SUITE_P(Times, SeekWhilePaused,
                         testing::Values(SeekCase{0, 0}, SeekCase{39, 0}, SeekCase{40, 1}, SeekCase{1999, 49},
                                         SeekCase{2000, 50}, SeekCase{3960, 99}, SeekCase{4000, 99},
                                         SeekCase{0xFFFFFFFF, 99}));

TEST_F(FilePlaybackTest, TellsThePositionThatWasSoughtEvenBetweenPictures)
{
    holdAt("ntsc.mp4", 2000);
    unsigned long seconds = 0;
    EXPECT_EQ(m_port->playedSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 2u);
}

TEST_F(FilePlaybackTest, StopsFromInsideTheDrawCallback)
{
    std::promise<Error> stopped;
    m_port->callbacks().draw.set([&, first = true](void *) mutable {
        if (std::exchange(first, false)) {
            stopped.set_value(m_port->stop());
        }
    });
    play("h264.mp4");
    EXPECT_EQ(stopped.get_future().get(), Error::None);
    EXPECT_EQ(m_port->stop(), Error::Order);
    EXPECT_EQ(m_port->play(nullptr), Error::None);
    m_port->callbacks().draw.set(nullptr);
}

TEST_F(FilePlaybackTest, ClosesFromInsideTheEndCallbackAndCanOpenTheNext)
{
    play("h264.mp4");
    std::atomic<int> closed{0};
    m_port->callbacks().fileEnd.set([&] { closed += m_port->closeFile() == Error::None ? 1 : 0; });
    m_port->seek(3900);
    m_clock.advance(1s);
    ASSERT_EQ(closed, 1);
    EXPECT_EQ(m_platform.presenters(), 0);
    m_port->callbacks().fileEnd.set(nullptr);
    m_platform.forget();
    play("h264.ts");
    m_clock.settle();
    EXPECT_EQ(m_platform.number(), 0);
}

TEST_F(FilePlaybackTest, AnyCallOnItsOwnPortWorksFromInsideTheDrawCallback)
{
    std::atomic<bool> done{false};
    m_port->callbacks().draw.set([&](void *) {
        int width = 0;
        int height = 0;
        unsigned long seconds = 0;
        std::vector<std::uint8_t> file;
        m_port->pictureSize(width, height);
        m_port->playedSeconds(seconds);
        m_port->jpeg(std::nullopt, 85, file);
        m_port->pause(1);
        m_port->stepForward();
        m_port->seek(1000);
        m_port->pause(0);
        m_port->callbacks().draw.set(nullptr);
        done = true;
    });
    play("h264.mp4");
    m_clock.advance(100ms);
    EXPECT_TRUE(done);
}

TEST_F(FilePlaybackTest, DoesNotDrawAnyMoreOnceTheCallbackIsGone)
{
    std::atomic<int> drawn{0};
    m_port->callbacks().draw.set([&](void *) { ++drawn; });
    play("h264.mp4");
    m_clock.advance(200ms);
    m_port->callbacks().draw.set(nullptr);
    const int count = drawn;
    EXPECT_EQ(count, 6);
    m_platform.forget();
    m_clock.advance(200ms);
    EXPECT_EQ(m_platform.shown().size(), 5u);
    EXPECT_EQ(drawn, count);
}

TEST_F(FilePlaybackTest, RefusesWhatComesInTheWrongOrder)
{
    unsigned long seconds = 0;
    EXPECT_EQ(m_port->play(m_platform.window()), Error::Order);
    EXPECT_EQ(m_port->stop(), Error::Order);
    EXPECT_EQ(m_port->closeFile(), Error::Order);
    EXPECT_EQ(m_port->seek(0), Error::Order);
    EXPECT_EQ(m_port->lengthSeconds(seconds), Error::Order);
    ASSERT_EQ(m_port->openFile(clip("h264.mp4").path().c_str()), Error::None);
    EXPECT_EQ(m_port->openFile(clip("h264.mp4").path().c_str()), Error::Order);
    EXPECT_EQ(m_port->pause(1), Error::Order);
    EXPECT_EQ(m_port->stepForward(), Error::Order);
    EXPECT_EQ(m_port->stop(), Error::Order);
    EXPECT_EQ(m_port->play(nullptr), Error::Argument);
    EXPECT_EQ(m_port->stepBack(), Error::Order);
    EXPECT_EQ(m_port->playSound(), Error::None);
    std::vector<std::uint8_t> file;
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::NoPicture);
}

TEST_F(FilePlaybackTest, TheNextGoodFilePlaysAfterABadOne)
{
    EXPECT_EQ(m_port->openFile("no such file"), Error::Open);
    EXPECT_EQ(m_port->openFile(nullptr), Error::Argument);
    EXPECT_EQ(m_port->openFile(player::test::mediaPath("broken/no-index.mp4").c_str()), Error::Corrupt);
    play("h264.mp4");
    m_clock.advance(120ms);
    EXPECT_EQ(m_platform.number(), 3);
}

TEST_F(FilePlaybackTest, ShowsOnlyTheDisplayRegion)
{
    holdAt("h264.mp4", 0);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{320, 0, 400, 10}, false}), Error::Argument);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{10, 10, 10, 20}, false}), Error::Argument);
    ASSERT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, 200, 160, 100}, true}), Error::None);
    m_clock.settle();
    const player::PixelRect part = m_platform.shown().back().region;
    EXPECT_EQ(part.left, 0);
    EXPECT_EQ(part.top, 40);
    EXPECT_EQ(part.right, 160);
    EXPECT_EQ(part.bottom, 140);
    ASSERT_EQ(m_port->setDisplayRegion(std::nullopt), Error::None);
    m_clock.settle();
    const player::PixelRect whole = m_platform.shown().back().region;
    EXPECT_EQ(whole.right, 320);
    EXPECT_EQ(whole.bottom, 240);
}

TEST_F(FilePlaybackTest, NineOfTheSameFilePlaySideBySide)
{
    std::vector<std::unique_ptr<Port>> ports;
    for (int i = 0; i < 9; ++i) {
        ports.push_back(std::make_unique<Port>(m_platform, i + 1, i + 1));
        ASSERT_EQ(ports.back()->openFile(clip("h264.mp4").path().c_str()), Error::None);
        ASSERT_EQ(ports.back()->play(m_platform.window()), Error::None);
    }
    m_clock.advance(400ms);
    EXPECT_EQ(m_platform.presenters(), 9);
    const auto shown = m_platform.shown();
    EXPECT_EQ(std::count_if(shown.begin(), shown.end(), [](const Shown &s) { return s.number == 10; }), 9);
}

// The rest runs on the computer's own clock.

/** Asks until the answer is yes; false when that takes half a minute. */
bool eventually(const std::function<bool()> &condition)
{
    const auto deadline = Moment::clock::now() + 30s;
    while (!condition()) {
        if (Moment::clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class FilePlaybackInRealTime : public testing::Test
{
protected:
    AwaitingClock m_clock;
    FakePlatform m_platform{m_clock};
    Port m_port{m_platform, 0, 0};
};

TEST_F(FilePlaybackInRealTime, IsNotFasterThanTheFile)
{
    std::atomic<bool> ended{false};
    m_port.callbacks().fileEnd.set([&] { ended = true; });
    ASSERT_EQ(m_port.openFile(clip("h264.mp4").path().c_str()), Error::None);
    ASSERT_EQ(m_port.seek(3500), Error::None);
    const Moment begun = m_clock.now();
    ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
    ASSERT_TRUE(eventually([&] { return ended.load(); }));
    EXPECT_GE(m_clock.now() - begun, 480ms);
    EXPECT_EQ(m_platform.number(), 99);
    m_port.close();
}

TEST_F(FilePlaybackInRealTime, OpensPlaysSeeksAndStopsManyTimes)
{
    for (int round = 0; round < 40; ++round) {
        ASSERT_EQ(m_port.openFile(clip(round % 2 == 0 ? "h264.mp4" : "mpeg2.ts").path().c_str()), Error::None);
        ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
        ASSERT_EQ(m_port.seek(static_cast<unsigned long>(round * 90)), Error::None);
        if (round % 3 == 0) {
            m_port.stepForward();
        }
        ASSERT_EQ(m_port.stop(), Error::None);
        ASSERT_EQ(m_port.closeFile(), Error::None);
    }
    EXPECT_EQ(m_platform.presenters(), 0);
}

} // namespace
