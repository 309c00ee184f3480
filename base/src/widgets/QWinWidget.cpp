#include "widgets/QWinWidget.h"

#include "base/src/base/LogException.h"
#include "base/src/widgets/HostDestroyWatch.h"
#include "widgets/CFullScreenWidget.h"

#include <QVariant>

namespace
{

// Qt's own property for windows that live in a foreign one: with it the native window is a child from the start,
// and positions are those of the foreign window's client area.
constexpr const char *kEmbeddingProperty = "_q_embedded_native_parent_handle";

bool takesTabFocus(const QWidget *pWidget)
{
    return (pWidget->focusPolicy() & Qt::TabFocus) != 0 && pWidget->isVisible() && pWidget->isEnabled();
}

} // namespace

QWinWidget::QWinWidget(HWND hParentWnd, QObject *pParent, Qt::WindowFlags flags)
    : QWidget(nullptr, flags), m_hParentWnd(hParentWnd)
{
    if (pParent != nullptr && !pParent->isWidgetType()) {
        QObject::setParent(pParent);
    }
    if (IsWindow(hParentWnd) == FALSE) {
        m_bLeftHost = true;
        return;
    }
    setProperty(kEmbeddingProperty, QVariant::fromValue(reinterpret_cast<WId>(hParentWnd)));
    RECT client{};
    GetClientRect(hParentWnd, &client);
    setGeometry(0, 0, static_cast<int>(client.right), static_cast<int>(client.bottom));
    if (IsWindow(reinterpret_cast<HWND>(winId())) == FALSE) {
        // Windows tells a host of its children while they are made, and it has destroyed its window then. Qt 5.15 makes
        // no child windows in one that it could not make, and tries for ever.
        throw NoWindow("the window was destroyed while a child was made in it");
    }
    Base::HostDestroyWatch::watch(this, hParentWnd,
                                  {[this] { leaveFullScreen(); },
                                   [this] {
                                       leaveHost();
                                       onHostDestroyed();
                                   }});
}

QWinWidget::~QWinWidget()
{
    Base::HostDestroyWatch::forget(this);
}

HWND QWinWidget::parentWindow() const
{
    return m_hParentWnd;
}

void QWinWidget::show()
{
    QWidget::show();
    if (!m_bLeftHost) {
        // A new child lies beneath its siblings.
        SetWindowPos(reinterpret_cast<HWND>(winId()), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }
}

void QWinWidget::setVisible(bool bVisible)
{
    const bool bShown = bVisible && !m_bLeftHost;
    QWidget::setVisible(bShown);
    if (!bShown) {
        // Last, so that nothing flashes up in the host. Qt hides no windows of their own with their parent.
        leaveFullScreen();
    }
}

bool QWinWidget::hasLeftHost() const
{
    // A child that was made while its host was being destroyed comes too late for the watch.
    return m_bLeftHost || IsWindow(m_hParentWnd) == FALSE;
}

bool QWinWidget::nativeEvent(const QByteArray &eventType, void *pMessage, long *pResult)
{
    const MSG *pNative = static_cast<const MSG *>(pMessage);
    const bool bOwn = testAttribute(Qt::WA_WState_Created) && pNative->hwnd == reinterpret_cast<HWND>(internalWinId());
    if (bOwn && pNative->message == WM_MOUSEACTIVATE) {
        // A click into any window inside asks its ancestors up to this one.
        try {
            takeFocus();
        } catch (...) {
            Base::logException("QWinWidget", "QWinWidget::nativeEvent");
        }
    }
    return QWidget::nativeEvent(eventType, pMessage, pResult);
}

void QWinWidget::leaveHost()
{
    if (m_bLeftHost) {
        return;
    }
    m_bLeftHost = true;
    Base::HostDestroyWatch::forget(this);
    try {
        hide();
    } catch (...) {
        Base::logException("QWinWidget", "QWinWidget::leaveHost");
    }
    // The native windows live on where nobody sees them: Qt goes on with them, and so may whoever draws into them.
    SetParent(reinterpret_cast<HWND>(winId()), HWND_MESSAGE);
}

void QWinWidget::onHostDestroyed() {}

void QWinWidget::leaveFullScreen()
{
    for (ZentixGUIToolkit::CFullScreenWidget *pFrame : findChildren<ZentixGUIToolkit::CFullScreenWidget *>()) {
        pFrame->ExitFullScreen();
    }
}

void QWinWidget::takeFocus()
{
    const HWND hOwn = reinterpret_cast<HWND>(internalWinId());
    const HWND hFocus = GetFocus();
    if (hFocus != hOwn && IsChild(hOwn, hFocus) == FALSE) {
        SetFocus(hOwn);
    }
}

bool QWinWidget::focusNextPrevChild(bool bNext)
{
    const QWidget *pCurrent = focusWidget() != nullptr ? focusWidget() : this;
    // The focus chain is a ring; past this widget it would start over, and the host's controls come instead.
    const auto step = [bNext](const QWidget *pWidget) {
        return bNext ? pWidget->nextInFocusChain() : pWidget->previousInFocusChain();
    };
    for (const QWidget *pWidget = step(pCurrent); pWidget != this; pWidget = step(pWidget)) {
        if (takesTabFocus(pWidget)) {
            return QWidget::focusNextPrevChild(bNext);
        }
    }
    if (!m_bLeftHost) {
        SetFocus(m_hParentWnd);
    }
    return true;
}
