// Holes in a video window, as a person sees and clicks them.

#include "tests/embedding/EmbeddingFixture.h"

#include <QApplication>

namespace embedding
{

namespace
{

/** Holes by their rectangles and radii. */
tagPELLORA_CLIP_AREA holes(const std::vector<tagPELLORA_RECT> &rects, unsigned short wRadius = 0)
{
    tagPELLORA_CLIP_AREA area = {};
    for (const tagPELLORA_RECT &rect : rects) {
        area.wRadius[area.wNum] = wRadius;
        area.struRect[area.wNum++] = rect;
    }
    return area;
}

class ClipAreaTest : public EmbeddingFixture
{
protected:
    void SetUp() override
    {
        EmbeddingFixture::SetUp();
        m_lHandle = makeVideo(kPlainMode, 0, 0, 600, 450);
    }
    int clip(const std::vector<tagPELLORA_RECT> &rects, unsigned short wRadius = 0) const
    {
        tagPELLORA_CLIP_AREA area = holes(rects, wRadius);
        return PELLORA_SetClipArea(m_lHandle, &area);
    }
    /** The middle of pane `nPane` in a grid of so many columns. */
    static POINT middleOf(int nPane, int nColumns)
    {
        return {600 / nColumns * (nPane % nColumns) + 300 / nColumns,
                450 / nColumns * (nPane / nColumns) + 225 / nColumns};
    }
    /** A click there goes to the host's own window. */
    [[nodiscard]] bool reachesHost(int x, int y) const
    {
        const int nBefore = m_pHost->received(WM_LBUTTONDOWN);
        click(onScreen(host(), x, y));
        return support::pumpUntil([&] { return m_pHost->received(WM_LBUTTONDOWN) == nBefore + 1; });
    }
    /** A click there goes to a pane, which becomes the current one and so gets the next file. */
    [[nodiscard]] bool reachesPane(int x, int y, std::size_t nPane) const
    {
        const int nBefore = m_pHost->received(WM_LBUTTONDOWN);
        click(onScreen(host(), x, y));
        const QWidget *pWindow = videoWindows().front();
        const QWidget *pPane = panesOf(pWindow).at(nPane);
        const QWidget *pFrame = childNamed(pWindow, "m_pSelBodWnd");
        const QRect framed = pPane->geometry().adjusted(-1, -1, 1, 1);
        return support::pumpUntil([&] { return pFrame->geometry() == framed; }) &&
               m_pHost->received(WM_LBUTTONDOWN) == nBefore;
    }

