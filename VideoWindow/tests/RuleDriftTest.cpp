// How far rules drift when their pane is resized, and how a host gets them back.

#include "VideoWindow/RuleMgr.h"

#include "interface/Pellora.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

using namespace pellora;

namespace
{

/** A pane whose picture fills it, with nine points from one corner to the other, each a whole pixel of it. */
class RuleDriftTest : public testing::Test
{
protected:
    static constexpr int kPoints = 9;

    void SetUp() override
    {
        m_rules.paneResized({0, 0}, {m_nWidth, m_nHeight});
        for (int i = 0; i < kPoints; ++i) {
            EXPECT_EQ(m_rules.createRule(RuleType::Point, 0, nullptr, 0), i);
        }
        writeAll();
    }

    void resize(int nWidth, int nHeight)
    {
        m_rules.paneResized({m_nWidth, m_nHeight}, {nWidth, nHeight});
        m_nWidth = nWidth;
        m_nHeight = nHeight;
    }

    /** Down to 600 by 300 and back to 1000 by 500, as a frame is dragged. */
    void dragFrame(int nSteps)
    {
        for (int i = 1; i <= nSteps; ++i) {
            const int nFromSmallest = std::abs(nSteps / 2 - i);
            resize(600 + 400 * nFromSmallest / (nSteps / 2), 300 + 200 * nFromSmallest / (nSteps / 2));
        }
    }

    void writeAll()
    {
        for (int i = 0; i < kPoints; ++i) {
            const tagPELLORA_RULE_POINT point = {{thousandths(i), thousandths(i)}};
            EXPECT_TRUE(m_rules.setRuleCoode(i, &point));
        }
    }

    /** The farthest that a point reads from where it was written. */
    long farthest() const
    {
        long nFarthest = 0;
        for (int i = 0; i < kPoints; ++i) {
            tagPELLORA_RULE_POINT point = {};
            EXPECT_TRUE(m_rules.getRuleCoord(i, &point));
            nFarthest = std::max({nFarthest, std::labs(point.struPoint.x - thousandths(i)),
                                  std::labs(point.struPoint.y - thousandths(i))});
        }
        return nFarthest;
    }

    static long thousandths(int nIndex)
    {
        return 38L + 106L * nIndex;
    }

    RuleMgr m_rules;
    int m_nWidth = 1000;
    int m_nHeight = 500;
};

TEST_F(RuleDriftTest, StaysExactWhenEveryFactorIsWhole)
{
    for (int i = 0; i < 100; ++i) {
        resize(2000, 1000);
        resize(1000, 500);
    }
    EXPECT_EQ(farthest(), 0);
}

TEST_F(RuleDriftTest, LosesAPixelAtMostInOneResize)
{
    resize(777, 333);
    // Down, a pixel is three thousandths, and the picture's own edge may have lost one, too.
    EXPECT_LE(farthest(), 6);
}

TEST_F(RuleDriftTest, LosesNoMoreThanAPixelWithEachStepOfADraggedFrame)
{
    dragFrame(40);
    // A pixel down is two thousandths.
    EXPECT_LE(farthest(), 80);
    EXPECT_GT(farthest(), 0);
}

TEST_F(RuleDriftTest, IsUndoneByAHostThatFitsThePictureAndWritesItsCoordinatesAgain)
{
    dragFrame(40);
    m_rules.showWhole({m_nWidth, m_nHeight});
    writeAll();
    // Each point stands at a whole pixel of the pane again.
    EXPECT_EQ(farthest(), 0);
}

} // namespace
