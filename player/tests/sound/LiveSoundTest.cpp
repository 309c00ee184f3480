// The sound of pushed streams through a port: what is heard, how loud, and when.
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PushedStream.h"
#include "tests/support/SoundMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::Moment;
using player::Port;
using player::test::Bytes;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::FakeSpeaker;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::mediaPath;
using player::test::PushedStream;
using player::test::Record;
using std::chrono::milliseconds;
using testsupport::clicksIn;
using testsupport::frequencyOf;
using testsupport::levelOf;
using testsupport::soundingOf;

/** The sine in every clip, and how loud it is where it is not shared out between two channels. */
constexpr double kHertz = 440;
constexpr double kMonoLevel = 0.125;
constexpr double kStereoLevel = 0.0884;

PushedStream withSound(const char *file)
{
    LiveOptions options;
    options.sound = true;
    return liveMatroska(file, options);
}

/** When a camera can send a record: a picture at its time, sound when its last sample was taken. */
milliseconds sentAt(const Record &record)
{
    return milliseconds(record.number < 0 ? record.time + record.duration : record.time);
}

class LiveSoundTest : public testing::Test
{
protected:
    void TearDown() override
    {
        m_other->close();
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
        EXPECT_EQ(m_platform.speaker().outputs(), 0);
    }

    void open(const PushedStream &stream)
    {
        m_pStream = &stream;
        ASSERT_EQ(stream.openOn(*m_port, m_platform.window()), Error::None);
        m_zero = m_clock.now();
        m_sent.assign(stream.records.size(), false);
    }

    void openAndListen(const PushedStream &stream)
    {
        open(stream);
        ASSERT_EQ(m_port->playSound(), Error::None);
    }

    /** The camera goes on up to a time of the stream. */
    void playUpTo(milliseconds time)
    {
        std::vector<std::pair<milliseconds, std::size_t>> order;
        milliseconds latestPicture{};
        for (std::size_t i = 0; i < m_sent.size(); ++i) {
            const Record &record = m_pStream->records[i];
            // Pictures are sent in the order of their coding.
            latestPicture = record.number < 0 ? latestPicture : std::max(latestPicture, sentAt(record));
            const milliseconds at = record.number < 0 ? sentAt(record) + m_soundLate : latestPicture;
            if (!m_sent[i] && at <= time) {
                order.emplace_back(at, i);
            }
        }
        std::sort(order.begin(), order.end());
        for (const auto &[at, place] : order) {
            goTo(m_zero + at);
            m_sent[place] = true;
            static_cast<void>(player::test::push(*m_port, m_pStream->records[place].bytes));
        }
        goTo(m_zero + time);
    }

    void goTo(Moment moment)
    {
        if (moment > m_clock.now()) {
            m_clock.advance(std::chrono::duration_cast<std::chrono::microseconds>(moment - m_clock.now()));
        }
    }

    [[nodiscard]] std::vector<float> heard(milliseconds from, milliseconds to)
    {
        return m_platform.speaker().heard(m_zero + from, to - from);
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 0, 0);
    std::shared_ptr<Port> m_other = std::make_shared<Port>(m_platform, 1, 1);
    const PushedStream *m_pStream = nullptr;
    Moment m_zero;
    std::vector<bool> m_sent;
    milliseconds m_soundLate{0};
};

struct Codec {
    const char *file;
    double level;
};

void PrintTo(const Codec &codec, std::ostream *pStream)
{
    *pStream << codec.file;
}

class EverySoundCodec : public LiveSoundTest, public testing::WithParamInterface<Codec>
{
};

