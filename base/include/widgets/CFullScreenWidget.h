#ifndef BASE_WIDGETS_CFULLSCREENWIDGET_H
#define BASE_WIDGETS_CFULLSCREENWIDGET_H

#include "base/CorvaneExport.h"

#include <QFrame>

namespace ZentixGUIToolkit
{

/**
 * A frame that can leave its place, cover the screen it is on and come back exactly.
 *
 * It keeps its Qt parent all the while, and no native window inside it is ever made anew: players draw into them.
 * Closing it while it covers the screen brings it back instead.
 * Threads: the GUI thread.
 */
class CORVANE_API CFullScreenWidget : public QFrame
{
    Q_OBJECT

public:
    explicit CFullScreenWidget(QWidget *pParent = nullptr);
    ~CFullScreenWidget() override;

    /** Covers the screen it is on; again: nothing. */
    void EnterFullScreen();
    /**
     * Back to its place, size and stacking; also on Esc. Not full screen: nothing. The keyboard goes to the window
     * that had it before, unless the user has taken it elsewhere meanwhile.
     */
    void ExitFullScreen();
    [[nodiscard]] bool IsFullScreen() const;

protected:
    void keyPressEvent(QKeyEvent *pEvent) override;
    void closeEvent(QCloseEvent *pEvent) override;
    bool nativeEvent(const QByteArray &eventType, void *pMessage, long *pResult) override;

private:
    struct State;
    State *m_pState;
};

} // namespace ZentixGUIToolkit

#endif
