// Pushed streams through a port: which pictures are shown, and when.
#include "player/src/port/Port.h"
#include "player/tests/support/AnalysisRecording.h"
#include "player/tests/support/AwaitingClock.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PushedStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>

namespace
{

using namespace std::chrono_literals;
using player::DisplayRegion;
using player::Error;
using player::Moment;
using player::Port;
using player::test::AwaitingClock;
using player::test::Bytes;
using player::test::bytesOf;
using player::test::cut;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::mediaPath;
using player::test::PushedStream;
using player::test::Shown;

constexpr unsigned long kRealTime = 0;
constexpr unsigned long kByItsTimes = 1;

/** A camera sends a picture so often. */
constexpr auto kInterval = 40ms;
/** A picture is on the screen so soon, since none is shown sooner after another one or its redrawing. */
constexpr auto kShown = 10ms;

class LivePlaybackTest : public testing::Test
{
protected:
    void TearDown() override
    {
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    void open(const PushedStream &stream)
    {
        ASSERT_EQ(stream.openOn(*m_port, m_platform.window()), Error::None);
    }

    /** Pushes records as a camera does; each picture has to be on the screen before the next one comes. */
    void showEach(const PushedStream &stream, std::size_t from, std::size_t to)
    {
        for (std::size_t i = from; i < to; ++i) {
            m_clock.advance(kInterval - kShown);
            ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None) << i;
            m_clock.advance(kShown);
            ASSERT_TRUE(stream.records[i].number < 0 || m_platform.number() == stream.records[i].number) << i;
        }
    }

    Error sizeError() const
    {
        int width = 0;
        int height = 0;
        return m_port->pictureSize(width, height);
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 0, 0);
};

TEST_F(LivePlaybackTest, ShowsEachPictureAsSoonAsItsRecordHasCome)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 40);
    EXPECT_EQ(m_platform.numbers().size(), 40u);
}

TEST_F(LivePlaybackTest, DrawsTheAnalysisOfEachPictureOverItWhereTheHostWantsThat)
{
    constexpr long kAnalysis = 1;
    LiveOptions options;
    options.metadata = true;
    options.document = player::test::analysisDocument;
    const PushedStream stream = liveMatroska("h264.avi", options);
    open(stream);
    showEach(stream, 0, 20);
    for (const Shown &shown : m_platform.shown()) {
        EXPECT_TRUE(shown.labels.empty());
    }
    m_port->showPrivateData(kAnalysis, true);
    m_platform.forget();
    showEach(stream, 20, 60);
    EXPECT_GE(m_platform.shown().size(), 20U);
    for (const Shown &shown : m_platform.shown()) {
        if (shown.moment > m_clock.now() - 20 * kInterval) {
            EXPECT_EQ(shown.labels, std::vector<std::string>{std::to_string(shown.number)});
        }
    }
    m_port->showPrivateData(kAnalysis, false);
    m_platform.forget();
    showEach(stream, 60, 64);
    EXPECT_TRUE(m_platform.shown().back().labels.empty());
}

TEST_F(LivePlaybackTest, DrawsAnalysisThatComesBehindItsPictureWhileThatIsShown)
{
    LiveOptions options;
    options.metadata = true;
    options.document = player::test::analysisDocument;
    PushedStream stream = liveMatroska("h264.avi", options);
    for (std::size_t i = 0; i + 1 < stream.records.size(); i += 2) {
        std::swap(stream.records[i], stream.records[i + 1]);
    }
    open(stream);
    m_port->showPrivateData(0xff, true);
    for (std::size_t i = 0; i < 40; i += 2) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(kShown);
        ASSERT_EQ(m_platform.number(), stream.records[i].number) << "it waits for nothing";
        ASSERT_EQ(stream.push(*m_port, i + 1, i + 2), Error::None);
        m_clock.advance(kInterval - kShown);
        ASSERT_EQ(m_platform.number(), stream.records[i].number);
        EXPECT_EQ(m_platform.shown().back().labels, std::vector<std::string>{std::to_string(stream.records[i].number)});
    }
}