TEST_P(EverySoundCodec, IsHeardAtItsPitchAndItsLevelWithoutAGap)
{
    const PushedStream stream = withSound(GetParam().file);
    openAndListen(stream);
    playUpTo(2900ms);
    const std::vector<float> second = heard(1500ms, 2500ms);
    EXPECT_NEAR(frequencyOf(second), kHertz, 3);
    EXPECT_NEAR(levelOf(second), GetParam().level, GetParam().level * 0.06);
    // A sine is close to nought for a few samples in each turn; a gap is longer.
    for (std::size_t at = 0; at + 480 <= second.size(); at += 480) {
        const std::vector<float> part(second.begin() + static_cast<std::ptrdiff_t>(at),
                                      second.begin() + static_cast<std::ptrdiff_t>(at + 480));
        EXPECT_GT(levelOf(part), GetParam().level * 0.7) << at;
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, EverySoundCodec,
                         testing::Values(Codec{"h264.mp4", kStereoLevel}, Codec{"mpeg2.mp4", kStereoLevel},
                                         Codec{"h264.avi", kStereoLevel}, Codec{"av1.mkv", kMonoLevel},
                                         Codec{"h264-alaw.mkv", kMonoLevel}, Codec{"h265-mulaw.mkv", kMonoLevel},
                                         Codec{"mpeg2.mkv", kMonoLevel}, Codec{"h264.mov", kMonoLevel},
                                         Codec{"mjpeg-g722.mkv", kMonoLevel}, Codec{"h264-g726.mkv", kMonoLevel},
                                         Codec{"vp8.mkv", kStereoLevel}),
                         [](const auto &row) { return player::test::testName(row.param.file); });

/** The clip with a flash and a click at each full second, over a quiet hum. */
constexpr const char *kFlashAndClick = "flash-click.mkv";
constexpr int kPicturesPerSecond = 25;
constexpr float kClick = 0.3F;
/** Of the clip's twenty seconds. */
constexpr double kHum = 0.05;

class FlashAndClick : public LiveSoundTest
{
protected:
    /** How much later than its flash each click was heard, in milliseconds, in that span of the stream. */
    std::vector<double> lags(std::chrono::seconds from, std::chrono::seconds to)
    {
        std::vector<double> lags;
        const std::vector<double> clicks = clicksIn(heard(from - 500ms, to + 500ms), kClick);
        for (const auto &shown : m_platform.changes()) {
            const auto since = shown.moment - (m_zero + from - 500ms);
            const double at = std::chrono::duration<double>(since).count();
            if (shown.number % kPicturesPerSecond != 0 || at < 0 ||
                at > static_cast<double>((to - from).count()) + 0.9) {
                continue;
            }
            const auto click = std::min_element(clicks.begin(), clicks.end(), [&](double left, double right) {
                return std::fabs(left - at) < std::fabs(right - at);
            });
            lags.push_back(click == clicks.end() ? 1e6 : (*click - at) * 1000);
        }
        return lags;
    }

    void expectInStep(std::chrono::seconds from, std::chrono::seconds to)
    {
        const std::vector<double> all = lags(from, to);
        EXPECT_GE(all.size(), static_cast<std::size_t>((to - from).count()));
        for (const double lag : all) {
            EXPECT_LE(std::fabs(lag), 80) << "ms";
        }
    }

    /** The hum is heard in each hundredth of a second of that span. */
    void expectNoGap(milliseconds from, milliseconds to)
    {
        for (milliseconds at = from; at < to; at += 10ms) {
            EXPECT_GT(levelOf(heard(at, at + 10ms)), kHum / 2) << at.count();
        }
    }

    const PushedStream m_clip = withSound(kFlashAndClick);
};

TEST_F(FlashAndClick, AreWithinEightyMilliseconds)
{
    openAndListen(m_clip);
    playUpTo(6500ms);
    expectInStep(1s, 6s);
    expectNoGap(1s, 6s);
}

TEST_F(FlashAndClick, StayInStepOnADeviceThatIsTooFast)
{
    m_platform.speaker().setDrift(4000);
    openAndListen(m_clip);
    playUpTo(19900ms);
    expectInStep(1s, 19s);
    expectNoGap(1s, 19s);
}

TEST_F(FlashAndClick, StayInStepOnADeviceThatIsTooSlow)
{
    m_platform.speaker().setDrift(-4000);
    openAndListen(m_clip);
    playUpTo(19900ms);
    expectInStep(1s, 19s);
    expectNoGap(1s, 19s);
}

TEST_F(FlashAndClick, SoundThatHasBeenLateIsBackInStepWhenItComesInTimeAgain)
{
    m_soundLate = 300ms;
    openAndListen(m_clip);
    playUpTo(4500ms);
    const std::vector<double> late = lags(2s, 4s);
    ASSERT_FALSE(late.empty());
    EXPECT_GT(late.front(), 250);
    m_soundLate = 0ms;
    playUpTo(10500ms);
    expectInStep(7s, 10s);
}

TEST_F(FlashAndClick, AfterAStandstillOfTheNetworkSoundAndPicturesGoOnTogether)
{
    openAndListen(m_clip);
    playUpTo(3200ms);
    // What was sent meanwhile comes at once.
    m_clock.advance(700ms);
    playUpTo(9500ms);
    expectInStep(6s, 9s);
}

TEST_F(FlashAndClick, SoundThatComesEarlyWaitsForItsPictures)
{
    openAndListen(m_clip);
    m_soundLate = -200ms;
    playUpTo(6500ms);
    expectInStep(3s, 6s);
}

TEST_F(LiveSoundTest, OnlyThePortThatWasToldSounds)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    open(stream);
    playUpTo(1000ms);
    EXPECT_EQ(m_platform.speaker().opened(), 0);
    EXPECT_EQ(m_port->playSound(), Error::None);
    playUpTo(2000ms);
    EXPECT_GT(soundingOf(heard(1500ms, 2000ms)), 20000u);
}

