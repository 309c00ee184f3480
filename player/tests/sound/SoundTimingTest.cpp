// When live sound is due, by what was seen and what has come.
#include "player/src/sound/SoundTiming.h"

#include <gtest/gtest.h>

namespace
{

using player::SoundTiming;

constexpr std::int64_t kMillisecond = 1000;
constexpr std::int64_t kMargin = 40 * kMillisecond;

/** A second of a stream whose time 0 is at 1000 ms: what comes so late, and is shown so late. */
SoundTiming second(std::int64_t soundLate, std::int64_t picturesLate)
{
    SoundTiming timing;
    for (std::int64_t i = 0; i < 25; ++i) {
        const std::int64_t time = 40 * i * kMillisecond;
        timing.packetCame(time, time + (1000 + soundLate) * kMillisecond);
        timing.pictureShown(time, time + (1000 + picturesLate) * kMillisecond);
    }
    return timing;
}

TEST(SoundTimingTest, SaysNothingBeforeSoundHasCome)
{
    SoundTiming timing;
    timing.pictureShown(0, 0);
    EXPECT_FALSE(timing.zero(kMargin));
}

TEST(SoundTimingTest, WithoutPicturesSoundIsHeardAsSoonAsItSurelyCan)
{
    SoundTiming timing;
    timing.packetCame(0, 1000 * kMillisecond);
    timing.packetCame(20 * kMillisecond, 1050 * kMillisecond);
    timing.packetCame(40 * kMillisecond, 1040 * kMillisecond);
    EXPECT_EQ(timing.zero(kMargin), (1030 + 40) * kMillisecond);
}

TEST(SoundTimingTest, SoundThatComesEarlyWaitsForItsPictures)
{
    EXPECT_EQ(second(0, 300).zero(kMargin), 1300 * kMillisecond);
}

TEST(SoundTimingTest, SoundThatComesWithItsPictureIsLateByNoMoreThanADeviceNeeds)
{
    EXPECT_EQ(second(10, 0).zero(kMargin), (1010 + 40) * kMillisecond);
}

TEST(SoundTimingTest, SoundThatComesTooLateIsHeardWhenItHasCome)
{
    EXPECT_EQ(second(200, 0).zero(kMargin), (1200 + 40) * kMillisecond);
}

TEST(SoundTimingTest, UnevenSoundDoesNotLagFartherBehindForTheSakeOfItsLatestPackets)
{
    SoundTiming timing = second(0, 0);
    timing.packetCame(1000 * kMillisecond, 2300 * kMillisecond);
    EXPECT_EQ(timing.zero(kMargin), 1050 * kMillisecond);
}

TEST(SoundTimingTest, OnePictureThatIsLateChangesNothing)
{
    SoundTiming timing = second(0, 20);
    timing.pictureShown(1000 * kMillisecond, 2300 * kMillisecond);
    EXPECT_EQ(timing.zero(0), 1020 * kMillisecond);
}

TEST(SoundTimingTest, TimesThatStartOverAreFollowedAtOnce)
{
    SoundTiming timing = second(0, 100);
    timing.packetCame(0, 9000 * kMillisecond);
    timing.pictureShown(0, 9100 * kMillisecond);
    EXPECT_EQ(timing.zero(kMargin), 9100 * kMillisecond);
}

TEST(SoundTimingTest, PicturesOfAnotherClockAreNotWaitedFor)
{
    SoundTiming timing;
    timing.packetCame(0, 1000 * kMillisecond);
    timing.pictureShown(-3600 * 1000 * kMillisecond, 1000 * kMillisecond);
    EXPECT_EQ(timing.zero(kMargin), 1040 * kMillisecond);
}

TEST(SoundTimingTest, WhatIsLongAgoIsForgotten)
{
    SoundTiming timing;
    timing.packetCame(0, 1500 * kMillisecond);
    for (std::int64_t i = 1; i <= 200; ++i) {
        timing.packetCame(20 * i * kMillisecond, (1000 + 20 * i) * kMillisecond);
    }
    EXPECT_EQ(timing.zero(0), 1000 * kMillisecond);
}

} // namespace