TEST_F(LivePlaybackTest, ShowsPicturesWhoseAnalysisMakesNoSense)
{
    LiveOptions options;
    options.metadata = true;
    options.document = [](int number) { return number % 2 == 0 ? "<!DOCTYPE a>" : std::string(300000, '<'); };
    const PushedStream stream = liveMatroska("h264.avi", options);
    open(stream);
    m_port->showPrivateData(0xff, true);
    testing::internal::CaptureStderr();
    showEach(stream, 0, 40);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    EXPECT_EQ(m_platform.numbers().size(), 20U);
}

struct FirstPicture {
    const char *file;
    /** Pictures that have to come besides the first, for the order of showing. */
    int reordered;
};

void PrintTo(const FirstPicture &first, std::ostream *pStream)
{
    *pStream << first.file;
}

class TheFirstPicture : public LivePlaybackTest, public testing::WithParamInterface<FirstPicture>
{
};

TEST_P(TheFirstPicture, IsShownWhenItHasComeAndNothingElseIsWaitedFor)
{
    const PushedStream stream = liveMatroska(GetParam().file);
    open(stream);
    ASSERT_EQ(stream.push(*m_port, 0, 1 + static_cast<std::size_t>(GetParam().reordered)), Error::None);
    m_clock.settle();
    // Pictures that come out together overtake the first.
    EXPECT_GE(m_platform.number(), 0);
    EXPECT_LE(m_platform.number(), 1);
}

INSTANTIATE_TEST_SUITE_P(Codecs, TheFirstPicture,
                         testing::Values(FirstPicture{"h264.avi", 0}, FirstPicture{"slow.mkv", 0},
                                         FirstPicture{"h264.mp4", 2}, FirstPicture{"h265.mp4", 2},
                                         FirstPicture{"mjpeg-g722.mkv", 0}, FirstPicture{"mpeg4.avi", 0},
                                         FirstPicture{"mpeg4.mkv", 2}, FirstPicture{"av1.mkv", 0},
                                         FirstPicture{"vp8.mkv", 0}, FirstPicture{"vp9.mkv", 0},
                                         FirstPicture{"bench-1080p.mp4", 3}),
                         [](const auto &row) { return player::test::testName(row.param.file); });

class EveryCodecByItsTimes : public LivePlaybackTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(EveryCodecByItsTimes, ShowsEveryPictureInOrder)
{
    const PushedStream stream = liveMatroska(GetParam());
    m_port->setOpenMode(kByItsTimes);
    open(stream);
    ASSERT_EQ(stream.pushAll(*m_port), Error::None);
    m_clock.advance(5s);
    const auto changes = m_platform.changes();
    ASSERT_GE(changes.size(), 48u);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        EXPECT_EQ(changes[i].number, static_cast<int>(i));
        const auto late = changes[i].moment - changes[0].moment - i * kInterval;
        EXPECT_GE(late, 0ms) << i;
        EXPECT_LE(late, kShown) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, EveryCodecByItsTimes,
                         testing::Values("h264.mp4", "h265.mp4", "mjpeg.mov", "mpeg4.mp4", "av1.mp4", "vp8.mkv",
                                         "vp9.mkv", "mpeg2.mkv", "mpeg1.mkv", "msmpeg4v3.mkv"),
                         [](const auto &row) { return player::test::testName(row.param); });

struct Container {
    const char *file;
    std::size_t recordSize;
    /** The last picture that comes out while the stream has not ended. */
    int last;
};

void PrintTo(const Container &container, std::ostream *pStream)
{
    *pStream << container.file << " in " << container.recordSize;
}

class EveryContainer : public LivePlaybackTest, public testing::WithParamInterface<Container>
{
};

TEST_P(EveryContainer, IsReadWithoutSeeking)
{
    const PushedStream stream = cut(bytesOf(mediaPath(GetParam().file)), GetParam().recordSize);
    open(stream);
    ASSERT_EQ(stream.pushAll(*m_port), Error::None);
    m_clock.advance(kShown);
    EXPECT_EQ(m_platform.number(), GetParam().last);
    const auto shown = m_platform.numbers();
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_GE(shown.front(), 0);
}

