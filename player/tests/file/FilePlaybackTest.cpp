#include "player/src/port/Port.h"

#include "player/src/port/PortTable.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>

namespace
{

using namespace std::chrono_literals;
using player::DisplayRegion;
using player::Error;
using player::Port;
using player::test::clip;
using player::test::FakePlatform;
using player::test::Shown;

/** Counts events of another thread and waits for them. */
class Counter
{
public:
    void add()
    {
        // Told with the lock held: whoever waits may destroy the counter as soon as it can see the new count.
        const std::lock_guard lock(m_mutex);
        ++m_nCount;
        m_changed.notify_all();
    }

    bool waitFor(int count, std::chrono::milliseconds patience = 30s)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, patience, [&] { return m_nCount >= count; });
    }

    int count()
    {
        const std::lock_guard lock(m_mutex);
        return m_nCount;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_nCount = 0;
};

class FilePlaybackTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_port->callbacks().fileEnd.set([this] { m_ends.add(); });
    }

    void TearDown() override
    {
        m_port->closeFile();
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
    }

    FakePlatform m_platform;
    Counter m_ends;
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 0, 0);
};

TEST_F(FilePlaybackTest, ShowsThePicturesInOrderInTheirTimeAndTellsTheEndOnce)
{
    const auto begun = std::chrono::steady_clock::now();
    play("h264.mp4");
    ASSERT_TRUE(m_ends.waitFor(1));
    const auto took = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(took, 3950ms);
    EXPECT_LE(took, 6500ms); // a busy machine is late; half the speed would take eight seconds
    int latest = -1;
    int different = 0;
    for (const Shown &shown : m_platform.shown()) {
        ASSERT_GE(shown.number, latest);
        different += shown.number > latest ? 1 : 0;
        latest = shown.number;
    }
    EXPECT_EQ(latest, 99);
    EXPECT_GT(different, 40); // a busy machine skips some
    EXPECT_FALSE(m_ends.waitFor(2, 200ms));
}

TEST_F(FilePlaybackTest, GoesOnDrawingAfterTheEndAndStaysOpen)
{
    play("slow.mkv");
    ASSERT_EQ(m_port->seek(5900), Error::None);
    ASSERT_TRUE(m_ends.waitFor(1));
    m_platform.forget();
    ASSERT_TRUE(m_platform.waitForNumber(5));
    unsigned long seconds = 0;
    EXPECT_EQ(m_port->playedSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 6u);
    EXPECT_EQ(m_port->stepForward(), Error::End);
}

TEST_F(FilePlaybackTest, ASeekBackAfterTheEndPlaysAndEndsAgain)
{
    play("h264.mp4");
    m_port->seek(3800);
    ASSERT_TRUE(m_ends.waitFor(1));
    m_port->seek(3600);
    EXPECT_TRUE(m_ends.waitFor(2));
}

TEST_F(FilePlaybackTest, PlayingAfterTheEndBeginsAtTheBeginning)
{
    play("h264.mp4");
    m_port->seek(3900);
    ASSERT_TRUE(m_ends.waitFor(1));
    m_platform.forget();
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    EXPECT_TRUE(m_platform.waitFor([](const Shown &shown) { return shown.number >= 0 && shown.number < 5; }));
}

TEST_F(FilePlaybackTest, RedrawsAHeldPictureAtTwentyFiveHertzOrBetter)
{
    holdAt("h264.mp4", 1000);
    ASSERT_TRUE(m_platform.waitForNumber(25));
    m_platform.forget();
    Counter drawn;
    m_port->callbacks().draw.set([&](void *) { drawn.add(); });
    ASSERT_TRUE(drawn.waitFor(50));
    m_port->callbacks().draw.set(nullptr);
    EXPECT_LE(m_platform.quickest(5), 220ms);
}

TEST_F(FilePlaybackTest, StepsThroughEveryPicture)
{
    holdAt("variable-rate.mkv", 0);
    for (int number = 1; number < 60; ++number) {
        ASSERT_EQ(m_port->stepForward(), Error::None) << number;
        ASSERT_TRUE(m_platform.waitForNumber(number)) << number;
    }
    EXPECT_EQ(m_port->stepForward(), Error::End);
    EXPECT_EQ(m_ends.count(), 0);
}

