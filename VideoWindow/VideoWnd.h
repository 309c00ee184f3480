#ifndef VIDEOWINDOW_VIDEOWND_H
#define VIDEOWINDOW_VIDEOWND_H

#include "VideoWindow/HostCalls.h"
#include "VideoWindow/PanePort.h"
#include "VideoWindow/RuleEditor.h"
#include "VideoWindow/RuleMgr.h"
#include "preview/PanePreview.h"

#include <QWidget>

#include <windows.h>

#include <atomic>
#include <functional>

class QLabel;

namespace pellora
{

/**
 * One pane of a video window: the widget around a player port, a live preview and the rules over the picture.
 *
 * One source plays at a time, a file or a live stream; each start ends what plays, and each stop ends it as what it is,
 * whichever kind of source it was meant for.
 *
 * Threads: the GUI thread. The player's threads call fileEndCallback and drawCallback, and any thread notify(); news
 *          reach the GUI thread through Qt's event queue.
 * Owns:    the port, the preview, the surface and the rules.
 * Units:   device pixels of the pane; thousandths of the picture for regions; seconds for positions.
 * Errors:  false or 0, and a log line of the player port's or the device library's. Nothing that Qt or the player calls
 *          lets an exception out: it is logged, and the pane goes on.
 */
class VideoWnd : public QWidget, private PanePreview::Pane
{
    Q_OBJECT

public:
    /** Called at the end of a file with the window handle that came with it. */
    using FileEndCallback = void (*)(long lHandle);

    /** Called with the state of the pane's preview. */
    using PreviewStatusCallback = std::function<void(const PreviewStatus &)>;

    VideoWnd(long lSubHandel, QWidget *pParent);
    ~VideoWnd() override;

    // Previews. The plain route goes through the pool and returns at once, the "Async" one calls the device library on
    // the caller's thread; docs/compatibility.md: async-means-direct.
    /** False while another start is under way; the outcome comes through the status callback. */
    bool previewStream(const PreviewParam &param);
    /** Always true. A start that is under way is stopped as soon as it comes back. */
    bool stopPreviewStream();
    /** Returns when the device has answered; false: it could not be started. */
    bool previewStreamAsync(const PreviewParam &param);
    /** False when the device library refuses; then a later stop tries again. */
    bool stopPreviewStreamAsync();
    /** The callback is told the outcome of each start, and the state at each left click; null: none. */
    bool setPreviewStatusCallback(const PreviewStatusCallback &pfnCallback, long lHandle);
    /** A start that has come back takes effect now, without waiting for its notice. */
    void takeStartResult();

    // Files.
    /** Plays a file instead of what plays; loop and overlay are kept even when the file cannot be opened. */
    bool previewFile(char *pFileName, unsigned char bLoop, unsigned char bOpenDraw);
    bool stopPreviewFile();
    /** False without a callback, and without a file: then it is kept for the next one. */
    bool setFileEndCallback(FileEndCallback pfnCallback, long lHandle);
    /** Forgets the callback; the player's notice ends, and with it a loop. */
    bool clearFileEndCallback();

    // Picture.
    /** Thousandths of the picture; null shows all of it. A region of no width or height in pixels changes nothing. */
    bool setDisplayRegion(const RECT *pRegion);

    /** Sound, speed, position and captures. */
    [[nodiscard]] PanePort &port();

    // Overlay.
    /** Paints the rules over the picture and lets the mouse draw and edit them. */
    bool openDraw();
    bool closeDraw();
    /** The new rule's id, -1 when there is none. One without geometry is drawn by the mouse next. */
    long createRule(RuleType type, COLORREF color, const void *pExtend, unsigned char byLimitMask);
    bool destroyRule(long lRuleID);
    bool clearRule();
    bool getRuleCoord(long lRuleID, void *pCoord);
    bool setRuleCoord(long lRuleID, const void *pCoord);
    bool setRuleArrowType(long lRuleID, unsigned short wArrowType);
    bool setOriginPos(unsigned short wOriginPos);
    bool setRuleCoordCallback(RuleCoordCallback pfnCallback, long lHandle);

    /** The pane's index in its window. */
    [[nodiscard]] long subHandel() const;
    [[nodiscard]] bool isPlaying() const;
    /** The window is being destroyed: what still arrives is dropped, and the host is called no more. */
    bool setExit();
    /** Ends what plays, starts or draws, before the pane itself goes; a second call does nothing. */
    void shutDown();
    [[nodiscard]] bool isExit() const;
    /** The native surface is gone for good: nothing is drawn on its handle any more. */
    void forgetSurface();
    /** The window shows its grid again, whatever was maximised in it. */
    void forgetMaximized();
    /** Calls into the host that are on the stack. */
    [[nodiscard]] HostCalls &hostCalls();

    /** Mouse events on the picture, while the overlay is open; they all go on to the picture. */
    bool eventFilter(QObject *pWatched, QEvent *pEvent) override;

signals:
    /** Spelled so; docs/compatibility.md: spellings. */
    void signalMaxmized(QWidget *pWnd);
    void signalNormal();
    void signalSelected();
    void signalOpenDraw();
    void signalPreviewSucceed();
    void signalPreviewStatus();
    void signalFileEnd(long nPort, void *pUser);

protected:
    void mousePressEvent(QMouseEvent *pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent *pEvent) override;
    void resizeEvent(QResizeEvent *pEvent) override;

private slots:
    void onTakeStreamResult(LONG lPreviewHandel);
    void onPreviewSucceed();
    void onPreviewStatus();
    void onFileEnd(long nPort, void *pUser);
    void onOpenDraw();

private:
    static void fileEndCallback(long nPort, void *pUser);
    static void drawCallback(long nPort, HDC hDc, void *pUser);

    // Any thread; queues.
    void notify(const PreviewNotice &notice) override;

    void endPicture() override;
    [[nodiscard]] PreviewStart::Owned makeStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request) override;
    void endSource(PanePort::Source otherwise);
    void onNotice(const PreviewNotice &notice);
    void tellStatus(const PreviewStatus &status);

    bool showRegion(const RECT &region);
    bool showWholePicture();

    // GUI thread.
    QLabel *m_pLiveViewWnd;
    /** Taken once; null when the host's window has taken the surface with it. */
    HWND m_hPlayWnd;
    PreviewStatusCallback m_pfnPreviewStatusCB;
    bool m_bMaximized = false;
    bool m_bLoopFile = false;
    FileEndCallback m_pfnFileEndCB = nullptr;
    long m_lHandle = -1;
    const long m_lSubHandel;
    HostCalls m_hostCalls;

    bool m_bShutDown = false;

    // Any thread; each has its locks.
    PanePort m_port;
    RuleMgr m_ruleMgr;
    std::atomic<bool> m_bExit{false};

    // GUI thread.
    PanePreview m_preview;
    RuleEditor m_ruleEditor{m_ruleMgr};
};

} // namespace pellora

#endif
