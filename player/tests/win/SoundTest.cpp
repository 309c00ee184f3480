// Sound by way of the system, listened to as it comes out of the device.
#include "Kavun.h"

#include "player/src/win/WasapiOutput.h"
#include "player/src/win/WaveOutOutput.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/PushedStream.h"
#include "player/tests/win/TestWindow.h"
#include "tests/support/HostWindow.h"
#include "tests/support/SoundEar.h"
#include "tests/support/SoundMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using player::SoundOutput;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::PushedStream;
using player::test::Record;
using player::test::TestWindow;
using support::SoundEar;
using support::soundMoment;
using testsupport::clicksIn;
using testsupport::frequencyOf;
using testsupport::levelOf;
using testsupport::soundingOf;

constexpr double kPi = 3.14159265358979323846;
/** Two minutes of a sine. */
constexpr const char *kLongClip = "long.mp4";
constexpr double kHertz = 440;
constexpr double kLevel = 0.0884;

bool isSilence(const std::vector<float> &samples)
{
    return soundingOf(samples) == 0;
}

bool isTheSine(const std::vector<float> &samples, double level)
{
    return std::fabs(frequencyOf(samples) - kHertz) < 5 && std::fabs(levelOf(samples) - level) < level * 0.1;
}

/** Writes a sine to the output as the player does, for so long; how many frames it took. */
std::size_t playSine(SoundOutput &output, double hertz, unsigned milliseconds)
{
    const player::SoundFormat format = output.format();
    const auto channels = static_cast<std::size_t>(format.channels);
    const std::size_t waiting = static_cast<std::size_t>(format.rate) / 10;
    std::size_t written = 0;
    std::vector<float> samples;
    const double end = soundMoment() + milliseconds * 1000.0;
    while (soundMoment() < end) {
        const auto state = output.state();
        EXPECT_TRUE(state);
        const std::size_t count = state && state->waiting < waiting ? waiting - state->waiting : 0;
        samples.resize(count * channels);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::size_t frame = written + i / channels;
            const double at = static_cast<double>(frame) / format.rate;
            samples[i] = static_cast<float>(0.5 * std::sin(2 * kPi * hertz * at));
        }
        written += output.write(samples.data(), count);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
    return written;
}

/** How many tenths of a second are that sine and nothing else. */
std::size_t tenthsOf(const std::vector<float> &heard, double hertz, double level)
{
    constexpr std::ptrdiff_t kTenth = testsupport::kHeardRate / 10;
    std::size_t tenths = 0;
    for (auto at = heard.begin(); heard.end() - at >= kTenth; at += kTenth) {
        const std::vector<float> tenth(at, at + kTenth);
        const bool bSine = std::fabs(frequencyOf(tenth) - hertz) < hertz * 0.01;
        tenths += bSine && std::fabs(levelOf(tenth) - level) < level * 0.05 ? 1 : 0;
    }
    return tenths;
}

/**
 * Measures until the middle of what was measured is within a bound, at most so often; the last middle, in milliseconds.
 *
 * Wine 8 counts what has been played by a timer of its own, which stays behind when the machine is busy: what it tells
 * of the device is wrong from then on until the device is opened anew.
 */
double calmestOf(double bound, const std::function<std::vector<double>()> &measure)
{
    constexpr int kMostAttempts = 8;
    double middle = 1e9;
    for (int i = 0; i < kMostAttempts && std::fabs(middle) > bound; ++i) {
        std::vector<double> values = measure();
        std::sort(values.begin(), values.end());
        middle = values.empty() ? 1e9 : values[values.size() / 2];
        printf("%.1f ms late, in the middle of %zu\n", middle, values.size());
    }
    return middle;
}

class SoundTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_ear.listens()) << "run this program with tools/with-sound.sh";
        ASSERT_TRUE(m_ear.waitFor(100, isSilence)) << "what was played before is still heard";
    }

    SoundEar m_ear;
};

struct Api {
    const char *name;
    std::unique_ptr<SoundOutput> (*open)();
};

void PrintTo(const Api &api, std::ostream *pStream)
{
    *pStream << api.name;
}

class EachOutput : public SoundTest, public testing::WithParamInterface<Api>
{
};

TEST_P(EachOutput, PlaysWhatIsWrittenAtItsPitchAndItsLevelAndIsSilentAtOnce)
{
    // A busy machine starves the device; one calm attempt shows the pace.
    constexpr int kMostAttempts = 8;
    bool bAtItsPace = false;
    std::size_t tenths = 0;
    for (int i = 0; i < kMostAttempts && !(bAtItsPace && tenths >= 10); ++i) {
        const auto pOutput = GetParam().open();
        ASSERT_TRUE(pOutput);
        const std::size_t from = m_ear.count();
        const double begin = soundMoment();
        const std::size_t written = playSine(*pOutput, 1000, 2000);
        const auto state = pOutput->state();
        ASSERT_TRUE(state);
        EXPECT_GE(state->delay.count(), 0);
        EXPECT_LT(state->delay.count(), 500000);
        // It plays at the pace of its rate.
        const double seconds = (soundMoment() - begin) / 1e6;
        const double played = static_cast<double>(written) / pOutput->format().rate;
        bAtItsPace = std::fabs(played - seconds) <= 0.4;
        pOutput->clear();
        ASSERT_TRUE(m_ear.waitFor(100, isSilence));
        tenths = tenthsOf(m_ear.samples(from, m_ear.count()), 1000, 0.5);
        printf("%.2f s played in %.2f s, %zu tenths of them the sine\n", played, seconds, tenths);
    }
    EXPECT_TRUE(bAtItsPace);
    EXPECT_GE(tenths, 10u);
}

