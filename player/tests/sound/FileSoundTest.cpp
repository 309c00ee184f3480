// The sound of a file and the clock that follows it, without the rest of the file.
#include "player/src/sound/FileSound.h"
#include "player/src/file/FileClock.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "tests/support/SoundMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::FileClock;
using player::FileSound;
using player::Moment;
using player::PacketPtr;
using player::SidePacket;
using player::SoundTrack;
using player::test::FakeClock;
using player::test::FakePlatform;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using testsupport::clicksIn;
using testsupport::levelOf;
using testsupport::soundingOf;

constexpr double kPi = 3.14159265358979323846;
constexpr int kRate = 16000;
constexpr std::int64_t kSecond = 1000000;
constexpr std::int64_t kPacket = 20000;
constexpr double kHum = 0.05;
constexpr float kClick = 0.3F;

/** Twenty milliseconds of a quiet hum, with a click at each full second. */
SidePacket packetAt(std::int64_t time)
{
    SidePacket packet;
    constexpr int kSamples = kRate / 50;
    packet.pPacket.reset(av_packet_alloc());
    av_new_packet(packet.pPacket.get(), kSamples * 2);
    for (int i = 0; i < kSamples; ++i) {
        const double at = static_cast<double>(time) / kSecond + static_cast<double>(i) / kRate;
        const double click = std::fmod(at + 1e-9, 1) < 0.01 ? 0.7 * std::cos(2 * kPi * 1000 * at) : 0;
        const auto sample = static_cast<std::int16_t>((kHum * std::sin(2 * kPi * 440 * at) + click) * 32767);
        packet.pPacket->data[2 * i] = static_cast<std::uint8_t>(sample & 0xFF);
        packet.pPacket->data[2 * i + 1] = static_cast<std::uint8_t>(sample >> 8 & 0xFF);
    }
    packet.time = time;
    packet.duration = kPacket;
    return packet;
}

/** A file's reader and its clock, as far as sound sees them. */
class FileSoundTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const ffmpeg::ParametersPtr pParameters(avcodec_parameters_alloc());
        pParameters->codec_type = AVMEDIA_TYPE_AUDIO;
        pParameters->codec_id = AV_CODEC_ID_PCM_S16LE;
        pParameters->sample_rate = kRate;
        av_channel_layout_default(&pParameters->ch_layout, 1);
        ASSERT_TRUE(m_sound.begin(*pParameters, {1, kRate}));
        m_zero = m_clock.now();
    }

    void TearDown() override
    {
        m_platform.sound().stop();
        m_clock.settle();
        EXPECT_EQ(m_platform.speaker().outputs(), 0);
    }

    void play()
    {
        // What is there when the clock begins to run is heard from its first sample on.
        read();
        m_fileClock.run(true, m_clock.now());
        tellPace();
    }

    void pause()
    {
        m_fileClock.run(false, m_clock.now());
        tellPace();
    }

    void setSpeedStep(int step)
    {
        m_fileClock.setSpeedStep(step, m_clock.now());
        tellPace();
    }

    void seek(std::int64_t time, std::int64_t before)
    {
        pause();
        m_sound.flush(++m_nGeneration, time);
        m_nRead = time - before;
        m_fileClock.setPosition(time, m_clock.now());
        read();
        play();
    }

    void tellPace()
    {
        m_sound.paceChanged(m_fileClock.isRunning(), m_fileClock.speedStep(), m_fileClock.position(m_clock.now()));
    }

    /** Reads up to a second ahead, but for what the file lacks. */
    void read()
    {
        for (; m_nRead < m_fileClock.position(m_clock.now()) + kSecond; m_nRead += kPacket) {
            if (m_nRead < m_nGapFrom || m_nRead >= m_nGapTo) {
                SidePacket packet = packetAt(m_nRead);
                packet.generation = m_nGeneration;
                m_sound.take(std::move(packet));
            }
        }
    }

    /** Lets time pass; the clock follows the sound at each picture. */
    void pass(milliseconds time)
    {
        for (milliseconds passed{}; passed < time; passed += 10ms) {
            read();
            m_clock.advance(10ms);
            const Moment now = m_clock.now();
            const auto heard = m_sound.position(now);
            if (m_fileClock.isRunning() && heard && std::abs(*heard - m_fileClock.position(now)) > 5000) {
                m_fileClock.setPosition(*heard, now);
            }
            m_positions.push_back({now, m_fileClock.position(now)});
        }
    }

    /** The file's time that the clock told at a moment. */
    [[nodiscard]] double positionAt(double seconds) const
    {
        double position = -1;
        for (const auto &[moment, told] : m_positions) {
            const double at = std::chrono::duration<double>(moment - m_zero).count();
            if (at <= seconds) {
                position = static_cast<double>(told) / kSecond + (seconds - at);
            }
        }
        return position;
    }

    [[nodiscard]] std::vector<float> heard(milliseconds from, milliseconds to) const
    {
        return m_platform.speaker().heard(m_zero + from, to - from);
    }

    /** At each click that is heard the clock is within so much of a full second. */
    void expectClicks(milliseconds from, milliseconds to, std::size_t least)
    {
        const auto clicks = clicksIn(heard(from, to), kClick);
        EXPECT_GE(clicks.size(), least);
        for (const double click : clicks) {
            const double position = positionAt(click + std::chrono::duration<double>(from).count());
            EXPECT_NEAR(position, std::round(position), 0.04);
        }
    }

    void expectNoGap(milliseconds from, milliseconds to)
    {
        for (milliseconds at = from; at < to; at += 10ms) {
            EXPECT_GT(levelOf(heard(at, at + 10ms)), kHum / 2) << at.count();
        }
    }

    FakeClock m_clock;
    mutable FakePlatform m_platform{m_clock};
    std::shared_ptr<SoundTrack> m_pTrack =
        std::make_shared<SoundTrack>(m_clock, SoundTrack::Kind::File, [this] { m_platform.sound().wake(); });
    FileSound m_sound{m_clock, m_pTrack};
    FileClock m_fileClock;
    Moment m_zero;
    unsigned m_nGeneration = 0;
    std::int64_t m_nRead = 0;
    std::int64_t m_nGapFrom = -1;
    std::int64_t m_nGapTo = -1;
    std::vector<std::pair<Moment, std::int64_t>> m_positions;
};

