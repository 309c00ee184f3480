#include "VideoWindow/SelectBoderWnd.h"

#include "logging/LogException.h"

#include <QEvent>

namespace pellora
{

SelectBoderWnd::SelectBoderWnd(QWidget *pParent) : QFrame(pParent) {}

void SelectBoderWnd::attach(QWidget *pTarget)
{
    if (pTarget == nullptr) {
        return;
    }
    if (m_pTarget) {
        m_pTarget->removeEventFilter(this);
    }
    m_pTarget = pTarget;
    surroundTarget();
    pTarget->installEventFilter(this);
}

bool SelectBoderWnd::eventFilter(QObject *pWatched, QEvent *pEvent)
{
    // Resizes only: a target that merely moves leaves the frame behind; docs/compatibility.md: frame-follows-sizes.
    if (pWatched != nullptr && pEvent != nullptr && pWatched == m_pTarget && pEvent->type() == QEvent::Resize) {
        contained(logAt("VideoWindow\\SelectBoderWnd",
                        "bool __cdecl pellora::SelectBoderWnd::eventFilter(class QObject *,class QEvent *)"),
                  [this] { surroundTarget(); });
    }
    return QObject::eventFilter(pWatched, pEvent);
}

void SelectBoderWnd::surroundTarget()
{
    setGeometry(m_pTarget->geometry().adjusted(-1, -1, 1, 1));
}

} // namespace pellora