INSTANTIATE_TEST_SUITE_P(Files, EveryContainer,
                         testing::Values(Container{"live.mkv", 1000, 97}, Container{"live.mkv", 100000, 97},
                                         Container{"h264.ts", 188, 95}, Container{"h264.ts", 1316, 95},
                                         Container{"h265.ts", 1316, 95}, Container{"mpeg2.ts", 1316, 96},
                                         Container{"mpeg4.ts", 1316, 96}, Container{"start-1h.ts", 1316, 95},
                                         Container{"mpeg2.mpg", 2048, 97}, Container{"mpeg1.mpg", 2048, 97},
                                         Container{"h264.mpg", 2048, 96}, Container{"h264.flv", 1000, 97},
                                         Container{"h264-alaw.flv", 1000, 97}, Container{"fragmented.mp4", 1000, 97},
                                         Container{"raw.h264", 1000, 96}, Container{"raw.h265", 1000, 96}),
                         [](const auto &row) {
                             return player::test::testName(row.param.file) + "_" + std::to_string(row.param.recordSize);
                         });

TEST_F(LivePlaybackTest, DoesNotWaitForSoundOrMetadata)
{
    LiveOptions options;
    options.sound = true;
    options.metadata = true;
    const PushedStream stream = liveMatroska("h264.avi", options);
    open(stream);
    showEach(stream, 0, 40);
}

TEST_F(LivePlaybackTest, OpeningNeedsAHeaderAndNothingElse)
{
    const std::uint8_t byte = 1;
    EXPECT_EQ(m_port->openStream(nullptr, 1, 1000), Error::Argument);
    EXPECT_EQ(m_port->openStream(&byte, 0, 1000), Error::Argument);
    EXPECT_EQ(m_port->openStream(&byte, 1, 1000), Error::None);
    EXPECT_EQ(m_port->openStream(&byte, 1, 1000), Error::Order);
    EXPECT_EQ(m_port->openFile(mediaPath("h264.mp4").c_str()), Error::Order);
    EXPECT_EQ(m_port->closeFile(), Error::Order);
    EXPECT_EQ(m_port->closeStream(), Error::None);
    EXPECT_EQ(m_port->closeStream(), Error::Order);
}

TEST_F(LivePlaybackTest, InputNeedsAnOpenStreamAndData)
{
    const std::uint8_t byte = 1;
    EXPECT_EQ(m_port->inputData(&byte, 1), Error::Order);
    EXPECT_EQ(m_port->inputData(nullptr, 1), Error::Argument);
    EXPECT_EQ(m_port->inputData(&byte, 0), Error::Argument);
    ASSERT_EQ(m_port->openFile(mediaPath("h264.mp4").c_str()), Error::None);
    EXPECT_EQ(m_port->inputData(&byte, 1), Error::Order);
    EXPECT_EQ(m_port->closeStream(), Error::Order);
}

TEST_F(LivePlaybackTest, BeforeTheFirstPictureNothingIsKnownAndNothingFails)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    std::vector<std::uint8_t> file;
    std::int64_t time = 0;
    unsigned long seconds = 9;
    EXPECT_EQ(sizeError(), Error::NoPicture);
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::NoPicture);
    EXPECT_EQ(m_port->timeOnDisplay(time), Error::NoPicture);
    EXPECT_EQ(m_port->playedSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 0u);
    m_port->showPrivateData(0xff, false);
    EXPECT_EQ(m_port->setDisplayBuffers(6), Error::None);
    showEach(stream, 0, 1);
    EXPECT_EQ(sizeError(), Error::None);
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::None);
    EXPECT_EQ(m_port->timeOnDisplay(time), Error::None);
}