TEST_F(FileSoundTest, NothingIsLeftOutAtTheBeginning)
{
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(3500ms);
    expectClicks(0ms, 3500ms, 4);
    expectNoGap(100ms, 3400ms);
}

TEST_F(FileSoundTest, TheClockKeepsToADeviceThatIsTooFast)
{
    m_platform.speaker().setDrift(5000);
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(20s);
    expectClicks(0ms, 20s, 20);
    expectNoGap(100ms, 19900ms);
    EXPECT_NEAR(positionAt(20), 20.1, 0.04);
}

TEST_F(FileSoundTest, TheClockKeepsToADeviceThatIsTooSlow)
{
    m_platform.speaker().setDrift(-5000);
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(20s);
    expectClicks(0ms, 20s, 19);
    expectNoGap(100ms, 19900ms);
}

TEST_F(FileSoundTest, SoundThatIsOpenedInTheMiddleBeginsAtOnce)
{
    play();
    pass(5500ms);
    EXPECT_EQ(soundingOf(heard(0ms, 5500ms)), 0u);
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    pass(2500ms);
    expectNoGap(5600ms, 7900ms);
    expectClicks(5500ms, 8s, 2);
}

TEST_F(FileSoundTest, AfterASeekNothingOfBeforeIsHeardAndTheRestIsInStep)
{
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(1500ms);
    // Reading goes on at a key picture, from where on there is sound, too.
    seek(100 * kSecond + 500000, 3 * kSecond);
    pass(3s);
    expectClicks(1500ms, 4500ms, 3);
    expectNoGap(1600ms, 4400ms);
    EXPECT_NEAR(positionAt(4), 103, 0.1);
}

TEST_F(FileSoundTest, IsSilentAtOnceWhilePausedOrAtAnotherSpeed)
{
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(1500ms);
    pause();
    pass(500ms);
    EXPECT_EQ(soundingOf(heard(1510ms, 2s)), 0u);
    play();
    pass(1s);
    expectNoGap(2200ms, 2900ms);
    setSpeedStep(1);
    pass(1s);
    EXPECT_EQ(soundingOf(heard(3010ms, 4s)), 0u);
    setSpeedStep(0);
    pass(2500ms);
    expectNoGap(4200ms, 6400ms);
    expectClicks(4s, 6500ms, 2);
}

TEST_F(FileSoundTest, AGapInTheFileIsSilenceOfItsLength)
{
    m_nGapFrom = 1500000;
    m_nGapTo = 2300000;
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(5s);
    EXPECT_NEAR(static_cast<double>(soundingOf(heard(500ms, 4500ms))), 3.2 * 48000, 3000);
    expectClicks(0ms, 5s, 4);
}

TEST_F(FileSoundTest, WithoutItsDeviceTheClockGoesOnByItself)
{
    ASSERT_EQ(m_platform.sound().play(m_pTrack), Error::None);
    play();
    pass(2s);
    m_platform.speaker().setThere(false);
    pass(2s);
    EXPECT_FALSE(m_sound.position(m_clock.now()));
    EXPECT_NEAR(positionAt(4), 4, 0.05);
    m_platform.speaker().setThere(true);
    pass(4s);
    expectClicks(6s, 8s, 1);
    expectNoGap(6s, 7900ms);
}

} // namespace
