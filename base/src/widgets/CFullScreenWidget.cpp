#include "widgets/CFullScreenWidget.h"

#include "base/src/base/LogException.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QPointer>

#include <windows.h>

namespace ZentixGUIToolkit
{

struct CFullScreenWidget::State {
    bool m_bFullScreen = false;
    bool m_bShown = false;
    QRect m_geometry;
    HWND m_hParent = nullptr;
    HWND m_hAbove = nullptr; // the sibling that lies directly above, null for the topmost
};

namespace
{

// Device pixels; Qt's own screens may lag behind a change of the monitors.
QRect monitorOf(HWND hWnd)
{
    MONITORINFO info{};
    info.cbSize = sizeof(info);
    GetMonitorInfoW(MonitorFromWindow(hWnd, MONITOR_DEFAULTTONEAREST), &info);
    const RECT &area = info.rcMonitor;
    return {QPoint(static_cast<int>(area.left), static_cast<int>(area.top)),
            QPoint(static_cast<int>(area.right) - 1, static_cast<int>(area.bottom) - 1)};
}

/** For Qt, which knows no exceptions. */
void comeBack(CFullScreenWidget &widget)
{
    try {
        widget.ExitFullScreen();
    } catch (...) {
        Base::logException("CFullScreenWidget", "CFullScreenWidget::ExitFullScreen");
    }
}

} // namespace

CFullScreenWidget::CFullScreenWidget(QWidget *pParent) : QFrame(pParent), m_pState(new State)
{
    // With a native window of its own, changing between child and window changes that window's parent and style;
    // without one Qt would make it, and every native window inside, anew.
    setAttribute(Qt::WA_NativeWindow);
    setFocusPolicy(Qt::ClickFocus);
}

CFullScreenWidget::~CFullScreenWidget()
{
    delete m_pState;
}

void CFullScreenWidget::EnterFullScreen()
{
    if (m_pState->m_bFullScreen || parentWidget() == nullptr || isWindow()) {
        return;
    }
    const HWND hWnd = reinterpret_cast<HWND>(winId());
    if (!parentWidget()->isVisible()) {
        // Among others a host that has destroyed its window: what it no longer shows must not fill the screen.
        return;
    }
    const QRect screen = monitorOf(hWnd);
    m_pState->m_bFullScreen = true;
    m_pState->m_bShown = !isHidden();
    m_pState->m_geometry = geometry();
    m_pState->m_hParent = GetAncestor(hWnd, GA_PARENT);
    m_pState->m_hAbove = GetWindow(hWnd, GW_HWNDPREV);
    // A window with a Qt parent: layouts of the parent leave it alone, and the host's top window owns it.
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setGeometry(screen);
    show();
    raise();
    if (!m_pState->m_bFullScreen) {
        // The host has heard of it and has ended it meanwhile.
        return;
    }
    activateWindow();
    setFocus();
}

void CFullScreenWidget::ExitFullScreen()
{
    if (!m_pState->m_bFullScreen) {
        return;
    }
    m_pState->m_bFullScreen = false;
    setWindowFlags(Qt::Widget);
    setGeometry(m_pState->m_geometry);
    const HWND hWnd = reinterpret_cast<HWND>(winId());
    const HWND hAbove = m_pState->m_hAbove;
    const bool bAboveIsSibling = hAbove != nullptr && GetAncestor(hAbove, GA_PARENT) == m_pState->m_hParent;
    setVisible(m_pState->m_bShown);
    SetWindowPos(hWnd, bAboveIsSibling ? hAbove : HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    QLayout *pLayout = parentWidget() != nullptr ? parentWidget()->layout() : nullptr;
    if (pLayout != nullptr) {
        // The parent may have been resized meanwhile.
        pLayout->invalidate();
        pLayout->activate();
    }
}

bool CFullScreenWidget::IsFullScreen() const
{
    return m_pState->m_bFullScreen;
}

void CFullScreenWidget::keyPressEvent(QKeyEvent *pEvent)
{
    if (pEvent->key() == Qt::Key_Escape && m_pState->m_bFullScreen) {
        comeBack(*this);
        return;
    }
    QFrame::keyPressEvent(pEvent);
}

void CFullScreenWidget::closeEvent(QCloseEvent *pEvent)
{
    if (m_pState->m_bFullScreen) {
        pEvent->ignore();
        comeBack(*this);
        return;
    }
    QFrame::closeEvent(pEvent);
}

} // namespace ZentixGUIToolkit