TEST_F(LivePlaybackTest, WhatOnlyAFileCanDoIsInTheWrongOrder)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 2);
    unsigned long seconds = 0;
    std::int64_t first = 0;
    std::int64_t last = 0;
    EXPECT_EQ(m_port->changeSpeed(1), Error::Order);
    EXPECT_EQ(m_port->changeSpeed(-1), Error::Order);
    EXPECT_EQ(m_port->stepForward(), Error::Order);
    EXPECT_EQ(m_port->stepBack(), Error::Order);
    EXPECT_EQ(m_port->seek(0), Error::Order);
    EXPECT_EQ(m_port->lengthSeconds(seconds), Error::Order);
    EXPECT_EQ(m_port->recordingTimes(first, last), Error::Order);
    showEach(stream, 2, 4);
}

TEST_F(LivePlaybackTest, ASenselessHeaderShowsAtTheGettersAndAtTheInput)
{
    const Bytes header(300, 0x33);
    const Bytes data(70000, 0x44);
    ASSERT_EQ(m_port->openStream(header.data(), header.size(), 5242880), Error::None);
    ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    ASSERT_EQ(player::test::push(*m_port, data), Error::None);
    m_clock.settle();
    EXPECT_EQ(sizeError(), Error::Corrupt);
    std::vector<std::uint8_t> file;
    std::int64_t time = 0;
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::Corrupt);
    EXPECT_EQ(m_port->timeOnDisplay(time), Error::Corrupt);
    EXPECT_EQ(player::test::push(*m_port, data), Error::Corrupt);
    EXPECT_EQ(m_port->stop(), Error::None);
    EXPECT_EQ(m_port->closeStream(), Error::None);
    // The port is as good as new.
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 3);
}

TEST_F(LivePlaybackTest, HalfAHeaderWaitsForItsOtherHalf)
{
    PushedStream stream = liveMatroska("h264.avi");
    const Bytes whole = stream.header;
    stream.header.resize(whole.size() / 2);
    open(stream);
    m_clock.advance(1s);
    EXPECT_EQ(sizeError(), Error::NoPicture);
    ASSERT_EQ(
        player::test::push(*m_port, Bytes(whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2), whole.end())),
        Error::None);
    showEach(stream, 0, 5);
}

TEST_F(LivePlaybackTest, StopsAndClosesAtOnceWhileItWaitsForData)
{
    const PushedStream stream = liveMatroska("h264.avi");
    const Moment begun = m_clock.now();
    for (const std::size_t size : {std::size_t{1}, stream.header.size() / 2, stream.header.size()}) {
        ASSERT_EQ(m_port->openStream(stream.header.data(), size, 1000), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
        EXPECT_EQ(m_port->stop(), Error::None);
        EXPECT_EQ(m_port->closeStream(), Error::None);
        ASSERT_EQ(m_port->openStream(stream.header.data(), size, 1000), Error::None);
        EXPECT_EQ(m_port->closeStream(), Error::None);
    }
    EXPECT_EQ(m_clock.now(), begun);
}

TEST_F(LivePlaybackTest, AFullBufferRefusesAtOnceAndTakesAgainLater)
{
    // By the stream's clock decoding waits for the window, which nobody has given yet.
    const PushedStream stream = liveMatroska("h264.avi");
    m_port->setOpenMode(kByItsTimes);
    ASSERT_EQ(m_port->setDisplayBuffers(1), Error::None);
    ASSERT_EQ(m_port->openStream(stream.header.data(), stream.header.size(), 40000), Error::None);
    std::size_t taken = 0;
    std::size_t bytes = 0;
    Error error = Error::None;
    while (taken < stream.records.size()) {
        error = stream.push(*m_port, taken, taken + 1);
        m_clock.settle();
        if (error != Error::None) {
            break;
        }
        bytes += stream.records[taken++].bytes.size();
    }
    ASSERT_EQ(error, Error::BufferFull);
    EXPECT_LT(bytes, 40000u + 2 * 65536u);
    ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    EXPECT_TRUE(m_clock.advanceUntil([&] { return stream.push(*m_port, taken, taken + 1) == Error::None; }));
}

TEST_F(LivePlaybackTest, ARecordLargerThanTheBufferIsRefusedAndTheStreamGoesOn)
{
    const PushedStream stream = liveMatroska("h264.avi");
    ASSERT_EQ(stream.openOn(*m_port, m_platform.window(), 20000), Error::None);
    showEach(stream, 0, 10);
    EXPECT_EQ(player::test::push(*m_port, Bytes(20001)), Error::BufferFull);
    for (std::size_t i = 10; i < 25; ++i) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.settle();
    }
    showEach(stream, 25, 30);
}