TEST_F(LiveSoundTest, AnotherPortTakesOverAndTheFirstIsSilent)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    openAndListen(stream);
    playUpTo(1000ms);
    ASSERT_EQ(stream.openOn(*m_other, m_platform.window()), Error::None);
    ASSERT_EQ(stream.push(*m_other, 0, 1), Error::None);
    m_clock.settle();
    ASSERT_EQ(m_other->playSound(), Error::None);
    playUpTo(2000ms);
    EXPECT_EQ(soundingOf(heard(1100ms, 2000ms)), 0u);
    EXPECT_EQ(m_platform.speaker().opened(), 1);
    // Closing one that does not sound changes nothing for the one that does.
    ASSERT_EQ(m_port->playSound(), Error::None);
    m_other->close();
    playUpTo(3000ms);
    EXPECT_GT(soundingOf(heard(2500ms, 3000ms)), 20000u);
}

// A stream that has been asked to sound before its header was read.
class AwaitedSound : public LiveSoundTest
{
protected:
    /** Without a header, so that nothing is known of it before its first record. */
    void openOther(const PushedStream &stream)
    {
        ASSERT_EQ(stream.openOn(*m_other, m_platform.window()), Error::None);
        m_clock.settle();
        ASSERT_EQ(m_other->playSound(), Error::None);
    }

    void pushToOther(const PushedStream &stream)
    {
        ASSERT_EQ(stream.push(*m_other, 0, 1), Error::None);
        m_clock.settle();
    }

    void expectTheFirstIsHeard(milliseconds from, milliseconds to)
    {
        for (milliseconds at = from; at < to; at += 10ms) {
            EXPECT_GT(levelOf(heard(at, at + 10ms)), kMonoLevel * 0.7) << at.count();
        }
    }

    /** It is asked to sound while the first one does, and refused once it is known. */
    void expectNothingTakenBy(const PushedStream &stream, milliseconds upTo)
    {
        openAndListen(m_sounding);
        playUpTo(1000ms);
        openOther(stream);
        pushToOther(stream);
        EXPECT_EQ(m_other->playSound(), Error::NoSound);
        playUpTo(upTo);
        expectTheFirstIsHeard(900ms, upTo - 100ms);
    }

    const PushedStream m_sounding = withSound("h264-alaw.mkv");
    const PushedStream m_silent = liveMatroska("h264.avi");
};

TEST_F(AwaitedSound, TakesOverWhenItIsKnownAndNotBefore)
{
    openAndListen(m_sounding);
    playUpTo(1000ms);
    openOther(m_sounding);
    playUpTo(2000ms);
    expectTheFirstIsHeard(900ms, 2000ms);
    pushToOther(m_sounding);
    playUpTo(2900ms);
    EXPECT_EQ(soundingOf(heard(2050ms, 2900ms)), 0u);
    EXPECT_EQ(m_platform.speaker().opened(), 1);
}

TEST_F(AwaitedSound, ThatTurnsOutNotToBeThereHasTakenNothingAndFailsFromThenOn)
{
    expectNothingTakenBy(m_silent, 2900ms);
}

TEST_F(AwaitedSound, OfAStreamThatCannotBeReadHasTakenNothingAndFailsFromThenOn)
{
    const PushedStream garbage{Bytes(40, 0xA5), {{Bytes(3000000, 0xA5)}}};
    expectNothingTakenBy(garbage, 2000ms);
}

TEST_F(AwaitedSound, ThatIsNotThereGivesTheDeviceBack)
{
    openOther(m_silent);
    m_clock.advance(100ms);
    EXPECT_EQ(m_platform.speaker().outputs(), 1);
    pushToOther(m_silent);
    m_clock.advance(100ms);
    EXPECT_EQ(m_platform.speaker().outputs(), 0);
    openAndListen(m_sounding);
    playUpTo(2000ms);
    expectTheFirstIsHeard(1000ms, 1900ms);
}

