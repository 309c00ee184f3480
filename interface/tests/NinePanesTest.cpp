// What reaches each of a window's nine panes, however many are shown.

#include "interface/tests/PreviewFixture.h"

#include <QApplication>
#include <QMouseEvent>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

class NinePanesTest : public PreviewFixture
{
protected:
    void click(std::size_t nPane) const
    {
        QMouseEvent event(QEvent::MouseButtonPress, QPointF(3, 3), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(pane(nPane), &event);
    }
};

TEST_F(NinePanesTest, ReportTheirStateOneByOne)
{
    listen();
    PELLORA_SplitScreen(m_lHandle, 9);

    for (std::size_t nPane = 0; nPane < 9; ++nPane) {
        click(nPane);
    }

    EXPECT_THAT(told(), ElementsAre("0 -1/0 0", "1 -1/0 0", "2 -1/0 0", "3 -1/0 0", "4 -1/0 0", "5 -1/0 0", "6 -1/0 0",
                                    "7 -1/0 0", "8 -1/0 0"));
}

TEST_F(NinePanesTest, CanBeChosenWhileOneIsShown)
{
    for (long lPane = 0; lPane < 9; ++lPane) {
        EXPECT_EQ(PELLORA_SetCurWnd(m_lHandle, lPane), 1) << lPane;
        playFile(m_lHandle);
        EXPECT_THAT(newCalls(), IsEmpty());
        EXPECT_THAT(doubles::openPorts(), SizeIs(lPane + 1));
    }
    EXPECT_EQ(PELLORA_SetCurWnd(m_lHandle, 9), 0);
    EXPECT_TRUE(pane(0)->isVisible());
    EXPECT_FALSE(pane(8)->isVisible());
}

TEST_F(NinePanesTest, AreHiddenButTheFirstFromTheBeginning)
{
    EXPECT_TRUE(pane(0)->isVisibleTo(pane(0)->parentWidget()));
    for (std::size_t nPane = 1; nPane < 9; ++nPane) {
        EXPECT_FALSE(pane(nPane)->isVisibleTo(pane(nPane)->parentWidget())) << nPane;
    }
}

TEST_F(NinePanesTest, AreAllStopped)
{
    for (const bool bHere : {false, true}) {
        EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batchOf(9), nullptr), 1);
        EXPECT_THAT(doubles::openPreviews(), SizeIs(9));

        EXPECT_EQ(bHere ? PELLORA_StopAllPreviewStream_Async(m_lHandle) : PELLORA_StopAllPreviewStream(m_lHandle), 1);

        EXPECT_TRUE(until([] { return doubles::openPreviews().empty(); }));
    }
}

} // namespace