TEST_F(LivePlaybackTest, AfterABurstTheNewestPictureIsOnTheScreen)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 5);
    ASSERT_EQ(stream.push(*m_port, 5, 100), Error::None);
    m_clock.advance(kShown);
    EXPECT_EQ(m_platform.number(), 99);
    const auto shown = m_platform.numbers();
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
}

TEST_F(LivePlaybackTest, ShowsEachPictureAtOnceHoweverSoonItComesAfterTheOneBefore)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    for (std::size_t i = 0; i < 40; ++i) {
        m_clock.advance(i % 2 == 0 ? 77ms : 3ms);
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.settle();
        ASSERT_EQ(m_platform.number(), stream.records[i].number);
    }
}

TEST_F(LivePlaybackTest, ShowsAPictureAtOnceThatComesSoonAfterADrawingAnew)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 2);
    m_clock.advance(200ms);
    for (std::size_t i = 2; i < 12; ++i) {
        const std::size_t before = m_platform.shown().size();
        ASSERT_TRUE(m_clock.advanceUntil([&] { return m_platform.shown().size() > before; }));
        m_clock.advance(2ms);
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.settle();
        ASSERT_EQ(m_platform.number(), stream.records[i].number);
    }
}

TEST_F(LivePlaybackTest, ANewRegionIsNotShownSoonerThanAnybodyCanSee)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 2);
    m_clock.advance(5ms);
    m_platform.forget();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, 0, 100 + i, 100}, false}), Error::None);
        m_clock.advance(1ms);
    }
    EXPECT_GE(m_platform.shown().size(), 9u);
    EXPECT_LE(m_platform.shown().size(), 11u);
}

TEST_F(LivePlaybackTest, ASlowWindowLosesPicturesAndNeverFallsBehind)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    m_port->callbacks().draw.set([&](void *) { m_clock.spend(100ms); });
    std::map<int, Moment> pushed;
    for (std::size_t i = 0; i < 60; ++i) {
        pushed[stream.records[i].number] = m_clock.now();
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(kInterval);
    }
    m_clock.advance(200ms);
    m_port->callbacks().draw.set(nullptr);
    EXPECT_EQ(m_platform.number(), 59);
    const auto changes = m_platform.changes();
    for (const Shown &shown : changes) {
        // At most one drawing of the picture before it and its own. Falling behind would add sixty milliseconds each.
        EXPECT_LE(shown.moment - pushed[shown.number], 200ms) << shown.number;
    }
    EXPECT_LT(changes.size(), 30u);
}

TEST_F(LivePlaybackTest, HoldsItsPictureWhilePausedAndGoesOnAtTheNewestKeyPicture)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 10);
    ASSERT_EQ(m_port->pause(1), Error::None);
    for (std::size_t i = 10; i < 60; ++i) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(kInterval);
    }
    EXPECT_EQ(m_platform.number(), 9);
    m_platform.forget();
    ASSERT_EQ(m_port->pause(0), Error::None);
    // Without anything new having come.
    m_clock.advance(kShown);
    EXPECT_EQ(m_platform.number(), 59);
    for (const int number : m_platform.numbers()) {
        EXPECT_TRUE(number == 9 || number >= 50) << number;
    }
    showEach(stream, 60, 65);
}

TEST_F(LivePlaybackTest, PlayingGoesOnAfterAPauseInTheSameWindow)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 3);
    m_port->pause(1);
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    showEach(stream, 3, 6);
}

TEST_F(LivePlaybackTest, AStoppedPortTakesNothingAndBeginsAnewAtAKeyPicture)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 10);
    ASSERT_EQ(m_port->stop(), Error::None);
    EXPECT_EQ(m_port->stop(), Error::Order);
    EXPECT_EQ(m_port->pause(1), Error::Order);
    EXPECT_EQ(stream.push(*m_port, 10, 11), Error::Order);
    std::vector<std::uint8_t> file;
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::NoPicture);
    m_platform.forget();
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    ASSERT_EQ(stream.push(*m_port, 11, 25), Error::None);
    showEach(stream, 25, 30);
    EXPECT_EQ(m_platform.numbers().front(), 25);
}