INSTANTIATE_TEST_SUITE_P(
    Apis, EachOutput,
    testing::Values(Api{"Wasapi", []() -> std::unique_ptr<SoundOutput> { return player::WasapiOutput::open(); }},
                    Api{"WaveOut", []() -> std::unique_ptr<SoundOutput> { return player::WaveOutOutput::open(); }}),
    [](const auto &row) { return std::string(row.param.name); });

/** A port of the player with a stream that a camera sends at its own pace, from taking it to giving it back. */
class SoundPort
{
public:
    SoundPort()
    {
        Kavun_GetPort(&m_nPort);
    }

    ~SoundPort()
    {
        m_bQuit = true;
        if (m_camera.joinable()) {
            m_camera.join();
        }
        Kavun_FreePort(m_nPort);
    }

    SoundPort(const SoundPort &) = delete;
    SoundPort &operator=(const SoundPort &) = delete;

    [[nodiscard]] long number() const
    {
        return m_nPort;
    }

    void open(const char *file, HWND hWnd)
    {
        LiveOptions options;
        options.sound = true;
        m_stream = liveMatroska(file, options);
        ASSERT_TRUE(Kavun_SetStreamOpenMode(m_nPort, KAVUN_MODE_REAL_TIME));
        ASSERT_TRUE(Kavun_OpenStream(m_nPort, m_stream.header.data(),
                                     static_cast<unsigned long>(m_stream.header.size()), 0x500000));
        ASSERT_TRUE(Kavun_Play(m_nPort, hWnd));
        m_camera = std::thread([this] { send(); });
    }

private:
    void send()
    {
        const double begin = soundMoment();
        for (Record &record : m_stream.records) {
            const auto sent = static_cast<double>(record.time + (record.number < 0 ? record.duration : 0)) * 1000;
            while (soundMoment() - begin < sent && !m_bQuit) {
                Sleep(2);
            }
            if (m_bQuit) {
                return;
            }
            Kavun_InputData(m_nPort, record.bytes.data(), static_cast<unsigned long>(record.bytes.size()));
        }
    }

    long m_nPort = -1;
    PushedStream m_stream;
    std::atomic<bool> m_bQuit{false};
    std::thread m_camera;
};

/** The moments at which the lower half of a port's pictures turned white, told by its draw callback. */
class FlashWatch
{
public:
    static void watch(long, HDC hDc, void *pSelf)
    {
        auto &self = *static_cast<FlashWatch *>(pSelf);
        const bool bWhite = GetGValue(GetPixel(hDc, 80, 90)) > 128;
        if (bWhite && !self.m_bWhite) {
            const std::lock_guard<std::mutex> lock(self.m_mutex);
            self.m_flashes.push_back(soundMoment());
        }
        self.m_bWhite = bWhite;
    }

    std::vector<double> flashes()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_flashes;
    }

private:
    bool m_bWhite = true;
    std::mutex m_mutex;
    std::vector<double> m_flashes;
};

class PortSoundTest : public SoundTest
{
protected:
    bool hearsSilence()
    {
        return m_ear.waitFor(300, isSilence);
    }

    bool hearsTheSine(double level)
    {
        return m_ear.waitFor(300, [&](const std::vector<float> &heard) { return isTheSine(heard, level); });
    }

