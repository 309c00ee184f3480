#ifndef BASE_WIDGETS_CWIDGETLAYOUTMGR_H
#define BASE_WIDGETS_CWIDGETLAYOUTMGR_H

#include "base/CorvaneExport.h"

#include <QList>
#include <QObject>
#include <QString>

class QWidget;

/** One kind of grid; the numbers are those of the layout file. */
struct struSplitTypeData {
    enum SplitType { SPLIT_1 = 1, SPLIT_4 = 2, SPLIT_9 = 4 };
};

namespace ZentixGUIToolkit
{

/** Full path, with native separators, of a file named relative to the folder of this library's own file. Any thread. */
[[nodiscard]] CORVANE_API QString GetTargetPathFile(const QString &relative);

/**
 * Lays widgets out in a grid that a layout file describes, or shows one of them alone.
 *
 * Threads: the GUI thread.
 * Owns:    nothing; the container and the widgets must outlive it or be destroyed on the GUI thread.
 * Errors:  a missing or broken file is logged, and a built-in equivalent is used; a container too small to hold a
 *          grid leaves the widgets' sizes as they were.
 */
class CORVANE_API CWidgetLayoutMgr : public QObject
{
    Q_OBJECT

public:
    CWidgetLayoutMgr();
    ~CWidgetLayoutMgr() override;

    /** Takes the widgets, which are children of the container, in order, and shows the first grid. */
    bool Init(const QString &xmlPath, QWidget *pContainer, QList<QWidget *> widgets,
              struSplitTypeData::SplitType initial);
    /** Shows another grid; false for a split type that is not known. Ends ShowMaximized. */
    bool ReDisplay(struSplitTypeData::SplitType type);
    /** Shows this widget alone in the whole container. */
    void ShowMaximized(QWidget *pWidget);
    /** Back to the grid. */
    void ShowNormal();

protected:
    bool eventFilter(QObject *pWatched, QEvent *pEvent) override;

private:
    struct State;
    State *m_pState;
};

} // namespace ZentixGUIToolkit

#endif