TEST_F(FilePlaybackTest, SteppingWhilePlayingHoldsAtExactlyTheNextPicture)
{
    play("h264-alaw.mkv");
    ASSERT_TRUE(m_platform.waitForNumberOrLater(20));
    m_port->pause(1);
    m_platform.forget();
    ASSERT_TRUE(m_platform.waitFor([](const Shown &) { return true; }));
    const int held = m_platform.shown().back().number;
    m_port->pause(0);
    m_port->pause(1);
    ASSERT_EQ(m_port->stepForward(), Error::None);
    // It may have played on for a moment in between.
    EXPECT_TRUE(m_platform.waitForNumberOrLater(held + 1));
    m_platform.forget();
    ASSERT_TRUE(m_platform.waitFor([](const Shown &) { return true; }));
    const int stepped = m_platform.shown().back().number;
    ASSERT_EQ(m_port->stepForward(), Error::None);
    EXPECT_TRUE(m_platform.waitForNumber(stepped + 1));
}

TEST_F(FilePlaybackTest, StepsExactlyAfterHighSpeed)
{
    play("long.mp4");
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(m_port->changeSpeed(1), Error::None);
    }
    ASSERT_TRUE(m_platform.waitFor([](const Shown &shown) { return shown.number > 200; }));
    m_port->pause(1);
    m_platform.forget();
    ASSERT_TRUE(m_platform.waitFor([](const Shown &) { return true; }));
    const int held = m_platform.shown().back().number;
    ASSERT_EQ(m_port->stepForward(), Error::None);
    EXPECT_TRUE(m_platform.waitForNumber(held + 1));
}

TEST_F(FilePlaybackTest, KeepsTheClockAtHighSpeed)
{
    play("long.mp4");
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(m_port->changeSpeed(1), Error::None);
    }
    EXPECT_EQ(m_port->changeSpeed(1), Error::Limit);
    const auto begun = std::chrono::steady_clock::now();
    ASSERT_TRUE(m_ends.waitFor(1));
    const auto took = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(took, 7000ms);  // 120 seconds of film at sixteen times the speed
    EXPECT_LE(took, 12000ms); // a busy machine is late; half the speed would take fifteen
}

TEST_F(FilePlaybackTest, SlowsDownToASixteenth)
{
    play("h264.mp4");
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(m_port->changeSpeed(-1), Error::None);
    }
    EXPECT_EQ(m_port->changeSpeed(-1), Error::Limit);
    // The first few may have been shown before the speed had changed.
    m_platform.forget();
    ASSERT_TRUE(m_platform.waitFor([](const Shown &) { return true; }));
    const int first = m_platform.shown().front().number;
    ASSERT_TRUE(m_platform.waitForNumberOrLater(first + 3));
    std::chrono::steady_clock::duration longest{};
    const std::vector<Shown> shown = m_platform.shown();
    for (std::size_t i = 0, since = 0; i < shown.size(); ++i) {
        since = shown[i].number == shown[since].number ? since : i;
        longest = std::max(longest, shown[i].moment - shown[since].moment);
    }
    EXPECT_GE(longest, 400ms); // a picture is there for 640 ms
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
    EXPECT_TRUE(m_platform.waitForNumber(GetParam().number));
    EXPECT_EQ(m_ends.count(), 0);
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
    play("h264.mp4");
    std::promise<Error> stopped;
    m_port->callbacks().draw.set([&, first = true](void *) mutable {
        if (std::exchange(first, false)) {
            stopped.set_value(m_port->stop());
        }
    });
    auto answer = stopped.get_future();
    ASSERT_EQ(answer.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(answer.get(), Error::None);
    EXPECT_EQ(m_port->stop(), Error::Order);
    EXPECT_EQ(m_port->play(nullptr), Error::None);
    m_port->callbacks().draw.set(nullptr);
}