TEST_F(AwaitedSound, IsNotAwaitedAnyMoreOnceSoundIsStoppedOrAnotherIsAskedFor)
{
    openAndListen(m_sounding);
    playUpTo(1000ms);
    openOther(m_sounding);
    ASSERT_EQ(m_port->playSound(), Error::None);
    pushToOther(m_sounding);
    playUpTo(2000ms);
    expectTheFirstIsHeard(900ms, 1900ms);
    m_other->close();
    openOther(m_sounding);
    m_platform.sound().stop();
    pushToOther(m_sounding);
    m_clock.advance(100ms);
    EXPECT_EQ(m_platform.speaker().outputs(), 0);
}

TEST_F(AwaitedSound, FollowsTheOneThatIsClosedMeanwhile)
{
    openAndListen(m_sounding);
    playUpTo(500ms);
    openOther(m_sounding);
    m_port->close();
    for (const Record &record : m_sounding.records) {
        goTo(m_zero + 1000ms + sentAt(record));
        ASSERT_EQ(player::test::push(*m_other, record.bytes), Error::None);
    }
    // They are pushed in the order of the file, some of them a little late.
    EXPECT_GT(levelOf(heard(2500ms, 3500ms)), kMonoLevel * 0.7);
}

TEST_F(AwaitedSound, TakesOverInContainersThatTellItWithItsPacketsAlone)
{
    for (const char *file : {"h264.ts", "mpeg2.mpg", "h264-alaw.flv", "fragmented.mp4"}) {
        SCOPED_TRACE(file);
        openAndListen(m_sounding);
        playUpTo(1000ms);
        const PushedStream other = player::test::cut(player::test::bytesOf(mediaPath(file)), 1000);
        openOther(other);
        playUpTo(1500ms);
        expectTheFirstIsHeard(900ms, 1500ms);
        for (std::size_t i = 0; i < other.records.size() / 2; ++i) {
            static_cast<void>(player::test::push(*m_other, other.records[i].bytes));
            m_clock.settle();
        }
        m_clock.advance(50ms);
        // The first is not wanted any more, whose packets still come.
        m_other->close();
        playUpTo(2900ms);
        EXPECT_EQ(soundingOf(heard(1700ms, 2900ms)), 0u);
        m_port->close();
        m_clock.settle();
    }
}

TEST_F(AwaitedSound, MayStillComeInATransportStreamThatHasNone)
{
    openAndListen(m_sounding);
    playUpTo(1000ms);
    const PushedStream other = player::test::liveTransport("h264.avi");
    openOther(other);
    ASSERT_EQ(other.push(*m_other, 0, 20), Error::None);
    m_clock.settle();
    EXPECT_EQ(m_other->playSound(), Error::None);
    playUpTo(2900ms);
    expectTheFirstIsHeard(900ms, 2800ms);
}

TEST_F(LiveSoundTest, StoppingTheSoundIsHeardAtOnceAndGivesTheDeviceBack)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    openAndListen(stream);
    playUpTo(1500ms);
    EXPECT_GT(soundingOf(heard(1000ms, 1500ms)), 20000u);
    m_platform.sound().stop();
    playUpTo(2500ms);
    EXPECT_EQ(soundingOf(heard(1510ms, 2500ms)), 0u);
    EXPECT_EQ(m_platform.speaker().outputs(), 0);
}

TEST_F(LiveSoundTest, APausedPortIsSilentAtOnceAndSoundsAgainWhenItGoesOn)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    openAndListen(stream);
    playUpTo(1500ms);
    ASSERT_EQ(m_port->pause(1), Error::None);
    playUpTo(2000ms);
    EXPECT_EQ(soundingOf(heard(1510ms, 2000ms)), 0u);
    ASSERT_EQ(m_port->pause(0), Error::None);
    playUpTo(3500ms);
    EXPECT_NEAR(levelOf(heard(3000ms, 3500ms)), kMonoLevel, 0.01);
}

TEST_F(LiveSoundTest, AStoppedPortIsSilentAndSoundsAgainWhenItPlays)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    openAndListen(stream);
    playUpTo(1500ms);
    ASSERT_EQ(m_port->stop(), Error::None);
    playUpTo(2000ms);
    EXPECT_EQ(soundingOf(heard(1510ms, 2000ms)), 0u);
    ASSERT_EQ(m_port->play(nullptr), Error::None);
    playUpTo(3500ms);
    EXPECT_NEAR(levelOf(heard(3000ms, 3500ms)), kMonoLevel, 0.01);
}

