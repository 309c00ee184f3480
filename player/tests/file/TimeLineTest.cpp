#include "player/src/file/TimeLine.h"

#include "player/src/core/Codec.h"

#include <gtest/gtest.h>

namespace
{

using player::TimeLine;

/** Milliseconds, 40 a picture. */
constexpr AVRational kTick{1, 1000};

std::int64_t placed(TimeLine &line, std::int64_t dts, std::int64_t pts)
{
    const player::PacketPtr pPacket = player::makePacket();
    pPacket->dts = dts;
    pPacket->pts = pts;
    pPacket->duration = 40;
    return pts + line.place(*pPacket);
}

TEST(TimeLine, LeavesOrdinaryStampsAlone)
{
    TimeLine line(kTick, {true, false}, 40);
    EXPECT_EQ(placed(line, 1000, 1080), 1080);
    EXPECT_EQ(placed(line, 1040, 1200), 1200);
    EXPECT_EQ(placed(line, 1080, 1120), 1120);
    EXPECT_EQ(placed(line, 9000, 9000), 9000) << "a pause";
}

TEST(TimeLine, GoesOnWhereStampsStartOver)
{
    TimeLine line(kTick, {}, 40);
    EXPECT_EQ(placed(line, 5000, 5080), 5080);
    EXPECT_EQ(placed(line, 0, 80), 5120);
    EXPECT_EQ(placed(line, 40, 200), 5240);
    EXPECT_EQ(line.formerShift(), 0);
}

TEST(TimeLine, ClosesALeapOnlyWhereTheContainerIsMadeOfCuts)
{
    TimeLine cuts(kTick, {true, false}, 40);
    placed(cuts, 0, 0);
    EXPECT_EQ(placed(cuts, 3600000, 3600000), 40);
    TimeLine pauses(kTick, {}, 40);
    placed(pauses, 0, 0);
    EXPECT_EQ(placed(pauses, 3600000, 3600000), 3600000);
}

TEST(TimeLine, SurvivesAnyStamps)
{
    const std::int64_t stamps[] = {INT64_MAX, INT64_MIN + 1, AV_NOPTS_VALUE, 0, INT64_MAX - 1, -1, INT64_MIN + 2};
    TimeLine line({1, 1}, {true, false}, INT32_MAX);
    const player::PacketPtr pPacket = player::makePacket();
    for (const std::int64_t dts : stamps) {
        for (const std::int64_t duration : stamps) {
            pPacket->dts = dts;
            pPacket->pts = dts;
            pPacket->duration = duration;
            line.place(*pPacket);
        }
    }
}

TEST(TimeLine, JoinsWhatIsShownWhereTheTimesOfDecodingAreGuessed)
{
    TimeLine line(kTick, {false, true}, 40);
    EXPECT_EQ(placed(line, 1920, 2000), 2000);
    EXPECT_EQ(placed(line, 1960, 2080), 2080);
    EXPECT_EQ(placed(line, 2000, 2040), 2040);
    EXPECT_EQ(placed(line, 0, 0), 2120) << "right behind the last one that is shown";
    EXPECT_EQ(placed(line, 0, 80), 2200);
    EXPECT_EQ(placed(line, 40, 40), 2160);
}

} // namespace
