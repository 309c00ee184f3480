#include "base/tests/HostWindow.h"
#include "base/tests/UserInput.h"
#include "widgets/CFullScreenWidget.h"
#include "widgets/CWidgetLayoutMgr.h"
#include "widgets/QWinWidget.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace
{

using ZentixGUIToolkit::CFullScreenWidget;
using ZentixGUIToolkit::CWidgetLayoutMgr;

HWND handleOf(const QWidget *pWidget)
{
    return reinterpret_cast<HWND>(pWidget->winId());
}

RECT screenRect(HWND hWnd)
{
    RECT rect{};
    GetWindowRect(hWnd, &rect);
    return rect;
}

bool operator==(const RECT &a, const RECT &b)
{
    return EqualRect(&a, &b) != FALSE;
}

// A widget that remembers where it was pressed.
class Pane : public QLabel
{
public:
    using QLabel::QLabel;
    QPoint m_pressed{-1, -1};

protected:
    void mousePressEvent(QMouseEvent *pEvent) override
    {
        m_pressed = pEvent->pos();
        EXPECT_EQ(pEvent->globalPos(), mapToGlobal(pEvent->pos()));
    }
};

// The arrangement that video windows use: a host's window, a frame that fills it, two panes.
struct Window {
    HostWindow host{100, 80, 640, 480};
    QWinWidget widget{host.handle()};
    QGridLayout layout{&widget};
    CFullScreenWidget frame{&widget};
    Pane nativePane{&frame};
    Pane plainPane{&frame};

    Window()
    {
        layout.setContentsMargins(0, 0, 0, 0);
        layout.addWidget(&frame, 0, 0);
        nativePane.setAttribute(Qt::WA_NativeWindow);
        nativePane.setGeometry(20, 10, 100, 80);
        plainPane.setGeometry(200, 100, 100, 80);
        frame.setStyleSheet("background-color: #232323");
        widget.show();
        pumpUntil([this] { return frame.width() == 640 && IsWindowVisible(handleOf(&frame)) != FALSE; });
    }
};

TEST(QWinWidget, IsAChildThatFillsTheHost)
{
    HostWindow host(100, 80, 640, 480);
    QWinWidget widget(host.handle());
    EXPECT_EQ(host.handle(), widget.parentWindow());
    EXPECT_EQ(host.handle(), GetParent(handleOf(&widget)));
    EXPECT_NE(0, GetWindowLongW(handleOf(&widget), GWL_STYLE) & WS_CHILD);
    widget.show();
    EXPECT_TRUE(pumpUntil([&] { return IsWindowVisible(handleOf(&widget)) != FALSE; }));
    EXPECT_TRUE(screenRect(host.handle()) == screenRect(handleOf(&widget)));
}

TEST(QWinWidget, TakesItsGeometryInClientPixelsOfTheHost)
{
    HostWindow host(100, 80, 640, 480);
    QWinWidget widget(host.handle());
    widget.show();
    widget.setGeometry(30, 40, 200, 100);
    const RECT expected{130, 120, 330, 220};
    EXPECT_TRUE(pumpUntil([&] { return screenRect(handleOf(&widget)) == expected; }));
    EXPECT_EQ(QRect(30, 40, 200, 100), widget.geometry());
    widget.setGeometry(0, 0, 100, 50);
    EXPECT_EQ(QRect(0, 0, 100, 50), widget.geometry());
}

TEST(QWinWidget, FollowsNoResizeOfTheHost)
{
    Window window;
    SetWindowPos(window.host.handle(), nullptr, 0, 0, 800, 600, SWP_NOMOVE | SWP_NOZORDER);
    QMetaObject::invokeMethod(
        &window.widget, [&window] { window.widget.setToolTip("x"); }, Qt::QueuedConnection);
    EXPECT_TRUE(pumpUntil([&] { return !window.widget.toolTip().isEmpty(); }));
    EXPECT_EQ(QSize(640, 480), window.widget.size());
}

TEST(QWinWidget, TakesTheFocusOnAClickInside)
{
    Window window;
    SetFocus(window.host.handle());
    click({100 + 250, 80 + 150});
    EXPECT_TRUE(pumpUntil([&] { return window.plainPane.m_pressed == QPoint(50, 50); }));
    EXPECT_TRUE(GetFocus() == handleOf(&window.widget) || IsChild(handleOf(&window.widget), GetFocus()) != FALSE);
}

TEST(QWinWidget, SurvivesTheHostsEnd)
{
    Window window;
    const HWND hWidget = handleOf(&window.widget);
    const HWND hPane = handleOf(&window.nativePane);
    window.host.destroy();
    // Qt and players keep native windows that exist, where nobody sees them.
    EXPECT_NE(FALSE, IsWindow(hWidget));
    EXPECT_NE(FALSE, IsWindow(hPane));
    EXPECT_EQ(FALSE, IsWindowVisible(hPane));
    EXPECT_FALSE(window.widget.isVisible());
    window.widget.show();
    window.widget.setGeometry(1, 2, 300, 200);
    window.frame.EnterFullScreen();
    window.frame.ExitFullScreen();
    EXPECT_FALSE(window.widget.isVisible());
}

/** Does something when it is hidden, which is when its host goes. */
class HiddenWidget : public QWinWidget
{
public:
    HiddenWidget(HWND hParentWnd, std::function<void()> whenHidden)
        : QWinWidget(hParentWnd), m_whenHidden(std::move(whenHidden))
    {
    }

protected:
    void hideEvent(QHideEvent *) override
    {
        m_whenHidden();
    }

private:
    std::function<void()> m_whenHidden;
};

TEST(QWinWidget, IsToldNothingOfTheHostOfOneThatWasInItsPlace)
{
    // In the same memory, so that a call that was meant for the one before reaches it.
    using Place = std::optional<HiddenWidget>;
    std::array<Place, 4> places;
    HostWindow host(100, 80, 640, 480);
    HostWindow second(100, 80, 640, 480);
    const Place *pFirst = nullptr;
    const auto moveOthers = [&](const Place &hidden) {
        pFirst = &hidden;
        for (Place &place : places) {
            if (&place != &hidden) {
                place.emplace(second.handle(), [] {});
                place->show();
            }
        }
    };
    for (Place &place : places) {
        place.emplace(host.handle(), [&moveOthers, &place] { moveOthers(place); });
        place->show();
    }

    host.destroy();

    ASSERT_NE(nullptr, pFirst);
    for (const Place &place : places) {
        EXPECT_EQ(&place != pFirst, place->isVisible());
    }
}

TEST(QWinWidget, LeavesItsHostAlsoWhenOneOfItsHandlersFails)
{
    HostWindow host(100, 80, 640, 480);
    HiddenWidget failing(host.handle(), [] { throw std::runtime_error("no end"); });
    HiddenWidget other(host.handle(), [] {});
    failing.show();
    other.show();
    const HWND hFailing = handleOf(&failing);
    const HWND hOther = handleOf(&other);

    host.destroy();

    EXPECT_NE(FALSE, IsWindow(hFailing));
    EXPECT_NE(FALSE, IsWindow(hOther));
    EXPECT_FALSE(failing.isVisible());
    EXPECT_FALSE(other.isVisible());
}

bool g_bRefusing;

LRESULT CALLBACK refuse(int nCode, WPARAM wParam, LPARAM lParam)
{
    return nCode == HCBT_DESTROYWND && g_bRefusing ? 1 : CallNextHookEx(nullptr, nCode, wParam, lParam);
}

TEST(QWinWidget, LivesOnWhenItsHostsEndIsRefusedAndLeavesAtTheNextOne)
{
    // An earlier hook, and so asked after the library's.
    const HHOOK hHook = SetWindowsHookExW(WH_CBT, refuse, nullptr, GetCurrentThreadId());
    HostWindow host(100, 80, 640, 480);
    HostWindow second(100, 80, 640, 480);
    QWinWidget widget(host.handle());
    QWinWidget other(second.handle());
    widget.show();
    other.show();
    g_bRefusing = true;
    EXPECT_EQ(FALSE, DestroyWindow(host.handle()));
    EXPECT_TRUE(widget.isVisible());
    EXPECT_FALSE(widget.hasLeftHost());

    g_bRefusing = false;
    second.destroy();
    EXPECT_TRUE(other.hasLeftHost());
    EXPECT_TRUE(widget.isVisible());
    host.destroy();
    EXPECT_TRUE(widget.hasLeftHost());
    EXPECT_NE(FALSE, IsWindow(handleOf(&widget)));
    UnhookWindowsHookEx(hHook);
}

TEST(QWinWidget, LeavesAHostThatGoesWithItsOwnerOrItsParent)
{
    HostWindow owner(0, 0, 640, 480);
    const HWND hOwned = CreateWindowExW(0, L"Static", L"owned", WS_POPUP | WS_VISIBLE, 10, 10, 300, 200, owner.handle(),
                                        nullptr, nullptr, nullptr);
    const HWND hChild = CreateWindowExW(0, L"Static", L"child", WS_CHILD | WS_VISIBLE, 10, 10, 300, 200, hOwned,
                                        nullptr, nullptr, nullptr);
    QWinWidget inOwned(hOwned);
    QWinWidget inChild(hChild);
    inOwned.show();
    inChild.show();

    owner.destroy();

    for (const QWinWidget *pWidget : {&inOwned, &inChild}) {
        EXPECT_TRUE(pWidget->hasLeftHost());
        EXPECT_NE(FALSE, IsWindow(handleOf(pWidget)));
    }
}

TEST(QWinWidget, LeavesNoWindowBehind)
{
    HostWindow host(100, 80, 640, 480);
    for (int i = 0; i < 200; ++i) {
        QWinWidget widget(host.handle());
        CFullScreenWidget frame(&widget);
        widget.show();
    }
    EXPECT_EQ(nullptr, GetWindow(host.handle(), GW_CHILD));
    EXPECT_TRUE(QApplication::allWidgets().isEmpty());
}

TEST(CFullScreenWidget, CoversTheScreenAndComesBackExactly)
{
    Window window;
    const HWND hFrame = handleOf(&window.frame);
    const HWND hPane = handleOf(&window.nativePane);
    const RECT before = screenRect(hFrame);
    const LONG style = GetWindowLongW(hFrame, GWL_STYLE);
    window.frame.EnterFullScreen();
    const RECT screen{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    EXPECT_TRUE(pumpUntil([&] { return screenRect(hFrame) == screen; }));
    EXPECT_EQ(&window.widget, window.frame.parentWidget());
    EXPECT_EQ(hFrame, handleOf(&window.frame));
    EXPECT_EQ(hPane, handleOf(&window.nativePane));
    EXPECT_NE(FALSE, IsWindowVisible(hPane));
    EXPECT_EQ(QSize(screen.right, screen.bottom), window.frame.size());
    EXPECT_TRUE(pumpUntil([] { return colourAt({1500, 1100}) == RGB(0x23, 0x23, 0x23); }));

    window.frame.ExitFullScreen();
    EXPECT_TRUE(pumpUntil([&] { return screenRect(hFrame) == before; }));
    EXPECT_EQ(hFrame, handleOf(&window.frame));
    EXPECT_EQ(hPane, handleOf(&window.nativePane));
    EXPECT_NE(FALSE, IsWindow(hPane));
    EXPECT_EQ(handleOf(&window.widget), GetParent(hFrame));
    EXPECT_EQ(style, GetWindowLongW(hFrame, GWL_STYLE));
    EXPECT_EQ(QRect(0, 0, 640, 480), window.frame.geometry());
}

TEST(CFullScreenWidget, GivesItsChildrenTheirMousePositions)
{
    Window window;
    for (int round = 0; round < 2; ++round) {
        window.frame.EnterFullScreen();
        EXPECT_TRUE(pumpUntil([&] { return window.frame.width() == GetSystemMetrics(SM_CXSCREEN); }));
        click({20 + 7, 10 + 9});
        EXPECT_TRUE(pumpUntil([&] { return window.nativePane.m_pressed == QPoint(7, 9); }));
        click({200 + 5, 100 + 6});
        EXPECT_TRUE(pumpUntil([&] { return window.plainPane.m_pressed == QPoint(5, 6); }));
        window.frame.ExitFullScreen();
        EXPECT_TRUE(pumpUntil([&] { return window.frame.width() == 640; }));
        click({100 + 20 + 11, 80 + 10 + 12});
        EXPECT_TRUE(pumpUntil([&] { return window.nativePane.m_pressed == QPoint(11, 12); }));
        click({100 + 200 + 13, 80 + 100 + 14});
        EXPECT_TRUE(pumpUntil([&] { return window.plainPane.m_pressed == QPoint(13, 14); }));
    }
}

TEST(CFullScreenWidget, ComesBackOnEscape)
{
    Window window;
    window.frame.EnterFullScreen();
    EXPECT_TRUE(pumpUntil([&] { return GetFocus() == handleOf(&window.frame); }));
    press(VK_ESCAPE);
    EXPECT_TRUE(pumpUntil([&] { return !window.frame.IsFullScreen() && window.frame.width() == 640; }));
}

TEST(CFullScreenWidget, ComesBackWhenItIsClosed)
{
    Window window;
    window.frame.EnterFullScreen();
    const HWND hFrame = handleOf(&window.frame);
    PostMessageW(hFrame, WM_CLOSE, 0, 0);
    EXPECT_TRUE(pumpUntil([&] { return !window.frame.IsFullScreen(); }));
    EXPECT_TRUE(window.frame.isVisible());
    EXPECT_EQ(hFrame, handleOf(&window.frame));
}

TEST(CFullScreenWidget, ComesBackWhenItsWindowIsHidden)
{
    Window window;
    window.frame.EnterFullScreen();
    window.widget.hide();
    EXPECT_FALSE(window.frame.IsFullScreen());
    EXPECT_EQ(FALSE, IsWindowVisible(handleOf(&window.frame)));
    window.widget.show();
    EXPECT_TRUE(pumpUntil([&] { return window.frame.geometry() == QRect(0, 0, 640, 480); }));
    EXPECT_NE(FALSE, IsWindowVisible(handleOf(&window.frame)));
}

TEST(CFullScreenWidget, StaysFullScreenWhenItsParentIsResized)
{
    Window window;
    window.frame.EnterFullScreen();
    window.widget.setGeometry(0, 0, 300, 200);
    window.layout.activate();
    EXPECT_EQ(GetSystemMetrics(SM_CXSCREEN), window.frame.width());
    window.frame.ExitFullScreen();
    EXPECT_TRUE(pumpUntil([&] { return window.frame.size() == QSize(300, 200); }));
}

TEST(CFullScreenWidget, ComesBackToItsPlaceAmongSiblings)
{
    HostWindow host(100, 80, 640, 480);
    QWinWidget widget(host.handle());
    CFullScreenWidget lower(&widget);
    CFullScreenWidget frame(&widget);
    CFullScreenWidget upper(&widget);
    widget.show();
    const HWND hAbove = GetWindow(handleOf(&frame), GW_HWNDPREV);
    const HWND hBelow = GetWindow(handleOf(&frame), GW_HWNDNEXT);
    ASSERT_EQ(hAbove, handleOf(&upper));
    frame.EnterFullScreen();
    frame.ExitFullScreen();
    EXPECT_EQ(hAbove, GetWindow(handleOf(&frame), GW_HWNDPREV));
    EXPECT_EQ(hBelow, GetWindow(handleOf(&frame), GW_HWNDNEXT));
}

TEST(CFullScreenWidget, SurvivesTheHostsEndWhileFullScreen)
{
    auto pWindow = std::make_unique<Window>();
    pWindow->frame.EnterFullScreen();
    const HWND hFrame = handleOf(&pWindow->frame);
    const HWND hPane = handleOf(&pWindow->nativePane);
    pWindow->host.destroy();
    EXPECT_FALSE(pWindow->frame.IsFullScreen());
    EXPECT_NE(FALSE, IsWindow(hFrame));
    EXPECT_NE(FALSE, IsWindow(hPane));
    EXPECT_EQ(FALSE, IsWindowVisible(hFrame));
    EXPECT_FALSE(pWindow->widget.isVisible());
    pWindow->frame.EnterFullScreen();
    EXPECT_EQ(FALSE, IsWindowVisible(hFrame));
    pWindow.reset();
    EXPECT_EQ(FALSE, IsWindow(hFrame));
    EXPECT_TRUE(QApplication::allWidgets().isEmpty());
}

class LayoutTest : public testing::Test
{
protected:
    LayoutTest()
    {
        for (int i = 0; i < 9; ++i) {
            m_listPane.append(new QLabel(&m_window.frame));
        }
        m_window.nativePane.hide();
        m_window.plainPane.hide();
    }
    QRect place(int index) const
    {
        return m_listPane[index]->geometry();
    }
    void start()
    {
        ASSERT_TRUE(m_layout.Init(ZentixGUIToolkit::GetTargetPathFile("WidgetLayout/WidgetLayout.xml"), &m_window.frame,
                                  m_listPane, struSplitTypeData::SPLIT_1));
    }
    int shown() const
    {
        return static_cast<int>(std::count_if(m_listPane.begin(), m_listPane.end(),
                                              [](const QWidget *pPane) { return pPane->isVisible(); }));
    }

    Window m_window;
    QList<QWidget *> m_listPane;
    CWidgetLayoutMgr m_layout;
};

TEST_F(LayoutTest, ShowsOneFourOrNinePanes)
{
    start();
    EXPECT_EQ(1, shown());
    EXPECT_EQ(QRect(1, 1, 638, 478), place(0));
    EXPECT_TRUE(m_layout.ReDisplay(struSplitTypeData::SPLIT_4));
    EXPECT_EQ(4, shown());
    EXPECT_EQ(QRect(321, 241, 318, 238), place(3));
    EXPECT_TRUE(m_layout.ReDisplay(struSplitTypeData::SPLIT_9));
    EXPECT_EQ(9, shown());
    EXPECT_EQ(639, place(8).x() + place(8).width());
}

TEST_F(LayoutTest, RefusesAnUnknownSplit)
{
    start();
    EXPECT_FALSE(m_layout.ReDisplay(static_cast<struSplitTypeData::SplitType>(3)));
    EXPECT_EQ(1, shown());
}

TEST_F(LayoutTest, ShowsOnePaneAloneAndTheGridAgain)
{
    start();
    m_layout.ReDisplay(struSplitTypeData::SPLIT_4);
    const QRect before = place(2);
    m_layout.ShowMaximized(m_listPane[2]);
    EXPECT_EQ(1, shown());
    EXPECT_EQ(QRect(1, 1, 638, 478), place(2));
    m_layout.ShowNormal();
    EXPECT_EQ(4, shown());
    EXPECT_EQ(before, place(2));
}

TEST_F(LayoutTest, FollowsTheContainerAndKeepsSizesInATooSmallOne)
{
    start();
    m_window.widget.setGeometry(0, 0, 322, 202);
    EXPECT_TRUE(pumpUntil([&] { return place(0) == QRect(1, 1, 320, 200); }));
    m_window.widget.setGeometry(0, 0, 0, 0);
    EXPECT_TRUE(pumpUntil([&] { return m_window.frame.width() < 3; }));
    EXPECT_EQ(QRect(1, 1, 320, 200), place(0));
}

TEST_F(LayoutTest, UsesTheBuiltInGridsWithoutAFile)
{
    ASSERT_TRUE(m_layout.Init("Z:\\absent\\layout.xml", &m_window.frame, m_listPane, struSplitTypeData::SPLIT_4));
    EXPECT_EQ(QRect(321, 241, 318, 238), place(3));
}

TEST_F(LayoutTest, LeavesRoomForAFrameRoundEveryPane)
{
    start();
    QFrame ring(&m_window.frame);
    ring.setObjectName("ring");
    m_window.frame.setStyleSheet("QFrame { background-color: #000000 } QFrame#ring { border: 1px solid #386dfa; }");
    for (const auto type : {struSplitTypeData::SPLIT_1, struSplitTypeData::SPLIT_4, struSplitTypeData::SPLIT_9}) {
        m_layout.ReDisplay(type);
        for (int i = 0; i < shown(); ++i) {
            const QRect pane = place(i).translated(100, 80);
            ring.setGeometry(place(i).adjusted(-1, -1, 1, 1));
            ring.lower();
            ring.show();
            const QPoint sides[] = {{pane.left() - 1, pane.center().y()},
                                    {pane.right() + 1, pane.center().y()},
                                    {pane.center().x(), pane.top() - 1},
                                    {pane.center().x(), pane.bottom() + 1}};
            for (const QPoint &side : sides) {
                EXPECT_TRUE(pumpUntil([&] {
                    return colourAt({side.x(), side.y()}) == RGB(0x38, 0x6d, 0xfa);
                })) << "split "
                    << type << " pane " << i << " at " << side.x() << "," << side.y();
            }
            EXPECT_EQ(RGB(0, 0, 0), colourAt({pane.center().x(), pane.center().y()}));
        }
    }
}

} // namespace