TEST_F(FilePlaybackTest, ClosesFromInsideTheEndCallbackAndCanOpenTheNext)
{
    Counter closed;
    play("h264.mp4");
    m_port->callbacks().fileEnd.set([&] {
        m_port->closeFile();
        closed.add();
    });
    m_port->seek(3900);
    ASSERT_TRUE(closed.waitFor(1));
    m_port->callbacks().fileEnd.set(nullptr);
    play("h264.ts");
    EXPECT_TRUE(m_platform.waitForNumberOrLater(0));
    m_port->closeFile();
    // The thread that was ended from inside goes by itself.
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (m_platform.presenters() > 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
}

TEST_F(FilePlaybackTest, AnyCallOnItsOwnPortWorksFromInsideTheDrawCallback)
{
    Counter done;
    play("h264.mp4");
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
        done.add();
    });
    EXPECT_TRUE(done.waitFor(1));
    // Waits for the callback, which is about to return.
    m_port->callbacks().draw.set(nullptr);
}

TEST_F(FilePlaybackTest, DoesNotDrawAnyMoreOnceTheCallbackIsGone)
{
    Counter drawn;
    play("h264.mp4");
    m_port->callbacks().draw.set([&](void *) { drawn.add(); });
    ASSERT_TRUE(drawn.waitFor(5));
    m_port->callbacks().draw.set(nullptr);
    const int count = drawn.count();
    m_platform.forget();
    ASSERT_TRUE(m_platform.waitFor([](const Shown &) { return true; }));
    EXPECT_EQ(drawn.count(), count);
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
    EXPECT_EQ(m_port->stepBack(), Error::NoIndex);
    EXPECT_EQ(m_port->playSound(), Error::NoSound);
    std::vector<std::uint8_t> file;
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::NoPicture);
}

TEST_F(FilePlaybackTest, TheNextGoodFilePlaysAfterABadOne)
{
    EXPECT_EQ(m_port->openFile("no such file"), Error::Open);
    EXPECT_EQ(m_port->openFile(nullptr), Error::Argument);
    EXPECT_EQ(m_port->openFile(player::test::mediaPath("broken/no-index.mp4").c_str()), Error::Corrupt);
    play("h264.mp4");
    EXPECT_TRUE(m_platform.waitForNumberOrLater(3));
}

TEST_F(FilePlaybackTest, ShowsOnlyTheDisplayRegion)
{
    holdAt("h264.mp4", 0);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{320, 0, 400, 10}, false}), Error::Argument);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{10, 10, 10, 20}, false}), Error::Argument);
    ASSERT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, 200, 160, 100}, true}), Error::None);
    EXPECT_TRUE(m_platform.waitFor([](const Shown &s) {
        return s.region.left == 0 && s.region.top == 40 && s.region.right == 160 && s.region.bottom == 140;
    }));
    m_platform.forget();
    ASSERT_EQ(m_port->setDisplayRegion(std::nullopt), Error::None);
    EXPECT_TRUE(m_platform.waitFor([](const Shown &s) { return s.region.right == 320 && s.region.bottom == 240; }));
}

TEST_F(FilePlaybackTest, NineOfTheSameFilePlaySideBySide)
{
    std::vector<std::unique_ptr<Port>> ports;
    for (int i = 0; i < 9; ++i) {
        ports.push_back(std::make_unique<Port>(m_platform, i + 1, i + 1));
        ASSERT_EQ(ports.back()->openFile(clip("h264.mp4").path().c_str()), Error::None);
        ASSERT_EQ(ports.back()->play(m_platform.window()), Error::None);
    }
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (m_platform.presenters() < 9 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(m_platform.presenters(), 9);
    EXPECT_TRUE(m_platform.waitForNumberOrLater(10));
}

TEST_F(FilePlaybackTest, OpensPlaysSeeksAndStopsManyTimes)
{
    for (int round = 0; round < 40; ++round) {
        play(round % 2 == 0 ? "h264.mp4" : "mpeg2.ts");
        ASSERT_EQ(m_port->seek(static_cast<unsigned long>(round * 90)), Error::None);
        if (round % 3 == 0) {
            m_port->stepForward();
        }
        ASSERT_EQ(m_port->stop(), Error::None);
        ASSERT_EQ(m_port->closeFile(), Error::None);
    }
    EXPECT_EQ(m_platform.presenters(), 0);
}

} // namespace
