#ifndef BASE_WIDGETS_QWINWIDGET_H
#define BASE_WIDGETS_QWINWIDGET_H

#include "base/CorvaneExport.h"

#include <QWidget>

#include <windows.h>

#include <stdexcept>

/**
 * A widget whose native parent is a window of somebody else's.
 *
 * Threads: the GUI thread.
 * Owns:    nothing of the host's. The host window may be destroyed first: the widget and its native windows survive,
 *          hidden, out of the host's reach, and cannot be shown again.
 * Units:   device pixels of the host window's client area. It fills that area when it is made and follows no later
 *          resize: geometry is the host's to set.
 */
class CORVANE_API QWinWidget : public QWidget
{
    Q_OBJECT

public:
    /** There is no native window, and never will be. */
    struct NoWindow : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    /** Throws NoWindow when the host destroys its window while this one is made in it. */
    explicit QWinWidget(HWND hParentWnd, QObject *pParent = nullptr, Qt::WindowFlags flags = {});
    ~QWinWidget() override;

    /** The host's window given to the constructor. */
    [[nodiscard]] HWND parentWindow() const;
    /** Shows it as a child of the host window, above its siblings. */
    void show();
    /** Hiding it ends the full screen of what is inside. Once it has left the host it stays hidden. */
    void setVisible(bool bVisible) override;
    /** It has left the host's window, which is gone or is not to be touched any more. */
    [[nodiscard]] bool hasLeftHost() const;

protected:
    bool nativeEvent(const QByteArray &eventType, void *pMessage, long *pResult) override;
    bool focusNextPrevChild(bool bNext) override;

    /** Hides it and takes its native windows out of the host's window for good; again: nothing. */
    void leaveHost();
    /** The host's window is being destroyed, and this has just left it. Does nothing by itself. */
    virtual void onHostDestroyed();

private:
    void leaveFullScreen();
    void takeFocus();

    HWND m_hParentWnd;
    bool m_bLeftHost = false;
};

#endif