    long m_lHandle = -1;
};

TEST_F(ClipAreaTest, ShowsTheHostThroughASquareHoleToThePixel)
{
    EXPECT_EQ(clip({{100, 50, 200, 150}}), 1);

    // Without a radius the region's right and bottom edges are one short, as the system's rounded ones are.
    for (const POINT inside : {POINT{100, 50}, POINT{198, 50}, POINT{100, 148}, POINT{198, 148}, POINT{150, 100}}) {
        EXPECT_TRUE(shows(inside.x, inside.y, kHostColour)) << inside.x << ", " << inside.y;
    }
    for (const POINT outside : {POINT{99, 100}, POINT{150, 49}, POINT{200, 100}, POINT{150, 150}, POINT{201, 151}}) {
        EXPECT_TRUE(shows(outside.x, outside.y, kPaneColour)) << outside.x << ", " << outside.y;
    }
    EXPECT_TRUE(reachesHost(150, 100));
    EXPECT_TRUE(reachesHost(100, 50));
    EXPECT_TRUE(reachesPane(99, 100, 0));
    EXPECT_TRUE(reachesPane(150, 49, 0));
}

TEST_F(ClipAreaTest, LeavesTheCornersOfARoundHoleToTheVideo)
{
    EXPECT_EQ(clip({{100, 50, 200, 150}}, 12), 1);

    EXPECT_TRUE(shows(150, 100, kHostColour));
    EXPECT_TRUE(shows(100, 100, kHostColour));
    EXPECT_TRUE(shows(150, 50, kHostColour));
    for (const POINT corner : {POINT{100, 50}, POINT{198, 50}, POINT{100, 148}, POINT{198, 148}}) {
        EXPECT_TRUE(shows(corner.x, corner.y, kPaneColour)) << corner.x << ", " << corner.y;
    }
    // Twelve across is six each way: what lies behind that is the hole's.
    EXPECT_TRUE(shows(106, 50, kHostColour));
    EXPECT_TRUE(shows(100, 56, kHostColour));
    EXPECT_TRUE(reachesHost(150, 100));
    EXPECT_TRUE(reachesPane(100, 50, 0));
}

TEST_F(ClipAreaTest, ShowsTheHostThroughSeveralHolesAndClosesThem)
{
    EXPECT_EQ(clip({{10, 10, 60, 60}, {100, 10, 160, 60}, {200, 10, 260, 60}, {40, 40, 120, 120}}), 1);
    // Two of them lie in two holes at once.
    for (const POINT inside :
         {POINT{20, 20}, POINT{130, 30}, POINT{230, 30}, POINT{80, 80}, POINT{50, 50}, POINT{110, 50}}) {
        EXPECT_TRUE(shows(inside.x, inside.y, kHostColour)) << inside.x << ", " << inside.y;
        EXPECT_TRUE(reachesHost(inside.x, inside.y));
    }
    EXPECT_TRUE(shows(180, 30, kPaneColour));

    EXPECT_EQ(clip({{300, 300, 350, 350}}), 1);
    EXPECT_TRUE(shows(20, 20, kPaneColour));
    EXPECT_TRUE(shows(320, 320, kHostColour));

    EXPECT_EQ(clip({}), 1);
    for (const POINT closed : {POINT{20, 20}, POINT{130, 30}, POINT{230, 30}, POINT{80, 80}, POINT{320, 320}}) {
        EXPECT_TRUE(shows(closed.x, closed.y, kPaneColour)) << closed.x << ", " << closed.y;
        EXPECT_TRUE(reachesPane(closed.x, closed.y, 0));
    }
}

TEST_F(ClipAreaTest, ShowsWhatThePageHasPutBehindTheHole)
{
    PageWindow menu(host(), L"PelloraOtherChild", 120, 70, 60, 60);
    EXPECT_EQ(clip({{100, 50, 200, 150}}), 1);

    EXPECT_TRUE(shows(150, 100, PageWindow::kColour));
    EXPECT_TRUE(shows(110, 60, kHostColour));
    click(onScreen(host(), 150, 100));
    EXPECT_TRUE(support::pumpUntil([&] { return menu.received(WM_LBUTTONDOWN) == 1; }));
    EXPECT_TRUE(reachesHost(110, 60));
}

/** Grids by the number of panes. */
class ClipGridTest : public ClipAreaTest, public testing::WithParamInterface<int>
{
protected:
    void SetUp() override
    {
        ClipAreaTest::SetUp();
        const auto nPanes = static_cast<unsigned short>(GetParam());
        PELLORA_SplitScreen(m_lHandle, nPanes);
        m_nColumns = nPanes == 1 ? 1 : nPanes == 4 ? 2 : 3;
        support::pumpPosted();
    }