TEST_F(LiveSoundTest, VolumeIsLinearAndStaysWithThePort)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    m_port->setVolume(0x8000);
    openAndListen(stream);
    playUpTo(1500ms);
    EXPECT_NEAR(levelOf(heard(1000ms, 1500ms)), kMonoLevel / 2, 0.005);
    m_port->setVolume(0);
    playUpTo(2500ms);
    EXPECT_EQ(soundingOf(heard(2000ms, 2500ms)), 0u);
    m_port->setVolume(0x4000);
    m_port->close();
    openAndListen(stream);
    playUpTo(1500ms);
    EXPECT_EQ(m_port->volume(), 0x4000);
    EXPECT_NEAR(levelOf(heard(1000ms, 1500ms)), kMonoLevel / 4, 0.005);
}

TEST_F(LiveSoundTest, ADeviceThatGoesCostsNothingButTheSoundAndOneThatComesIsFound)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    openAndListen(stream);
    playUpTo(1000ms);
    m_platform.speaker().setThere(false);
    const int before = m_platform.number();
    playUpTo(2000ms);
    EXPECT_GE(m_platform.number(), before + 23);
    EXPECT_EQ(soundingOf(heard(1200ms, 2000ms)), 0u);
    EXPECT_EQ(m_other->playSound(), Error::Order);
    EXPECT_EQ(m_port->playSound(), Error::NoSound);
    m_platform.speaker().setThere(true);
    playUpTo(3800ms);
    EXPECT_NEAR(levelOf(heard(3300ms, 3800ms)), kMonoLevel, 0.01);
}

TEST_F(LiveSoundTest, WhenAnotherDeviceIsToBePlayedOnSoundGoesOnThere)
{
    const PushedStream stream = withSound("h264-alaw.mkv");
    openAndListen(stream);
    playUpTo(1500ms);
    m_platform.speaker().change();
    playUpTo(2500ms);
    EXPECT_EQ(m_platform.speaker().opened(), 2);
    EXPECT_NEAR(levelOf(heard(2000ms, 2500ms)), kMonoLevel, 0.01);
}

TEST_F(LiveSoundTest, WithoutADeviceOrASoundStreamThereIsNoSound)
{
    EXPECT_EQ(m_port->playSound(), Error::Order);
    m_platform.speaker().setThere(false);
    const PushedStream stream = withSound("h264-alaw.mkv");
    open(stream);
    EXPECT_EQ(m_port->playSound(), Error::NoSound);
    m_platform.speaker().setThere(true);
    EXPECT_EQ(m_port->playSound(), Error::None);
    const PushedStream silent = liveMatroska("h264.avi");
    ASSERT_EQ(silent.openOn(*m_other, m_platform.window()), Error::None);
    ASSERT_EQ(silent.push(*m_other, 0, 1), Error::None);
    m_clock.settle();
    EXPECT_EQ(m_other->playSound(), Error::NoSound);
    // The failure has taken nothing from the one that sounds.
    playUpTo(1500ms);
    EXPECT_GT(soundingOf(heard(1000ms, 1500ms)), 20000u);
}

TEST_F(LiveSoundTest, DamageCostsTheSoundThatItHitAndNothingElse)
{
    PushedStream stream = withSound("h264.avi");
    for (Record &record : stream.records) {
        if (record.number < 0 && record.time >= 1000 && record.time < 1400) {
            std::fill(record.bytes.end() - static_cast<std::ptrdiff_t>(record.bytes.size() / 2), record.bytes.end(),
                      std::uint8_t{0xA5});
        }
    }
    openAndListen(stream);
    playUpTo(2900ms);
    EXPECT_GE(m_platform.numbers().size(), 72u);
    const std::vector<float> after = heard(2000ms, 2800ms);
    EXPECT_NEAR(levelOf(after), kStereoLevel, 0.006);
    EXPECT_NEAR(frequencyOf(after), kHertz, 3);
}

TEST_F(LiveSoundTest, MissingPacketsAreSilence)
{
    PushedStream stream = withSound(kFlashAndClick);
    stream.records.erase(std::remove_if(stream.records.begin(), stream.records.end(),
                                        [](const Record &record) {
                                            return record.number < 0 && record.time >= 2300 && record.time < 2600;
                                        }),
                         stream.records.end());
    openAndListen(stream);
    playUpTo(3500ms);
    EXPECT_NEAR(static_cast<double>(soundingOf(heard(2000ms, 3000ms))), 0.7 * FakeSpeaker::kRate, 1500);
    EXPECT_EQ(soundingOf(heard(2420ms, 2580ms)), 0u);
}

} // namespace
