#ifndef VIDEOWINDOW_VIDEOWINDOW_H
#define VIDEOWINDOW_VIDEOWINDOW_H

#include "VideoWindow/HostCalls.h"
#include "VideoWindow/NativeFrames.h"
#include "widgets/QWinWidget.h"

#include <QList>

#include <functional>
#include <memory>
#include <vector>

namespace ZentixGUIToolkit
{
class CFullScreenWidget;
class CWidgetLayoutMgr;
} // namespace ZentixGUIToolkit

namespace pellora
{

class SelectBoderWnd;
class VideoWnd;
struct PreviewParam;
struct PreviewStatus;

/**
 * One video window of the host: nine panes, of which a grid shows 1, 4 or 9, a frame around the current one, and full
 * screen.
 *
 * Threads: the GUI thread.
 * Owns:    the panes and the frame through Qt parentage, and the layout. The host's window is the host's; when it goes
 *          first, this one stays as a dead window on which exports do nothing.
 */
class VideoWindow : public QWinWidget
{
    Q_OBJECT

public:
    explicit VideoWindow(HWND hParentWnd, QObject *pParent = nullptr, Qt::WindowFlags flags = {});
    ~VideoWindow() override;

    /** The pane of this index, 0 to 8, else null. */
    [[nodiscard]] VideoWnd *getWnd(long lSubHandel) const;
    /** The selected pane; there always is one. */
    [[nodiscard]] VideoWnd *getCurWnd() const;

    /** 1, 4 or 9 panes; other numbers: nothing. */
    void splitScreen(unsigned short wSplitNum);
    bool fullScreen();
    bool normalScreen();

    /**
     * Request i goes to pane i; those that were handed over are appended to `handed` with their window and pane. The
     * outcomes come through the status callback. Always true.
     */
    bool batchPreview(long lHandle, const std::vector<PreviewParam> &requests, std::vector<PreviewParam> &handed);
    /** As batchPreview, on the caller's thread, device after device. */
    bool batchPreviewAsync(long lHandle, const std::vector<PreviewParam> &requests, std::vector<PreviewParam> &handed);
    bool stopAllPreview();
    bool stopAllPreviewAsync();
    bool setPreviewStatusCallback(const std::function<void(const PreviewStatus &)> &callback, long lHandle);
    /** Shows or hides analysis data in the panes that play. */
    bool setIntelData(bool bOpen);
    /** Starts that have come back take effect now, without waiting for their notices. */
    void takeStartResults();

    /** The native window, null when there is none; none is made. */
    [[nodiscard]] HWND nativeWindow() const;
    /** Called once, when the host's window is being destroyed and this one has left it. */
    void setWhenHostDestroyed(std::function<void()> whenHostDestroyed);

    /** Calls of the window itself in which host code may run; its panes have their own. */
    [[nodiscard]] HostCalls &hostCalls();
    /** Something on the stack goes on using the window or one of its panes. */
    [[nodiscard]] bool isInUse() const;
    /**
     * Ends what plays, starts or is drawn, and leaves the host's window: nothing of this one reaches the host any
     * more. `whenIdle` is called before this returns or, while the window is in use, when it may no longer be.
     */
    void retire(const std::function<void()> &whenIdle);

protected:
    void onHostDestroyed() override;

private slots:
    void onWndSelected();
    void onMaximized();
    void onNormal();

private:
    bool startEach(const std::function<void(VideoWnd &, const PreviewParam &)> &start, long lHandle,
                   const std::vector<PreviewParam> &requests, std::vector<PreviewParam> &handed);

    VideoWnd *m_pCurWnd = nullptr;
    /** In creation order, which is that of their indices. */
    QList<VideoWnd *> m_listWnd;
    std::unique_ptr<ZentixGUIToolkit::CWidgetLayoutMgr> m_pLayoutMgr;
    SelectBoderWnd *m_pSelBodWnd = nullptr;
    /** Holds the panes and the frame. */
    ZentixGUIToolkit::CFullScreenWidget *m_pFullScreenWidget = nullptr;
    std::function<void()> m_whenHostDestroyed;
    HostCalls m_hostCalls;
    NativeFrames m_nativeFrames{m_hostCalls};
};

} // namespace pellora

#endif
