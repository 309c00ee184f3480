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
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

void expectPart(const PixelSegment &line, const PixelSegment &expected)
{
    const std::optional<PixelSegment> part = clipped(line, kSurface);
    ASSERT_TRUE(part.has_value());
    EXPECT_EQ(part->start, expected.start);
    EXPECT_EQ(part->end, expected.end);
}

/** Pixels between the point and the line, straight across it. */
double distance(PixelPoint point, const PixelSegment &line)
{
    const double dx = static_cast<double>(line.end.x) - line.start.x;
    const double dy = static_cast<double>(line.end.y) - line.start.y;
    const double fCross =
        dx * (static_cast<double>(point.y) - line.start.y) - dy * (static_cast<double>(point.x) - line.start.x);
    return std::abs(fCross) / std::hypot(dx, dy);
}

TEST(FarLine, LeavesLinesAloneThatEndWithinTheMargin)
{
    for (const PixelSegment &line :
         {PixelSegment{{0, 0}, {639, 359}}, {{-16384, 7}, {640 + 16384, 11}}, {{5, 360 + 16384}, {9, -16384}}}) {
        expectPart(line, line);
    }
}

TEST(FarLine, DropsLinesThatPassBy)
{
    for (const PixelSegment &line : {PixelSegment{{-90000, 0}, {-20000, 100}},
                                     {{90000, 0}, {20000, 100}},
                                     {{0, -90000}, {10, -20000}},
                                     {{-2000000, -3000000}, {2000000, -2999999}},
                                     // Around the corner: neither left of the surface nor above it, but of the margin.
                                     {{-100000, 50000}, {50000, -100000}},
                                     {{kLowest, kLowest}, {kHighest, kLowest}},
                                     {{kHighest, kHighest}, {kHighest, kHighest}}}) {
        EXPECT_FALSE(clipped(line, kSurface).has_value()) << line.start << ' ' << line.end;
    }
}

TEST(FarLine, EndsOnTheLineWhereItMeetsWholePixels)
{
    // Across and down alike: whole pixels all along. It enters the margin at its left edge and leaves it at its bottom.
    expectPart({{-100000, -100000}, {100000, 100000}}, {{-16384, -16384}, {16744, 16744}});
    expectPart({{100000, 50}, {-100000, 50}}, {{17024, 50}, {-16384, 50}});
    expectPart({{50, -100000}, {50, 300}}, {{50, -16384}, {50, 300}});
    // Three across for one down from (0, 0): the first place from -16384 on that three divides is -16383.
    expectPart({{-300000, -100000}, {0, 0}}, {{-16383, -5461}, {0, 0}});
}

TEST(FarLine, MissesTheLineByLittle)
{
    std::mt19937 random(17);
    const auto coordinate = [&random](std::int32_t nRange) {
        return static_cast<std::int32_t>(random() % (2U * static_cast<unsigned int>(nRange))) - nRange;
    };
    double fLargest = 0;
    int nSmall = 0;
    int nEnds = 0;
    for (int i = 0; i < 5000; ++i) {
        const PixelPoint through = {coordinate(300) + 320, coordinate(150) + 180};
        const PixelPoint way = {coordinate(3000000), coordinate(3000000)};
        const PixelSegment line = {{through.x - way.x, through.y - way.y}, {through.x + way.x, through.y + way.y}};
        const std::optional<PixelSegment> part = clipped(line, kSurface);
        ASSERT_TRUE(part.has_value());
        for (const PixelPoint point : {part->start, part->end}) {
            fLargest = std::max(fLargest, distance(point, line));
            nSmall += distance(point, line) < 0.001 ? 1 : 0;
            // On the margin, and nowhere near the surface.
            const std::int32_t nBeyond = std::max({-point.x, point.x - 640, -point.y, point.y - 360});
            EXPECT_LE(nBeyond, kLineMargin);
            EXPECT_GE(nBeyond, kLineMargin / 2 - 1);
            ++nEnds;
        }
    }
    // Lines that rise by very nearly a simple fraction find no whole pixel close by.
    EXPECT_LE(fLargest, 0.5);
    EXPECT_GT(nSmall, nEnds * 95 / 100);
}

TEST(FarLine, TakesCoordinatesOfAllSizes)
{
    const PixelSegment across = {{kLowest, kLowest}, {kHighest, kHighest}};
    const std::optional<PixelSegment> part = clipped(across, kSurface);
    ASSERT_TRUE(part.has_value());
    EXPECT_LE(distance(part->start, across), 0.001);
    EXPECT_LE(distance(part->end, across), 0.001);
    expectPart({{kLowest, 50}, {kHighest, 50}}, {{-16384, 50}, {17024, 50}});
    std::mt19937 random(3);
    for (int i = 0; i < 100000; ++i) {
        const PixelSegment line = {{static_cast<std::int32_t>(random()), static_cast<std::int32_t>(random())},
                                   {static_cast<std::int32_t>(random()), static_cast<std::int32_t>(random())}};
        if (const std::optional<PixelSegment> found = clipped(line, kSurface)) {
            EXPECT_LE(distance(found->start, line), 0.5) << line.start << ' ' << line.end;
            EXPECT_LE(distance(found->end, line), 0.5) << line.start << ' ' << line.end;
        }
    }
}

} // namespace
} // namespace pellora
