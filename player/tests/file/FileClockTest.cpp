#include "player/src/file/FileClock.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;
using player::FileClock;

const player::Moment kStart{1000s};

TEST(FileClock, StandsStillUntilItRuns)
{
    FileClock clock;
    clock.setPosition(5000, kStart);
    EXPECT_EQ(clock.position(kStart + 10s), 5000);
}

struct SpeedCase {
    int step;
    std::int64_t afterTwoSeconds;
};

class FileClockSpeed : public testing::TestWithParam<SpeedCase>
{
};

TEST_P(FileClockSpeed, RunsAtAPowerOfTwo)
{
    FileClock clock;
    clock.setPosition(0, kStart);
    ASSERT_TRUE(clock.setSpeedStep(GetParam().step, kStart));
    clock.run(true, kStart);
    EXPECT_EQ(clock.position(kStart + 2s), GetParam().afterTwoSeconds);
    EXPECT_EQ(clock.momentOf(GetParam().afterTwoSeconds), kStart + 2s);
}

INSTANTIATE_TEST_SUITE_P(Speeds, FileClockSpeed,
                         testing::Values(SpeedCase{0, 2000000}, SpeedCase{1, 4000000}, SpeedCase{4, 32000000},
                                         SpeedCase{-1, 1000000}, SpeedCase{-4, 125000}));

TEST(FileClock, RefusesASpeedPastEitherEndAndKeepsItsOwn)
{
    FileClock clock;
    ASSERT_TRUE(clock.setSpeedStep(4, kStart));
    EXPECT_FALSE(clock.setSpeedStep(5, kStart));
    EXPECT_EQ(clock.speedStep(), 4);
    ASSERT_TRUE(clock.setSpeedStep(-4, kStart));
    EXPECT_FALSE(clock.setSpeedStep(-5, kStart));
    EXPECT_EQ(clock.speedStep(), -4);
}

TEST(FileClock, DoesNotJumpWhenTheSpeedChangesOrItStops)
{
    FileClock clock;
    clock.run(true, kStart);
    clock.setPosition(0, kStart);
    clock.setSpeedStep(1, kStart + 1s);
    EXPECT_EQ(clock.position(kStart + 1s), 1000000);
    clock.run(false, kStart + 2s);
    EXPECT_EQ(clock.position(kStart + 9s), 3000000);
    clock.run(true, kStart + 9s);
    EXPECT_EQ(clock.position(kStart + 10s), 5000000);
}

} // namespace
