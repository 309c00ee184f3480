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
    HWND m_hFocus = nullptr; // where the keyboard was before, null for another program's
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

/** A window of the same top-level one can have the keyboard; the number may be another window's by now. */
bool canHaveFocus(HWND hWnd, HWND hRoot)
{
    return hWnd != nullptr && GetAncestor(hWnd, GA_ROOT) == hRoot && IsWindowVisible(hWnd) != FALSE;
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
    m_pState->m_hFocus = GetFocus();
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
    const HWND hWnd = reinterpret_cast<HWND>(winId());
    const HWND hFocus = GetFocus();
    const bool bHadFocus = hFocus == hWnd || IsChild(hWnd, hFocus) != FALSE;
    setWindowFlags(Qt::Widget);
    setGeometry(m_pState->m_geometry);
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
    // A window that becomes a child would keep the keyboard, and the host would not be the active window.
    const HWND hRoot = GetAncestor(hWnd, GA_ROOT);
    HWND hTarget = hFocus;
    if (bHadFocus) {
        hTarget = canHaveFocus(m_pState->m_hFocus, hRoot) ? m_pState->m_hFocus : hRoot;
    }
    if (hTarget != nullptr && hTarget != GetFocus()) {
        // Last: the host hears of it.
        SetFocus(hTarget);
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

bool CFullScreenWidget::nativeEvent(const QByteArray &eventType, void *pMessage, long *pResult)
{
    // The screen stays covered whatever its scale; Qt would take the size that Windows suggests.
    constexpr UINT kDpiChanged = 0x02E0;
    if (static_cast<const MSG *>(pMessage)->message == kDpiChanged) {
        *pResult = 0;
        return true;
    }
    return QFrame::nativeEvent(eventType, pMessage, pResult);
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
