#ifndef VIDEOWINDOW_SELECTBODERWND_H
#define VIDEOWINDOW_SELECTBODERWND_H

#include <QFrame>
#include <QPointer>

namespace pellora
{

/**
 * The frame around the selected pane. It lies beneath the panes and is one pixel larger on every side, so that a ring
 * shows; its look is the style sheet's alone.
 *
 * Threads: the GUI thread.
 * Owns:    nothing; the target needs the same parent, since no coordinates are mapped.
 */
class SelectBoderWnd : public QFrame
{
    Q_OBJECT

public:
    explicit SelectBoderWnd(QWidget *pParent);

    /** Frames this widget from now on; null: keeps the one it has. */
    void attach(QWidget *pTarget);

    bool eventFilter(QObject *pWatched, QEvent *pEvent) override;

private:
    void surroundTarget();

    QPointer<QWidget> m_pTarget;
};

} // namespace pellora

#endif