    /** How much later than its flash each click is heard, in milliseconds. */
    std::vector<double> lagsOf(FlashWatch &watch, std::size_t flashes)
    {
        const std::size_t from = m_ear.count();
        EXPECT_TRUE(support::pumpUntil(
            [&] {
                static_cast<void>(m_ear.count());
                return watch.flashes().size() >= flashes;
            },
            30'000));
        static_cast<void>(m_ear.listen(500));
        const auto clicks = clicksIn(m_ear.samples(from, m_ear.count()), 0.35F);
        std::vector<double> lags;
        for (const double flash : watch.flashes()) {
            double nearest = 1e9;
            for (const double click : clicks) {
                const double heard = m_ear.momentOf(static_cast<double>(from) + click * testsupport::kHeardRate);
                const double lag = (heard - flash) / 1000;
                nearest = std::fabs(lag) < std::fabs(nearest) ? lag : nearest;
            }
            lags.push_back(nearest);
        }
        return lags;
    }

    const TestWindow m_window{160, 120};
};

TEST_F(PortSoundTest, AStreamSoundsWhenItIsToldAtTheVolumeOfItsPort)
{
    SoundPort port;
    port.open(kLongClip, m_window.handle());
    EXPECT_TRUE(hearsSilence());
    ASSERT_TRUE(Kavun_PlaySound(port.number()));
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_TRUE(Kavun_SetVolume(port.number(), 0x4000));
    EXPECT_EQ(Kavun_GetVolume(port.number()), 0x4000);
    EXPECT_TRUE(hearsTheSine(kLevel / 4));
    ASSERT_TRUE(Kavun_SetVolume(port.number(), 0));
    EXPECT_TRUE(hearsSilence());
    ASSERT_TRUE(Kavun_SetVolume(port.number(), 0xFFFF));
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_TRUE(Kavun_Pause(port.number(), 1));
    EXPECT_TRUE(hearsSilence());
    ASSERT_TRUE(Kavun_Pause(port.number(), 0));
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_TRUE(Kavun_StopSound());
    EXPECT_TRUE(hearsSilence());
}

TEST_F(PortSoundTest, AnotherPortTakesTheSoundOver)
{
    const TestWindow beside(160, 120, 200);
    SoundPort first;
    SoundPort second;
    first.open(kLongClip, m_window.handle());
    second.open(kLongClip, beside.handle());
    ASSERT_TRUE(Kavun_SetVolume(second.number(), 0x8000));
    ASSERT_TRUE(Kavun_PlaySound(first.number()));
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_TRUE(Kavun_PlaySound(second.number()));
    EXPECT_TRUE(hearsTheSine(kLevel / 2));
    ASSERT_TRUE(Kavun_CloseStream(second.number()));
    EXPECT_TRUE(hearsSilence());
}

TEST_F(PortSoundTest, AStreamsClicksAreHeardWithinEightyMillisecondsOfTheirFlashes)
{
    const double late = calmestOf(80, [&] {
        FlashWatch watch;
        SoundPort port;
        EXPECT_TRUE(Kavun_RegisterDrawFun(port.number(), FlashWatch::watch, &watch));
        port.open("flash-click.mkv", m_window.handle());
        EXPECT_TRUE(Kavun_PlaySound(port.number()));
        return lagsOf(watch, 7);
    });
    EXPECT_NEAR(late, 0, 80);
}

TEST_F(PortSoundTest, AFilesClicksAreHeardWithinFortyMillisecondsOfTheirFlashes)
{
    std::string path = player::test::mediaPath("flash-click.mkv");
    const double late = calmestOf(40, [&] {
        FlashWatch watch;
        const SoundPort port;
        EXPECT_TRUE(Kavun_RegisterDrawFun(port.number(), FlashWatch::watch, &watch));
        EXPECT_TRUE(Kavun_OpenFile(port.number(), path.data()));
        EXPECT_TRUE(Kavun_PlaySound(port.number()));
        EXPECT_TRUE(Kavun_Play(port.number(), m_window.handle()));
        return lagsOf(watch, 7);
    });
    EXPECT_NEAR(late, 0, 40);
}

TEST_F(PortSoundTest, AFileIsSilentAtAnotherSpeedAndGoesOnSoundingAtItsOwn)
{
    std::string path = player::test::mediaPath(kLongClip);
    const SoundPort port;
    ASSERT_TRUE(Kavun_OpenFile(port.number(), path.data()));
    ASSERT_TRUE(Kavun_Play(port.number(), m_window.handle()));
    ASSERT_TRUE(Kavun_PlaySound(port.number()));
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_TRUE(Kavun_Fast(port.number()));
    EXPECT_TRUE(hearsSilence());
    ASSERT_TRUE(Kavun_Slow(port.number()));
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(port.number(), 60000));
    EXPECT_TRUE(hearsTheSine(kLevel));
}

/** With PELLORA_SOUND=none of tools/with-sound.sh. */
TEST(NoSoundDevice, FailsToSoundAndDoesEverythingElse)
{
    const TestWindow window(160, 120);
    SoundPort port;
    EXPECT_FALSE(Kavun_PlaySound(port.number()));
    EXPECT_EQ(Kavun_GetLastError(port.number()), KAVUN_ERROR_ORDER);
    port.open(kLongClip, window.handle());
    EXPECT_FALSE(Kavun_PlaySound(port.number()));
    EXPECT_EQ(Kavun_GetLastError(port.number()), KAVUN_ERROR_NO_SOUND);
    EXPECT_TRUE(Kavun_SetVolume(port.number(), 1));
    EXPECT_EQ(Kavun_GetVolume(port.number()), 1);
    EXPECT_TRUE(Kavun_StopSound());
    EXPECT_TRUE(window.waitForAnyNumber());
    EXPECT_FALSE(player::WasapiOutput::open());
    EXPECT_FALSE(player::WaveOutOutput::open());
}

} // namespace