    int m_nColumns = 0;
};

TEST_P(ClipGridTest, CutsTheHoleThroughEachPane)
{
    for (int i = 0; i < GetParam(); ++i) {
        const POINT place = middleOf(i, m_nColumns);
        ASSERT_TRUE(shows(place.x, place.y, kPaneColour)) << "pane " << i;
        EXPECT_EQ(clip({{place.x - 20, place.y - 20, place.x + 20, place.y + 20}}), 1);

        EXPECT_TRUE(shows(place.x, place.y, kHostColour)) << "pane " << i;
        EXPECT_TRUE(shows(place.x - 21, place.y, kPaneColour)) << "pane " << i;
        EXPECT_TRUE(reachesHost(place.x, place.y)) << "pane " << i;
        EXPECT_TRUE(reachesPane(place.x - 25, place.y, static_cast<std::size_t>(i))) << "pane " << i;
    }
}

TEST_P(ClipGridTest, CutsOneHoleThroughAllPanesAtOnce)
{
    EXPECT_EQ(clip({{30, 30, 570, 420}}), 1);

    for (int i = 0; i < GetParam(); ++i) {
        const POINT place = middleOf(i, m_nColumns);
        EXPECT_TRUE(shows(place.x, place.y, kHostColour)) << "pane " << i;
    }
    EXPECT_TRUE(reachesHost(300, 225));
    EXPECT_TRUE(shows(15, 100, kPaneColour));
}

INSTANTIATE_TEST_SUITE_P(Panes, ClipGridTest, testing::Values(1, 4, 9));

TEST_F(ClipAreaTest, KeepsTheHoleThroughOtherGridsAndAMaximisedPane)
{
    clip({{280, 200, 320, 240}});
    for (const unsigned short wPanes : {4, 9, 1, 9}) {
        PELLORA_SplitScreen(m_lHandle, wPanes);
        support::pumpPosted();
        EXPECT_TRUE(shows(300, 220, kHostColour)) << wPanes;
        EXPECT_TRUE(shows(100, 60, kPaneColour)) << wPanes;
        EXPECT_TRUE(reachesHost(300, 220)) << wPanes;
    }
}

TEST_F(ClipAreaTest, KeepsTheHoleAtItsPlaceInTheVideoWhenThatIsMoved)
{
    clip({{100, 50, 200, 150}});

    PELLORA_SetGeometry(m_lHandle, 30, 20, 600, 450);

    EXPECT_TRUE(shows(135, 75, kHostColour));
    EXPECT_TRUE(shows(225, 165, kHostColour));
    EXPECT_TRUE(shows(125, 75, kPaneColour));
    EXPECT_TRUE(shows(235, 75, kPaneColour));
}

TEST_F(ClipAreaTest, KeepsTheHoleOfASmallerVideoAndOfOneThatGrowsBack)
{
    clip({{100, 50, 200, 150}});
    PELLORA_SetGeometry(m_lHandle, 0, 0, 150, 100);
    EXPECT_TRUE(shows(120, 75, kHostColour));
    EXPECT_TRUE(shows(50, 50, kPaneColour));
    EXPECT_TRUE(shows(250, 75, kHostColour));

    PELLORA_SetGeometry(m_lHandle, 0, 0, 600, 450);

    EXPECT_TRUE(shows(150, 100, kHostColour));
    EXPECT_TRUE(shows(250, 75, kPaneColour));
    EXPECT_TRUE(shows(590, 440, kPaneColour));
}

TEST_F(ClipAreaTest, HasNoHolesInFullScreenAndTheSameOnesAfterwards)
{
    clip({{100, 50, 200, 150}});
    ASSERT_TRUE(shows(150, 100, kHostColour));
    for (int i = 0; i < 2; ++i) {
        PELLORA_FullScreen(m_lHandle);
        EXPECT_TRUE(shows(150, 100, kPaneColour));
        EXPECT_TRUE(shows(400, 300, kPaneColour));

        PELLORA_NormalScreen(m_lHandle);
        EXPECT_TRUE(shows(150, 100, kHostColour));
        EXPECT_TRUE(shows(250, 100, kPaneColour));
        EXPECT_TRUE(reachesHost(150, 100));
    }
}

TEST_F(ClipAreaTest, TakesAHoleThatIsCutDuringFullScreen)
{
    PELLORA_FullScreen(m_lHandle);
    support::pumpPosted();
    EXPECT_EQ(clip({{100, 50, 200, 150}}), 1);
    EXPECT_TRUE(shows(150, 100, kPaneColour));

    PELLORA_NormalScreen(m_lHandle);

    EXPECT_TRUE(shows(150, 100, kHostColour));
    EXPECT_TRUE(shows(250, 100, kPaneColour));
}

TEST_F(ClipAreaTest, KeepsTheHoleOfAHiddenVideo)
{
    clip({{100, 50, 200, 150}});
    PELLORA_SetVisible(m_lHandle, 0);
    EXPECT_TRUE(shows(250, 100, kHostColour));

    PELLORA_SetVisible(m_lHandle, 1);

    EXPECT_TRUE(shows(250, 100, kPaneColour));
    EXPECT_TRUE(shows(150, 100, kHostColour));
}

TEST_F(ClipAreaTest, TakesHolesThatLieOutsideOrUpsideDown)
{
    EXPECT_EQ(clip({{-50, -50, 20, 20}, {580, 430, 2000, 2000}, {5000, 5000, 6000, 6000}, {300, 200, 250, 150}}), 1);

    EXPECT_TRUE(shows(10, 10, kHostColour));
    EXPECT_TRUE(shows(590, 440, kHostColour));
    EXPECT_TRUE(shows(100, 100, kPaneColour));
}

} // namespace

} // namespace embedding
