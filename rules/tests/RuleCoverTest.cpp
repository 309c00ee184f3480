#include "rules/RuleCover.h"
#include "rules/tests/RecordingCanvas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace pellora
{
namespace
{

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

/** A surface of 400 by 300 pixels: 13 columns of tiles, the last one 16 pixels wide, and 5 bands. */
class RuleCoverTest : public ::testing::Test
{
protected:
    /** "band: begin-end begin-end", for each band that is touched. */
    [[nodiscard]] std::string touched() const
    {
        std::ostringstream stream;
        for (std::int32_t nBand = 0; nBand < m_cover.bands(); ++nBand) {
            const std::vector<ColumnSpan> spans = m_cover.spansOf(nBand);
            if (!spans.empty()) {
                stream << nBand << ':';
            }
            for (const ColumnSpan span : spans) {
                stream << ' ' << span.begin << '-' << span.end;
            }
            stream << (spans.empty() ? "" : "; ");
        }
        return stream.str();
    }
    [[nodiscard]] bool isTouched(std::int32_t x, std::int32_t y) const
    {
        const std::vector<ColumnSpan> spans = m_cover.spansOf(y / RuleCover::kBandHeight);
        return std::any_of(spans.begin(), spans.end(),
                           [x](ColumnSpan span) { return x >= span.begin && x < span.end; });
    }

    RecordingCanvas m_measuring;
    RuleCover m_cover{m_measuring, {400, 300}};
};

TEST_F(RuleCoverTest, IsEmptyAtFirst)
{
    EXPECT_EQ(m_cover.bands(), 5);
    EXPECT_EQ(touched(), "");
}

TEST_F(RuleCoverTest, LeavesTheInsideOfAFrameAlone)
{
    m_cover.setPen({2, 0});
    m_cover.frame({40, 10, 300, 290});
    // 4 pixels around: columns 36 to 44 are in tile 1 (32 to 64), 296 to 304 in tile 9 (288 to 320); the sides above
    // and below are in bands 0 and 4.
    EXPECT_EQ(touched(), "0: 32-320; 1: 32-64 288-320; 2: 32-64 288-320; 3: 32-64 288-320; 4: 32-320; ");
}

TEST_F(RuleCoverTest, FollowsASlantedLine)
{
    m_cover.setPen({2, 0});
    m_cover.moveTo({16, 0});
    m_cover.lineTo({336, 256});
    // 5 across for 4 down, 4 pixels around. Rows 0 to 68 of band 0: columns 16 to 101, around that 12 to 105: up to
    // tile 3, which ends at 128. Band 1, rows 60 to 132: 91 to 181, around that 87 to 185. Band 2, 124 to 196: 171 to
    // 261, 167 to 265. Band 3, 188 to 256: 251 to 336, 247 to 340. Band 4, 252 to 256: 331 to 336, 327 to 340.
    EXPECT_EQ(touched(), "0: 0-128; 1: 64-192; 2: 160-288; 3: 224-352; 4: 320-352; ");
}

TEST_F(RuleCoverTest, TakesTheBoxOfADiscAndOfAText)
{
    m_cover.disc({100, 100}, 5, 0);
    EXPECT_EQ(touched(), "1: 64-128; "); // 92 to 108 across, 92 to 108 down
    m_cover.drawText(u"x", {330, 270, 200, 260}, 0);
    EXPECT_EQ(touched(), "1: 64-128; 4: 192-352; ");
    m_cover.drawText(u"x", {390, 0, 500, 10}, 0);
    EXPECT_EQ(touched(), "0: 384-400; 1: 64-128; 4: 192-352; ");
}

TEST_F(RuleCoverTest, AsksForTheExtentOfTexts)
{
    EXPECT_EQ(m_cover.measureText(u"four").width, 28);
}

TEST_F(RuleCoverTest, IsNotTouchedByWhatLiesOutside)
{
    m_cover.setPen({2, 0});
    m_cover.frame({-400, -300, -10, -10});
    m_cover.frame({410, 310, 4000, 3000});
    m_cover.disc({200, -20}, 5, 0);
    m_cover.drawText(u"x", {-100, 100, -10, 120}, 0);
    EXPECT_EQ(touched(), "");
    // Across the corner, from column 50 on row 0 to row 50 in column 0.
    m_cover.moveTo({-50, 100});
    m_cover.lineTo({100, -50});
    EXPECT_EQ(touched(), "0: 0-64; ");
}

TEST_F(RuleCoverTest, TakesCoordinatesOfAllSizes)
{
    m_cover.setPen({2, 0});
    m_cover.moveTo({kLowest, kLowest});
    m_cover.lineTo({kHighest, kHighest});
    EXPECT_TRUE(isTouched(100, 100));
    EXPECT_FALSE(isTouched(399, 0));
    m_cover.frame({kHighest, kLowest, kLowest, kHighest});
    m_cover.disc({kHighest, kHighest}, 5, 0); // its box wraps around: it may be anywhere
    EXPECT_TRUE(isTouched(399, 0));
}

TEST_F(RuleCoverTest, HasNoTilesOfASurfaceWithoutExtent)
{
    RuleCover cover(m_measuring, {0, 10});
    cover.moveTo({0, 0});
    cover.lineTo({10, 10});
    cover.disc({0, 0}, 5, 0);
    EXPECT_TRUE(cover.spansOf(0).empty());
    RuleCover flat(m_measuring, {10, 0});
    flat.moveTo({0, 0});
    flat.lineTo({10, 10});
    EXPECT_EQ(flat.bands(), 0);
}

TEST_F(RuleCoverTest, MissesNoPixelOfALine)
{
    std::mt19937 random(3);
    const auto coordinate = [&random] { return static_cast<std::int32_t>(random() % 900) - 250; };
    for (int nLine = 0; nLine < 2000; ++nLine) {
        RuleCover cover(m_measuring, {400, 300});
        const PixelPoint a = {coordinate(), coordinate()};
        const PixelPoint b = {coordinate(), coordinate()};
        cover.setPen({2, 0});
        cover.moveTo(a);
        cover.lineTo(b);
        for (int i = 0; i <= 900; ++i) {
            // All around each place of the line, as far as a pen of two pixels reaches.
            const double x = a.x + (b.x - a.x) * i / 900.0;
            const double y = a.y + (b.y - a.y) * i / 900.0;
            for (const auto &[dx, dy] : {std::pair{-2, -2}, {2, -2}, {-2, 2}, {2, 2}}) {
                const auto nX = static_cast<std::int32_t>(std::floor(x + dx));
                const auto nY = static_cast<std::int32_t>(std::floor(y + dy));
                if (nX < 0 || nX >= 400 || nY < 0 || nY >= 300) {
                    continue;
                }
                const std::vector<ColumnSpan> spans = cover.spansOf(nY / RuleCover::kBandHeight);
                ASSERT_TRUE(std::any_of(spans.begin(), spans.end(),
                                        [nX](ColumnSpan span) { return nX >= span.begin && nX < span.end; }))
                    << a.x << ' ' << a.y << ' ' << b.x << ' ' << b.y << " at " << nX << ' ' << nY;
            }
        }
    }
}

} // namespace
} // namespace pellora