TEST_F(LivePlaybackTest, RedrawsItsPictureAtTwentyFiveHertzOrBetterWhenNothingComes)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 2);
    m_clock.advance(100ms);
    m_platform.forget();
    m_clock.advance(1s);
    const auto shown = m_platform.shown();
    EXPECT_GE(shown.size(), 25u);
    for (std::size_t i = 1; i < shown.size(); ++i) {
        EXPECT_LE(shown[i].moment - shown[i - 1].moment, 40ms);
    }
}

TEST_F(LivePlaybackTest, ARegionThatWasSetBeforeTheFirstPictureIsInForceWithIt)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{10, 10, 10, 20}, false}), Error::Argument);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{20, 10, 10, 20}, false}), Error::Argument);
    ASSERT_EQ(m_port->setDisplayRegion(DisplayRegion{{0, 200, 160, 100}, true}), Error::None);
    showEach(stream, 0, 1);
    const Shown first = m_platform.shown().front();
    EXPECT_EQ(first.region.top, 40);
    EXPECT_EQ(first.region.right, 160);
    EXPECT_EQ(m_port->setDisplayRegion(DisplayRegion{{320, 0, 400, 10}, false}), Error::Argument);
}

TEST_F(LivePlaybackTest, ARegionOutsideThePictureThatCameShowsAllOfIt)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    ASSERT_EQ(m_port->setDisplayRegion(DisplayRegion{{1000, 1000, 1200, 1100}, false}), Error::None);
    showEach(stream, 0, 1);
    EXPECT_EQ(m_platform.shown().front().region.right, 320);
}

TEST_F(LivePlaybackTest, TellsTheTimeThatTheDeviceStampedOnThePictureOnDisplay)
{
    LiveOptions options;
    options.captured = 1700000000000000;
    const PushedStream stream = liveMatroska("mjpeg.mov", options);
    open(stream);
    for (std::size_t i = 0; i < 5; ++i) {
        showEach(stream, i, i + 1);
        std::int64_t time = 0;
        ASSERT_EQ(m_port->timeOnDisplay(time), Error::None);
        EXPECT_NEAR(static_cast<double>(time), static_cast<double>(options.captured + std::int64_t(i) * 40000), 1000.0);
    }
}

class TimesJumpWhilePaced : public LivePlaybackTest, public testing::WithParamInterface<std::int64_t>
{
};

TEST_P(TimesJumpWhilePaced, GoesOnAtOnce)
{
    LiveOptions options;
    options.jumpAt = 20;
    options.jump = GetParam();
    const PushedStream stream = liveMatroska("h264.avi", options);
    m_port->setOpenMode(kByItsTimes);
    open(stream);
    ASSERT_EQ(stream.pushAll(*m_port), Error::None);
    m_clock.advance(4s);
    const auto changes = m_platform.changes();
    ASSERT_GE(changes.size(), 90u);
    EXPECT_LE(changes[21].moment - changes[20].moment, kInterval + kShown);
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, TimesJumpWhilePaced, testing::Values(-700, 3600000));

TEST_F(LivePlaybackTest, ClosesFromInsideTheDrawCallback)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    std::atomic<int> closed{0};
    m_port->callbacks().draw.set([&](void *) { closed += m_port->closeStream() == Error::None ? 1 : 0; });
    ASSERT_EQ(stream.push(*m_port, 0, 1), Error::None);
    m_clock.settle();
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(m_platform.presenters(), 0);
    m_port->callbacks().draw.set(nullptr);
    EXPECT_EQ(stream.push(*m_port, 1, 2), Error::Order);
}

