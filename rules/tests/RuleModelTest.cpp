#include "rules/LineWithArrowRule.h"
#include "rules/RuleArithmetic.h"
#include "rules/RuleGeometry.h"
#include "rules/RuleLine.h"
#include "rules/RulePoint.h"
#include "rules/RulePolygon.h"
#include "rules/RuleRect.h"
#include "rules/RuleText.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace pellora
{
namespace
{

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr auto kPress = RuleAction::LeftPress;
constexpr auto kRight = RuleAction::RightPress;
constexpr auto kMove = RuleAction::Move;
constexpr auto kGrab = RuleAction::Grab;
constexpr auto kRelease = RuleAction::Release;

TEST(RuleArithmetic, TruncatesTowardsZeroAndGivesTheSmallestNumberBeyondTheRange)
{
    EXPECT_EQ(truncated(2.9), 2);
    EXPECT_EQ(truncated(-2.9), -2);
    EXPECT_EQ(truncated(2147483647.5), kMax);
    EXPECT_EQ(truncated(2147483648.0), kMin);
    EXPECT_EQ(truncated(-2147483648.5), kMin);
    EXPECT_EQ(truncated(std::numeric_limits<double>::quiet_NaN()), kMin);
    EXPECT_EQ(truncated(std::numeric_limits<double>::infinity()), kMin);
}

TEST(RuleArithmetic, ScalesInSinglePrecision)
{
    // 16,777,217 is no float: it becomes 16,777,216 before it is multiplied.
    EXPECT_EQ(scaled(16777217, 1.0F), 16777216);
    // 0.1F is 0.100000001490…, times 10 in single precision exactly 1.
    EXPECT_EQ(scaled(10, 0.1F), 1);
    EXPECT_EQ(scaled(-7, 0.5F), -3);
    EXPECT_EQ(scaled(0, std::numeric_limits<float>::infinity()), kMin);
}

TEST(RuleArithmetic, KeepsThePictureFromVanishing)
{
    const auto across = [](std::int32_t nLeft, std::int32_t nRight, float fFactor) {
        const PixelRect picture = scaledPicture({nLeft, 0, nRight, 1}, fFactor, 1.0F);
        return std::pair(picture.left, picture.right);
    };
    using Edges = std::pair<std::int32_t, std::int32_t>;
    EXPECT_EQ(across(0, 640, 0.5F), Edges(0, 320));
    EXPECT_EQ(across(0, 640, 0.0F), Edges(0, 640)); // counts as 1
    EXPECT_EQ(across(0, 640, 0.001F), Edges(0, 1));
    EXPECT_EQ(across(300, 640, 0.001F), Edges(0, 1));
    EXPECT_EQ(across(-640, -300, 0.001F), Edges(0, 1));
    // Turned round, and to be turned round.
    EXPECT_EQ(across(640, 300, 0.001F), Edges(0, -1));
    EXPECT_EQ(across(300, 640, -0.001F), Edges(0, -1));
    EXPECT_EQ(across(640, 300, -0.001F), Edges(0, 1));
    // What no int32 holds.
    EXPECT_EQ(across(0, 1000000, 5000.0F), Edges(0, 1000000));
    EXPECT_EQ(across(-1500000, 1500000, 1000.0F), Edges(-1500000, 1500000));
    EXPECT_EQ(across(0, 640, std::numeric_limits<float>::infinity()), Edges(0, 640));
    EXPECT_EQ(across(0, 640, std::numeric_limits<float>::quiet_NaN()), Edges(0, 640));
}

TEST(RulePoint, IsGrabbedWithinFourPixels)
{
    RulePoint rule(placementWith(0));
    rule.addPoint({100, 100}, kPress);
    EXPECT_TRUE(rule.hitTest({96, 104}));
    EXPECT_FALSE(rule.hitTest({95, 100}));
    EXPECT_FALSE(rule.hitTest({100, 105}));
}

TEST(RulePoint, MovesOnlyWhenGrabbedAndStaysWithinItsLimits)
{
    RulePoint rule(placementWith(0x0F));
    rule.addPoint({100, 100}, kPress);
    rule.editPoint({120, 120}, kGrab);
    rule.editPoint({130, 130}, kMove);
    EXPECT_EQ(rule.getPoint(), (PixelPoint{100, 100}));
    rule.editPoint({102, 99}, kGrab);
    rule.editPoint({400, 0}, kMove);
    EXPECT_EQ(rule.getPoint(), (PixelPoint{400, 0}));
    for (const PixelPoint outside : {PixelPoint{401, 0}, {-1, 5}, {5, -1}, {5, 301}}) {
        EXPECT_TRUE(rule.editPoint(outside, kMove));
        EXPECT_EQ(rule.getPoint(), (PixelPoint{400, 0})) << outside;
    }
}

TEST(RuleLine, IsDrawnByTwoClicks)
{
    RuleLine rule(placementWith(0));
    EXPECT_TRUE(rule.isEmpty());
    EXPECT_TRUE(rule.addPoint({10, 20}, kPress));
    EXPECT_TRUE(rule.addPoint({400, 300}, kMove));
    EXPECT_EQ(rule.getEnd(), (PixelPoint{400, 300}));
    EXPECT_TRUE(rule.addPoint({401, 20}, kMove));
    EXPECT_EQ(rule.getEnd(), (PixelPoint{400, 300}));
    EXPECT_FALSE(rule.addPoint({50, 60}, kPress));
    EXPECT_EQ(rule.getStart(), (PixelPoint{10, 20}));
    EXPECT_EQ(rule.getEnd(), (PixelPoint{50, 60}));
}

TEST(RuleLine, StartsAgainAfterAFirstClickInTheCorner)
{
    RuleLine rule(placementWith(0));
    EXPECT_TRUE(rule.addPoint({0, 0}, kPress));
    EXPECT_TRUE(rule.isEmpty());
    EXPECT_TRUE(rule.addPoint({7, 8}, kPress));
    EXPECT_EQ(rule.getStart(), (PixelPoint{7, 8}));
}

TEST(RuleLine, IsHitWhereTheWayOverThePointIsLessThanHalfAPixelLonger)
{
    RuleLine rule(placementWith(0));
    rule.setPoints({0, 0}, {100, 0});
    // sqrt(50² + 4²) = 50.1597, twice 100.319 < 100.5; with 5 pixels off 100.499; with 6 pixels 100.717.
    EXPECT_TRUE(rule.hitTest({50, 4}));
    EXPECT_TRUE(rule.hitTest({50, 5}));
    EXPECT_FALSE(rule.hitTest({50, 6}));
    EXPECT_TRUE(rule.hitTest({-4, 4}));
}

TEST(RuleLine, LosesTheMouseWayThatALimitRefuses)
{
    RuleLine rule(placementWith(0x01));
    rule.setPoints({10, 50}, {110, 50});
    rule.editPoint({60, 50}, kGrab);
    rule.editPoint({52, 50}, kMove);
    EXPECT_EQ(rule.getStart(), (PixelPoint{2, 50}));
    rule.editPoint({42, 50}, kMove); // 2 - 10 would pass the left edge
    EXPECT_EQ(rule.getStart(), (PixelPoint{2, 50}));
    rule.editPoint({52, 50}, kMove); // back where it was, yet 10 to the right
    EXPECT_EQ(rule.getStart(), (PixelPoint{12, 50}));
    EXPECT_EQ(rule.getEnd(), (PixelPoint{112, 50}));
}

TEST(RuleLine, DragsOnlyTheEndUnderTheCursorTheStartFirst)
{
    RuleLine rule(placementWith(0));
    rule.setPoints({10, 10}, {13, 10});
    rule.editPoint({12, 10}, kGrab);
    rule.editPoint({50, 50}, kMove);
    EXPECT_EQ(rule.getStart(), (PixelPoint{50, 50}));
    EXPECT_EQ(rule.getEnd(), (PixelPoint{13, 10}));
}

TEST(LineWithArrowRule, BeginsUprightInTheMiddleOfThePane)
{
    // 401 / 2 = 200; 303 / 2 = 151, halved 75.5, times one and a half 226.5.
    const LineWithArrowRule rule({401, 303, {0, 0, 401, 303}, 0});
    EXPECT_EQ(rule.getStart(), (PixelPoint{200, 75}));
    EXPECT_EQ(rule.getEnd(), (PixelPoint{200, 226}));
    EXPECT_FALSE(rule.isEmpty());
}

TEST(RuleRect, IsDrawnFromAnyCorner)
{
    RuleRect rule(placementWith(0));
    rule.addPoint({100, 100}, kPress);
    rule.addPoint({40, 160}, kMove);
    EXPECT_EQ(rule.getRect(), (PixelRect{40, 100, 100, 160}));
    rule.addPoint({-1, 160}, kMove);
    EXPECT_EQ(rule.getRect(), (PixelRect{40, 100, 100, 160}));
    EXPECT_TRUE(rule.addPoint({-5, 10}, kPress));
    EXPECT_EQ(rule.getRect(), (PixelRect{-5, 10, 100, 100}));
}

TEST(RuleRect, TakesTheCornerWhereDrawingBeganAlong)
{
    RuleRect rule(placementWith(0));
    rule.addPoint({100, 50}, kPress);
    rule.addPoint({200, 90}, kMove);
    // The pane is resized in the middle of drawing: the corner is at (20, 40) now.
    rule.translate(-90, -30);
    rule.scale(2.0F, 2.0F);
    EXPECT_EQ(rule.getRect(), (PixelRect{20, 40, 220, 120}));
    rule.addPoint({10, 60}, kMove);
    EXPECT_EQ(rule.getRect(), (PixelRect{10, 40, 20, 60}));
}

TEST(RuleRect, IsInOrderAgainAfterACornerPassedTheOppositeEdge)
{
    RuleRect rule(placementWith(0));
    rule.setRect({100, 100}, {200, 200});
    rule.editPoint({200, 200}, kGrab);
    rule.editPoint({50, 80}, kMove);
    EXPECT_EQ(rule.getRect(), (PixelRect{100, 100, 50, 80}));
    rule.editPoint({50, 80}, kRelease);
    EXPECT_EQ(rule.getRect(), (PixelRect{50, 80, 100, 100}));
}

TEST(RuleRect, KeepsTheMouseWayThatItsLimitsRefuse)
{
    RuleRect rule(placementWith(0x01));
    rule.setRect({10, 10}, {110, 110});
    rule.editPoint({60, 60}, kGrab);
    rule.editPoint({-1, 60}, kMove); // the point itself is outside: not even noted
    rule.editPoint({55, 60}, kMove);
    EXPECT_EQ(rule.getRect(), (PixelRect{5, 10, 105, 110}));
}

TEST(RuleRect, SetsTheTwoEdgesOfTheGrabbedCorner)
{
    struct Row {
        PixelPoint corner;
        PixelRect expected;
    };
    for (const Row &row : {Row{{100, 100}, {150, 150, 200, 200}},
                           {{200, 100}, {100, 150, 150, 200}},
                           {{200, 200}, {100, 100, 150, 150}},
                           {{100, 200}, {150, 100, 200, 150}},
                           {{130, 130}, {120, 120, 220, 220}}}) {
        RuleRect rule(placementWith(0));
        rule.setRect({100, 100}, {200, 200});
        rule.editPoint(row.corner, kGrab);
        rule.editPoint({150, 150}, kMove);
        EXPECT_EQ(rule.getRect(), row.expected) << row.corner;
    }
}

TEST(RulePolygon, IsCompleteAtItsLastClickWithThatManyVertices)
{
    RulePolygon rule(placementWith(0), {4, false});
    EXPECT_TRUE(rule.addPoint({10, 10}, kPress));
    EXPECT_TRUE(rule.addPoint({20, 10}, kMove));
    EXPECT_TRUE(rule.addPoint({20, 10}, kPress));
    EXPECT_TRUE(rule.addPoint({20, 20}, kMove));
    EXPECT_TRUE(rule.addPoint({20, 20}, kPress));
    EXPECT_TRUE(rule.addPoint({10, 20}, kMove));
    EXPECT_FALSE(rule.addPoint({10, 20}, kPress));
    EXPECT_EQ(rule.getPoints(), (std::vector<PixelPoint>{{10, 10}, {20, 10}, {20, 20}, {10, 20}}));
}

TEST(RulePolygon, IsFinishedEarlyOnlyWithFourVertices)
{
    RulePolygon rule(placementWith(0), {10, true});
    for (std::int32_t x = 10; x <= 30; x += 10) {
        rule.addPoint({x, x}, kPress);
    }
    EXPECT_TRUE(rule.addPoint({77, 78}, kRight)); // three placed, the fourth at the mouse
    EXPECT_EQ(rule.getPoints().size(), 4U);
    EXPECT_EQ(rule.getPoints().back(), (PixelPoint{77, 78}));
    EXPECT_TRUE(rule.addPoint({40, 10}, kPress));
    EXPECT_FALSE(rule.addPoint({90, 90}, kRight));
    EXPECT_EQ(rule.getPoints().size(), 4U);
}

TEST(RulePolygon, WithRoomForNoVertexIsCompleteAtTheSecondClick)
{
    for (const std::int32_t nMaxPoints : {0, 1, 2}) {
        RulePolygon rule(placementWith(0), {nMaxPoints, false});
        EXPECT_TRUE(rule.addPoint({10, 10}, kPress));
        EXPECT_FALSE(rule.addPoint({20, 20}, kPress));
        EXPECT_EQ(rule.getPoints().size(), 2U);
    }
}

TEST(RulePolygon, MovesAsAWholeAlsoWhenThePressMissedIt)
{
    RulePolygon rule(placementWith(0), {4, false});
    rule.setPoints({{10, 10}, {30, 10}, {30, 30}});
    rule.editPoint({200, 200}, kGrab);
    rule.editPoint({205, 203}, kMove);
    EXPECT_EQ(rule.getPoints(), (std::vector<PixelPoint>{{15, 13}, {35, 13}, {35, 33}}));
}

TEST(RulePolygon, DragsOnlyTheVertexUnderTheCursor)
{
    RulePolygon rule(placementWith(0), {4, false});
    rule.setPoints({{10, 10}, {90, 10}, {90, 90}});
    rule.editPoint({88, 12}, kGrab);
    rule.editPoint({100, 5}, kMove);
    EXPECT_EQ(rule.getPoints(), (std::vector<PixelPoint>{{10, 10}, {100, 5}, {90, 90}}));
    rule.setPoints({{1, 1}}); // while it is grabbed the host takes the vertex away
    rule.editPoint({50, 50}, kMove);
    EXPECT_EQ(rule.getPoints(), (std::vector<PixelPoint>{{1, 1}}));
}

TEST(RulePolygon, HoldsWhatLiesInsideOnAnEdgeOrAtAVertex)
{
    RulePolygon rule(placementWith(0), {10, false});
    // An arrow head to the right, notched: the notch at (60, 50).
    rule.setPoints({{20, 10}, {100, 50}, {20, 90}, {60, 50}});
    EXPECT_TRUE(rule.hitTest({80, 50}));
    EXPECT_TRUE(rule.hitTest({60, 30})); // on the first edge: (20, 10) + half of (80, 40)
    EXPECT_FALSE(rule.hitTest({40, 50}));
    EXPECT_TRUE(rule.hitTest({104, 46}));
    EXPECT_FALSE(rule.hitTest({110, 50}));
    EXPECT_FALSE(RulePolygon(placementWith(0), {}).hitTest({0, 0}));
}

TEST(RulePolygon, IsEmptyWhileEveryVertexIsInTheCorner)
{
    RulePolygon rule(placementWith(0), {});
    EXPECT_TRUE(rule.isEmpty());
    rule.addPoint({0, 0}, kPress);
    EXPECT_TRUE(rule.isEmpty());
    rule.addPoint({0, 1}, kMove);
    EXPECT_FALSE(rule.isEmpty());
}

TEST(RuleText, IsNotEmptyWhenFresh)
{
    EXPECT_FALSE(RuleText(placementWith(0)).isEmpty());
}

TEST(RuleText, IsDockedSidewaysAndMovesUpAndDown)
{
    struct Row {
        std::int32_t dock;
        std::int32_t left;
        std::int32_t right;
    };
    // The box (50, 60, 0, 0) is 50 pixels "wide" the other way round: right - left = -50.
    for (const Row &row : {Row{0, 57, 7}, {1, 0, -50}, {2, 450, 400}, {3, 57, 7}}) {
        RuleText rule(placementWith(0));
        rule.setText("x", RuleText::kTopLeft, row.dock);
        rule.setPoint({50, 60});
        rule.editPoint({10, 10}, kGrab);
        rule.editPoint({17, 21}, kMove);
        EXPECT_EQ(rule.getBox(), (PixelRect{row.left, 71, row.right, 11})) << row.dock;
    }
}

TEST(RuleText, MovesAndScalesLeftAndTopOnly)
{
    RuleText rule(placementWith(0));
    rule.setText("x", RuleText::kTopRight, 0);
    rule.setPoint({100, 40});
    rule.translate(10, 10);
    rule.scale(2.0F, 3.0F);
    EXPECT_EQ(rule.getBox(), (PixelRect{20, 150, 100, 0}));
    EXPECT_EQ(rule.getPoint(RuleText::kTopRight), (PixelPoint{100, 150}));
    EXPECT_EQ(rule.getPoint(3), std::nullopt);
}

TEST(Rule, ClampsCoordinatesToTheKeptEdgesOnly)
{
    for (std::uint8_t nMask = 0; nMask < 16; ++nMask) {
        RuleLine rule({100, 100, {10, 20, 110, 120}, nMask});
        rule.setPoints({-5, -6}, {500, 600});
        EXPECT_EQ(rule.getStart(), (PixelPoint{(nMask & 1) != 0 ? 10 : -5, (nMask & 2) != 0 ? 20 : -6}));
        EXPECT_EQ(rule.getEnd(), (PixelPoint{(nMask & 4) != 0 ? 110 : 500, (nMask & 8) != 0 ? 120 : 600}));
    }
}

TEST(Rule, KeepsItsPictureWhenScaledByZero)
{
    RuleRect rule(placementWith(0x0F));
    rule.setRect({10, 20}, {30, 40});
    rule.scale(0.0F, 0.0F);
    EXPECT_EQ(rule.getRect(), (PixelRect{0, 0, 0, 0}));
    // The limits are still those of the picture of 400 by 300.
    rule.setRect({-9, -9}, {999, 999});
    EXPECT_EQ(rule.getRect(), (PixelRect{0, 0, 400, 300}));
}

TEST(Rule, ComesBackFromBeyondTheRange)
{
    RuleLine rule(placementWith(0));
    rule.setPoints({kMax, kMin}, {5, 6});
    rule.translate(1, -1);
    EXPECT_EQ(rule.getStart(), (PixelPoint{kMin, kMax}));
    rule.translate(-1, 1);
    EXPECT_EQ(rule.getStart(), (PixelPoint{kMax, kMin}));
    EXPECT_FALSE(rule.hitTest({kMin, kMax}));
}

TEST(RuleGeometry, TakesTheMeanTowardsZero)
{
    EXPECT_EQ(centroid({{-1, 2}, {-2, 3}}), (PixelPoint{-1, 2})); // -3 / 2, 5 / 2
    EXPECT_EQ(centroid({{kMax, kMin}, {kMax, kMin}, {kMax, kMin}}), (PixelPoint{kMax, kMin}));
    EXPECT_EQ(centroid({}), (PixelPoint{0, 0}));
}

} // namespace
} // namespace pellora
