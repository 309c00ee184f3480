#include "rules/FarLine.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace pellora
{
namespace
{

constexpr PixelRect kSurface = {0, 0, 640, 360};

void expectSame(const PixelSegment &a, const PixelSegment &b)
{
    EXPECT_EQ(a.start, b.start);
    EXPECT_EQ(a.end, b.end);
}

TEST(FarLine, LeavesLinesAloneThatEndNear)
{
    for (const PixelSegment &line :
         {PixelSegment{{0, 0}, {639, 359}}, {{-16384, 7}, {640 + 16384, 11}}, {{5, 360 + 16384}, {9, -16384}}}) {
        expectSame(shortened(line, kSurface), line);
    }
}

TEST(FarLine, LeavesLinesAloneThatPassBy)
{
    for (const PixelSegment &line :
         {PixelSegment{{-90000, 0}, {-20000, 100}}, {{90000, 0}, {20000, 100}}, {{0, -90000}, {10, -20000}}}) {
        expectSame(shortened(line, kSurface), line);
    }
}

TEST(FarLine, LeavesLinesAloneWhoseWaysLeaveTheRange)
{
    constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    const PixelSegment line = {{kLowest, kLowest}, {kHighest, kHighest}};
    expectSame(shortened(line, kSurface), line);
}

TEST(FarLine, EndsOnTheLineWhereItMeetsWholePixels)
{
    // Across and down alike: whole pixels all along. From 0 - 16384 and from 640 + 16384.
    expectSame(shortened({{-100000, -100000}, {100000, 100000}}, kSurface), {{-16384, -16384}, {17024, 17024}});
    expectSame(shortened({{100000, 50}, {-100000, 50}}, kSurface), {{17024, 50}, {-16384, 50}});
    expectSame(shortened({{50, -100000}, {50, 300}}, kSurface), {{50, -16384}, {50, 300}});
    // Three across for one down from (0, 0): the first place from -16384 on that three divides is -16383.
    expectSame(shortened({{-300000, -100000}, {0, 0}}, kSurface), {{-16383, -5461}, {0, 0}});
}

TEST(FarLine, MissesTheLineByLittle)
{
    std::mt19937 random(17);
    const auto coordinate = [&random](std::int32_t nRange) {
        return static_cast<std::int32_t>(random() % (2U * static_cast<unsigned int>(nRange))) - nRange;
    };
    double fLargest = 0;
    int nSmall = 0;
    for (int i = 0; i < 5000; ++i) {
        const PixelSegment line = {{coordinate(3000000), coordinate(3000000)}, {coordinate(3000000), coordinate(400)}};
        const PixelSegment part = shortened(line, kSurface);
        const double dx = static_cast<double>(line.end.x) - line.start.x;
        const double dy = static_cast<double>(line.end.y) - line.start.y;
        for (const PixelPoint point : {part.start, part.end}) {
            const double fCross = dx * (point.y - line.start.y) - dy * (point.x - line.start.x);
            const double fMiss = std::abs(fCross) / std::hypot(dx, dy);
            fLargest = std::max(fLargest, fMiss);
            nSmall += fMiss < 0.001 ? 1 : 0;
        }
    }
    // Those that rise by very nearly a simple fraction find no whole pixel close by.
    EXPECT_LE(fLargest, 0.5);
    EXPECT_GT(nSmall, 9500);
}

} // namespace
} // namespace pellora