TEST_F(LivePlaybackTest, IsShownByTheThreadThatDecodedItWhereNothingWaits)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    // How soon the pictures come is not known at first, so that they are drawn anew in between.
    showEach(stream, 0, 5);
    m_platform.forget();
    showEach(stream, 5, 25);
    const auto changes = m_platform.changes();
    m_platform.forget();
    m_clock.advance(300ms);
    const auto redrawn = m_platform.shown();
    ASSERT_EQ(changes.size(), 20u);
    ASSERT_FALSE(redrawn.empty());
    for (const Shown &shown : changes) {
        EXPECT_EQ(shown.thread, changes.front().thread) << shown.number;
    }
    // The other thread is there for the pictures that are shown for long.
    EXPECT_NE(redrawn.front().thread, changes.front().thread);
}

TEST_F(LivePlaybackTest, WakesHardlyMoreThanOneThreadForEachPicture)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 5);
    const int before = m_clock.wakes();
    showEach(stream, 5, 65);
    EXPECT_LE(m_clock.wakes() - before, 95);
}

TEST_F(LivePlaybackTest, LeavesASlowDrawCallbackToTheOtherThreadAndTakesTheQuickOneBack)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    std::chrono::milliseconds effort{0};
    m_port->callbacks().draw.set([&](void *) { m_clock.spend(effort); });
    showEach(stream, 0, 2);
    const auto decoding = m_platform.shown().front().thread;
    effort = 15ms;
    for (std::size_t i = 2; i < 6; ++i) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(kInterval);
    }
    EXPECT_NE(m_platform.changes().back().thread, decoding);
    effort = 0ms;
    for (std::size_t i = 6; i < 9; ++i) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(kInterval);
    }
    EXPECT_EQ(m_platform.changes().back().thread, decoding);
    EXPECT_EQ(m_platform.numbers().size(), 9u);
    m_port->callbacks().draw.set(nullptr);
}

TEST_F(LivePlaybackTest, StoppingWaitsForTheDrawCallbackWhateverThreadItRunsOn)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    std::atomic<bool> begun{false};
    std::atomic<bool> ended{false};
    m_port->callbacks().draw.set([&](void *) {
        begun = true;
        m_clock.spend(1s);
        ended = true;
    });
    ASSERT_EQ(stream.push(*m_port, 0, 1), Error::None);
    m_clock.settle();
    ASSERT_TRUE(begun);
    ASSERT_FALSE(ended);
    EXPECT_EQ(m_port->stop(), Error::None);
    EXPECT_TRUE(ended);
    EXPECT_EQ(m_platform.presenters(), 0);
    m_port->callbacks().draw.set(nullptr);
}

TEST_F(LivePlaybackTest, StopsFromInsideTheDrawCallbackAndPlaysAgain)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    std::atomic<int> stopped{0};
    m_port->callbacks().draw.set([&](void *) { stopped += m_port->stop() == Error::None ? 1 : 0; });
    ASSERT_EQ(stream.push(*m_port, 0, 1), Error::None);
    m_clock.settle();
    EXPECT_EQ(stopped, 1);
    EXPECT_EQ(m_platform.presenters(), 0);
    m_port->callbacks().draw.set(nullptr);
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    showEach(stream, 25, 30);
}

TEST_F(LivePlaybackTest, PresentsNothingInAWindowThatCannotBeSeenAndTheNewestPictureWhenItCan)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    showEach(stream, 0, 5);
    std::atomic<int> drawn{0};
    m_port->callbacks().draw.set([&](void *) { ++drawn; });
    m_platform.setSeen(false);
    m_platform.forget();
    for (std::size_t i = 5; i < 30; ++i) {
        ASSERT_EQ(stream.push(*m_port, i, i + 1), Error::None);
        m_clock.advance(kInterval);
    }
    EXPECT_EQ(drawn, 0);
    EXPECT_TRUE(m_platform.shown().empty());
    // The stream went on: captures see its newest picture.
    std::vector<std::uint8_t> file;
    unsigned long seconds = 0;
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::None);
    EXPECT_EQ(m_port->playedSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 1u);
    m_platform.setSeen(true);
    m_clock.advance(kInterval);
    EXPECT_EQ(m_platform.number(), 29);
    EXPECT_GE(drawn, 1);
    showEach(stream, 30, 35);
    m_port->callbacks().draw.set(nullptr);
}

