// Decoded sound in the form in which a device takes it.
#include "player/src/sound/SoundConverter.h"
#include "player/tests/support/FakeSpeaker.h"
#include "tests/support/SoundMeter.h"

#include <gtest/gtest.h>

#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace
{

using player::FramePtr;
using player::SoundConverter;
using player::SoundFormat;
using testsupport::frequencyOf;
using testsupport::levelOf;

constexpr double kPi = 3.14159265358979323846;

struct Source {
    int rate = 8000;
    int channels = 1;
    double hertz = 440;
};

/** `count` samples of a sine from that place on, on every channel. */
FramePtr sine(const Source &source, int from, int count, std::int64_t time)
{
    FramePtr pFrame(av_frame_alloc());
    pFrame->format = AV_SAMPLE_FMT_FLT;
    pFrame->sample_rate = source.rate;
    pFrame->nb_samples = count;
    pFrame->pts = time;
    av_channel_layout_default(&pFrame->ch_layout, source.channels);
    av_frame_get_buffer(pFrame.get(), 0);
    auto *pSamples = reinterpret_cast<float *>(pFrame->data[0]);
    for (int i = 0; i < count; ++i) {
        const double angle = 2 * kPi * source.hertz * (from + i) / source.rate;
        std::fill_n(pSamples + i * source.channels, source.channels, static_cast<float>(0.5 * std::sin(angle)));
    }
    return pFrame;
}

/** A second of the sine, 20 ms at a time; what comes out on the first channel of a device. */
std::vector<float> second(SoundConverter &converter, const SoundFormat &format, const Source &source)
{
    std::vector<float> first;
    for (int i = 0; i < 50; ++i) {
        const int count = source.rate / 50;
        const auto chunk = converter.convert(*sine(source, i * count, count, 20000 * i));
        for (std::size_t at = 0; at < chunk.samples.size(); at += static_cast<std::size_t>(format.channels)) {
            first.push_back(chunk.samples[at]);
        }
    }
    return first;
}

class EverySource : public testing::TestWithParam<Source>
{
};

TEST_P(EverySource, KeepsItsPitchAndItsLevel)
{
    const SoundFormat format{48000, 2, 3};
    SoundConverter converter(format);
    std::vector<float> samples = second(converter, format, GetParam());
    // What the filter still holds comes with the next frame.
    EXPECT_NEAR(static_cast<double>(samples.size()), 48000, 500);
    samples.erase(samples.begin(), samples.begin() + 2400);
    EXPECT_NEAR(frequencyOf(samples), GetParam().hertz, 0.5);
    EXPECT_NEAR(levelOf(samples), 0.5, 0.01);
}

INSTANTIATE_TEST_SUITE_P(Forms, EverySource,
                         testing::Values(Source{8000, 1}, Source{16000, 1}, Source{11025, 2}, Source{44100, 2},
                                         Source{48000, 1}, Source{48000, 2}, Source{96000, 2}));

TEST(SoundConverterTest, SixChannelsAreMixedForTwoWithoutOverdriving)
{
    const SoundFormat format{48000, 2, 3};
    SoundConverter converter(format);
    const std::vector<float> samples = second(converter, format, Source{48000, 6});
    EXPECT_NEAR(frequencyOf(samples), 440, 0.5);
    for (const float sample : samples) {
        ASSERT_LE(std::fabs(sample), 0.55F);
    }
}

TEST(SoundConverterTest, OneChannelIsHeardOnBothFrontLoudspeakersOfSix)
{
    const SoundFormat format{48000, 6, 0x3F};
    SoundConverter converter(format);
    const auto chunk = converter.convert(*sine(Source{48000, 1}, 0, 4800, 0));
    ASSERT_GT(chunk.samples.size(), 6000u);
    for (std::size_t at = 0; at + 6 <= chunk.samples.size(); at += 6) {
        ASSERT_EQ(chunk.samples[at], chunk.samples[at + 1]);
        ASSERT_EQ(chunk.samples[at + 2], 0);
    }
}

TEST(SoundConverterTest, TimesAreThoseOfTheSamplesThatComeOut)
{
    const SoundFormat format;
    SoundConverter converter(format);
    const Source source;
    std::int64_t expected = 1000000;
    for (int i = 0; i < 20; ++i) {
        const auto chunk = converter.convert(*sine(source, i * 160, 160, 1000000 + 20000 * i));
        // Nothing comes out twice, and no time passes between what comes out.
        EXPECT_NEAR(static_cast<double>(chunk.time), static_cast<double>(expected), 100) << i;
        expected = chunk.time + static_cast<std::int64_t>(chunk.samples.size() / 2) * 1000000 / 48000;
    }
}

TEST(SoundConverterTest, AFrameWithoutATimeFollowsTheOneBefore)
{
    const SoundFormat format;
    SoundConverter converter(format);
    const Source source;
    static_cast<void>(converter.convert(*sine(source, 0, 160, 500000)));
    const auto told = converter.convert(*sine(source, 160, 160, 520000));
    const auto untold = converter.convert(*sine(source, 320, 160, AV_NOPTS_VALUE));
    EXPECT_EQ(untold.time - told.time, 20000);
}

TEST(SoundConverterTest, BehindAGapTimesAreThoseThatTheSourceTells)
{
    const SoundFormat format;
    SoundConverter converter(format);
    const Source source;
    static_cast<void>(converter.convert(*sine(source, 0, 160, 0)));
    EXPECT_EQ(converter.convert(*sine(source, 160, 160, 700000)).time, 700000);
    EXPECT_NEAR(levelOf(converter.convert(*sine(source, 320, 1600, 720000)).samples), 0.5, 0.02);
}

TEST(SoundConverterTest, StretchesByThePartsThatItIsTold)
{
    const SoundFormat format{48000, 2, 3};
    SoundConverter converter(format);
    const Source source{48000, 2};
    const std::size_t plain = second(converter, format, source).size();
    converter.flush();
    converter.stretch(10000);
    const std::vector<float> longer = second(converter, format, source);
    EXPECT_NEAR(static_cast<double>(longer.size()), static_cast<double>(plain) * 1.01, 100);
    EXPECT_NEAR(frequencyOf(longer), 440 / 1.01, 0.5);
    converter.flush();
    converter.stretch(-1000000);
    EXPECT_NEAR(static_cast<double>(second(converter, format, source).size()), static_cast<double>(plain) * 0.97, 100);
}

TEST(SoundConverterTest, ImpossibleFormsGiveNothing)
{
    const SoundFormat format;
    SoundConverter converter(format);
    EXPECT_TRUE(converter.convert(*sine(Source{100, 1}, 0, 100, 0)).samples.empty());
    EXPECT_TRUE(converter.convert(*sine(Source{1000000, 1}, 0, 100, 0)).samples.empty());
    EXPECT_FALSE(converter.convert(*sine(Source{8000, 1}, 0, 800, 0)).samples.empty());
}

} // namespace
