// The picture's rectangle when its pane is resized and its display region changes.

#include "VideoWindow/RuleMgr.h"

#include "rules/RuleRect.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

using namespace pellora;

namespace
{

constexpr RECT kLowerRight = {500, 500, 1000, 1000};

PixelSize extentOf(const PixelRect &rect)
{
    return {rect.right - rect.left, rect.bottom - rect.top};
}

/** A pane that was shown at 1000 by 500. */
class PaneResizeTest : public testing::Test
{
protected:
    void SetUp() override
    {
        resize({1000, 500});
    }

    void resize(PixelSize size)
    {
        m_rules.paneResized(m_pane, size);
        m_pane = size;
    }

    /** In a row: larger and smaller, to nothing at times. */
    void resizeAtRandom(std::mt19937 &random)
    {
        const auto extent = [&random] { return static_cast<std::int32_t>(random() % 50 == 0 ? 0 : random() % 2000); };
        resize({extent(), extent()});
    }

    static PixelRect wholeOf(PixelSize pane)
    {
        return {0, 0, std::max(pane.width, 1), std::max(pane.height, 1)};
    }

    RuleMgr m_rules;
    PixelSize m_pane;
};

TEST_F(PaneResizeTest, IsThePaneExactlyWhileThereIsNoRule)
{
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        resizeAtRandom(random);
        ASSERT_EQ(m_rules.getPictureRect(), wholeOf(m_pane)) << i;
    }
}

TEST_F(PaneResizeTest, IsThePanesRegionExactlyWhileThereIsNoRule)
{
    std::mt19937 random(2);
    ASSERT_TRUE(m_rules.showRegion(kLowerRight));
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{-1000, -500, 1000, 500}));
    for (int i = 0; i < 500; ++i) {
        resizeAtRandom(random);
    }
    resize({640, 360});
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{-640, -360, 640, 360}));
    // Not a fraction of what the sizes before had left of it.
    resize({3, 3});
    resize({1000, 500});
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{-1000, -500, 1000, 500}));
}

TEST_F(PaneResizeTest, KeepsTheOriginThatARegionWasShownWith)
{
    m_rules.setOriginPos(2);
    // Rows from the bottom, scaled by the width: see RuleExportsTest.
    ASSERT_TRUE(m_rules.showRegion({250, 750, 750, 250}));
    const PixelRect picture = m_rules.getPictureRect();
    m_rules.setOriginPos(1);
    resize({500, 250});
    resize({1000, 500});
    EXPECT_EQ(m_rules.getPictureRect(), picture);
}

TEST_F(PaneResizeTest, IsScaledAndTruncatedWithItsRules)
{
    ASSERT_EQ(m_rules.createRule(RuleType::Rect, 0, nullptr, 0), 0);
    resize({777, 333});
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{0, 0, static_cast<std::int32_t>(1000.0F * (777.0F / 1000.0F)),
                                                   static_cast<std::int32_t>(500.0F * (333.0F / 500.0F))}));
    // The last rule is gone: from the pane again.
    m_rules.destroyRule(0);
    resize({778, 333});
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{0, 0, 778, 333}));
}

TEST_F(PaneResizeTest, NeverVanishesWithItsRules)
{
    for (unsigned int nSeed = 0; nSeed < 20; ++nSeed) {
        std::mt19937 random(nSeed);
        m_rules.clearRules();
        resize({1000, 500});
        ASSERT_EQ(m_rules.createRule(RuleType::Rect, 0, nullptr, 15), 0);
        for (int i = 0; i < 500; ++i) {
            resizeAtRandom(random);
            const PixelSize extent = extentOf(m_rules.getPictureRect());
            ASSERT_GE(extent.width, 1) << nSeed << ' ' << i;
            ASSERT_GE(extent.height, 1) << nSeed << ' ' << i;
        }
        // Coordinates can be read, whatever became of the picture.
        const RuleRectRecord record = {{0, 0}, {1, 1}};
        EXPECT_TRUE(m_rules.setRuleCoode(0, &record));
        RuleRectRecord result;
        EXPECT_TRUE(m_rules.getRuleCoord(0, &result));
        EXPECT_GT(result.struBottomRight.nX, std::numeric_limits<std::int32_t>::min());
        EXPECT_GT(result.struBottomRight.nY, std::numeric_limits<std::int32_t>::min());
    }
}

TEST_F(PaneResizeTest, IsThePaneExactlyAfterTheWholePictureIsShown)
{
    std::mt19937 random(5);
    ASSERT_EQ(m_rules.createRule(RuleType::Rect, 0, nullptr, 15), 0);
    for (int i = 0; i < 500; ++i) {
        resizeAtRandom(random);
        if (random() % 10 == 0) {
            m_rules.showRegion({static_cast<LONG>(random() % 2000) - 500, static_cast<LONG>(random() % 2000) - 500,
                                static_cast<LONG>(random() % 2000) - 500, static_cast<LONG>(random() % 2000) - 500});
        }
        const PixelRect before = m_rules.getPictureRect();
        m_rules.showWhole(m_pane);
        const bool bPane = m_pane.width > 0 && m_pane.height > 0;
        ASSERT_EQ(m_rules.getPictureRect(), bPane ? wholeOf(m_pane) : before) << i;
    }
    // The rule's limits are the pane's edges, too.
    resize({640, 360});
    m_rules.showWhole({640, 360});
    const RuleRectRecord record = {{-500, -500}, {1500, 1500}};
    EXPECT_TRUE(m_rules.setRuleCoode(0, &record));
    EXPECT_EQ(static_cast<const RuleRect *>(m_rules.getRule(0))->getRect(), (PixelRect{0, 0, 640, 360}));
}

TEST_F(PaneResizeTest, TakesTheWholePictureAfterARegionIsOver)
{
    ASSERT_TRUE(m_rules.showRegion(kLowerRight));
    m_rules.showWhole(m_pane);
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{0, 0, 1000, 500}));
    resize({640, 360});
    EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{0, 0, 640, 360}));
}

TEST_F(PaneResizeTest, ChangesNothingForARegionThatCannotBeShown)
{
    for (const RECT &region : {RECT{500, 0, 500, 1000}, RECT{0, 300, 1000, 300}, RECT{0, 0, 1000, 1},
                               // So large that nothing is left of the picture.
                               RECT{-2000000, -2000000, 2000000, 2000000}}) {
        EXPECT_FALSE(m_rules.showRegion(region));
        EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{0, 0, 1000, 500}));
        resize({1000, 500});
        EXPECT_EQ(m_rules.getPictureRect(), (PixelRect{0, 0, 1000, 500}));
    }
}

TEST_F(PaneResizeTest, MovesTheCornerOfARectangleThatIsBeingDrawn)
{
    ASSERT_EQ(m_rules.createRule(RuleType::Rect, 0, nullptr, 0), 0);
    m_rules.addPoint(0, {100, 100}, RuleAction::LeftPress);
    resize({2000, 1000});
    m_rules.addPoint(0, {600, 500}, RuleAction::Move);
    EXPECT_EQ(static_cast<const RuleRect *>(m_rules.getRule(0))->getRect(), (PixelRect{200, 200, 600, 500}));
}

} // namespace