TEST_F(LivePlaybackTest, APausedPictureIsThereWhenItsWindowCanBeSeenAgain)
{
    const PushedStream stream = liveMatroska("h264.avi");
    open(stream);
    m_platform.setSeen(false);
    ASSERT_EQ(stream.push(*m_port, 0, 5), Error::None);
    m_clock.advance(kInterval);
    ASSERT_EQ(m_port->pause(1), Error::None);
    m_clock.advance(10s);
    EXPECT_TRUE(m_platform.shown().empty());
    m_platform.setSeen(true);
    m_clock.advance(kInterval);
    EXPECT_EQ(m_platform.number(), 4);
}

// On the computer's own clock, since the test's takes locks that would hide a race.
TEST(LivePlaybackInRealTime, EndsFromInsideItsDrawCallback)
{
    AwaitingClock clock;
    FakePlatform platform(clock);
    Port port(platform, 0, 0);
    const PushedStream stream = liveMatroska("h264.avi");
    std::atomic<bool> ended{false};
    for (int round = 0; round < 60; ++round) {
        ended = false;
        port.callbacks().draw.set([&, round](void *) {
            static_cast<void>(round % 2 == 0 ? port.stop() : port.closeStream());
            ended = true;
        });
        ASSERT_EQ(stream.openOn(port, platform.window()), Error::None);
        for (std::size_t i = 0; !ended; i = (i + 1) % stream.records.size()) {
            static_cast<void>(stream.push(port, i, i + 1));
            std::this_thread::yield();
        }
        if (round % 4 == 0) {
            port.play(nullptr);
        }
        port.closeStream();
    }
    port.callbacks().draw.set(nullptr);
    clock.awaitThreads();
    EXPECT_EQ(platform.presenters(), 0);
}

// On the computer's own clock, since the test's takes locks that would hide a race.
TEST(LivePlaybackInRealTime, EndsAtAnyMomentWhileThreeThreadsUseIt)
{
    AwaitingClock clock;
    FakePlatform platform(clock);
    Port port(platform, 0, 0);
    const PushedStream stream = liveMatroska("h264.avi");
    std::atomic<bool> over{false};
    port.callbacks().draw.set([&](void *) {
        int width = 0;
        int height = 0;
        port.pictureSize(width, height);
    });
    std::thread feeder([&] {
        for (std::size_t i = 0; !over; i = (i + 1) % stream.records.size()) {
            static_cast<void>(stream.push(port, i, i + 1));
        }
    });
    std::thread asker([&] {
        std::vector<std::uint8_t> file;
        std::int64_t time = 0;
        unsigned long seconds = 0;
        for (unsigned long round = 0; !over; ++round) {
            port.pause(round % 2);
            port.setDisplayRegion(DisplayRegion{{0, 0, 100, 100}, false});
            port.jpeg(player::PixelRect{0, 0, 32, 32}, 50, file);
            port.timeOnDisplay(time);
            port.playedSeconds(seconds);
            port.setDisplayBuffers(1 + round % 6);
        }
    });
    int played = 0;
    for (int round = 0; round < 150; ++round) {
        port.setOpenMode(round % 5 == 0 ? kByItsTimes : kRealTime);
        const std::size_t size = round % 7 == 0 ? stream.header.size() / 2 : stream.header.size();
        ASSERT_EQ(port.openStream(stream.header.data(), size, 30000), Error::None);
        played += port.play(platform.window()) == Error::None ? 1 : 0;
        if (round % 3 == 0) {
            // Long enough for a picture or two on most machines; on others the round is like those without it.
            std::this_thread::sleep_for(5ms);
        }
        if (round % 4 == 0) {
            port.stop();
            port.play(nullptr);
        }
        if (round % 2 == 0) {
            port.stop();
        }
        ASSERT_EQ(port.closeStream(), Error::None);
    }
    over = true;
    feeder.join();
    asker.join();
    port.callbacks().draw.set(nullptr);
    EXPECT_EQ(played, 150);
}

} // namespace
