#include "VideoWindow/SelectBoderWnd.h"

#include "corvane/CorvaneMgr.h"

#include <QEvent>
#include <QWidget>

#include <gtest/gtest.h>

#include <map>

namespace
{

class SelectBoderWndTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        corvane::CorvaneMgr::getInstance()->init();
    }

    void SetUp() override
    {
        m_parent.resize(400, 300);
        m_pFirst = new QWidget(&m_parent);
        m_pFirst->setGeometry(0, 0, 100, 80);
        m_pSecond = new QWidget(&m_parent);
        m_pSecond->setGeometry(150, 100, 60, 40);
        m_pFrame = new pellora::SelectBoderWnd(&m_parent);
        m_parent.show();
    }

    // No managed window: without a window manager Wine 8 waits two seconds for each that goes.
    QWidget m_parent{nullptr, Qt::ToolTip};
    QWidget *m_pFirst = nullptr;
    QWidget *m_pSecond = nullptr;
    pellora::SelectBoderWnd *m_pFrame = nullptr;
};

TEST_F(SelectBoderWndTest, IsOnePixelLargerThanItsTargetOnEverySide)
{
    m_pFrame->attach(m_pFirst);

    EXPECT_EQ(m_pFrame->geometry(), QRect(-1, -1, 102, 82));
}

TEST_F(SelectBoderWndTest, KeepsTargetAndGeometryWhenAttachedToNothing)
{
    m_pFrame->attach(m_pFirst);

    m_pFrame->attach(nullptr);

    EXPECT_EQ(m_pFrame->geometry(), QRect(-1, -1, 102, 82));
    m_pFirst->resize(50, 50);
    EXPECT_EQ(m_pFrame->geometry(), QRect(-1, -1, 52, 52));
}

TEST_F(SelectBoderWndTest, FollowsOnlyTheSecondTarget)
{
    m_pFrame->attach(m_pFirst);
    m_pFrame->attach(m_pSecond);
    EXPECT_EQ(m_pFrame->geometry(), QRect(149, 99, 62, 42));

    m_pFirst->resize(20, 20);
    EXPECT_EQ(m_pFrame->geometry(), QRect(149, 99, 62, 42));
    m_pSecond->resize(80, 40);
    EXPECT_EQ(m_pFrame->geometry(), QRect(149, 99, 82, 42));
}

/** Counts what it is asked about. */
class AskedFrame : public pellora::SelectBoderWnd
{
public:
    using pellora::SelectBoderWnd::SelectBoderWnd;

    bool eventFilter(QObject *pWatched, QEvent *pEvent) override
    {
        ++m_asked[pWatched];
        return pellora::SelectBoderWnd::eventFilter(pWatched, pEvent);
    }

    std::map<const QObject *, int> m_asked;
};

TEST_F(SelectBoderWndTest, IsAskedAboutNoEventOfATargetThatItHasLeft)
{
    AskedFrame frame(&m_parent);
    frame.attach(m_pFirst);
    m_pFirst->resize(20, 20);
    EXPECT_GT(frame.m_asked[m_pFirst], 0);

    frame.attach(m_pSecond);
    frame.m_asked.clear();
    m_pFirst->resize(30, 30);
    m_pSecond->resize(30, 30);

    EXPECT_EQ(frame.m_asked[m_pFirst], 0);
    EXPECT_GT(frame.m_asked[m_pSecond], 0);
}

TEST_F(SelectBoderWndTest, FollowsNoMoveWithoutAResize)
{
    m_pFrame->attach(m_pSecond);

    m_pSecond->move(10, 10);
    EXPECT_EQ(m_pFrame->geometry(), QRect(149, 99, 62, 42));

    m_pSecond->resize(61, 40);
    EXPECT_EQ(m_pFrame->geometry(), QRect(9, 9, 63, 42));
}

TEST_F(SelectBoderWndTest, DrawsNothingOfItsOwn)
{
    // The style sheet alone says how it looks, and there is none here.
    EXPECT_EQ(m_pFrame->frameShape(), QFrame::NoFrame);
    EXPECT_TRUE(m_pFrame->styleSheet().isEmpty());
}

TEST_F(SelectBoderWndTest, TakesNoEventFromItsTarget)
{
    QObject *const pFilter = m_pFrame;
    m_pFrame->attach(m_pFirst);
    for (const QEvent::Type type : {QEvent::Resize, QEvent::Move, QEvent::MouseButtonPress, QEvent::Paint}) {
        QEvent event(type);
        EXPECT_FALSE(pFilter->eventFilter(m_pFirst, &event)) << type;
        EXPECT_FALSE(pFilter->eventFilter(nullptr, &event)) << type;
    }
    EXPECT_FALSE(pFilter->eventFilter(m_pFirst, nullptr));
}

TEST_F(SelectBoderWndTest, OutlivesItsTarget)
{
    m_pFrame->attach(m_pFirst);
    delete m_pFirst;

    m_pFrame->attach(m_pSecond);

    EXPECT_EQ(m_pFrame->geometry(), QRect(149, 99, 62, 42));
}

} // namespace
