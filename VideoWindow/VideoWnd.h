#ifndef VIDEOWINDOW_VIDEOWND_H
#define VIDEOWINDOW_VIDEOWND_H

#include "Drovel/Drovel.h"
#include "Selvikdcm.h"
#include "VideoWindow/HostCalls.h"
#include "VideoWindow/PaneStream.h"
#include "VideoWindow/QueuedNotices.h"
#include "VideoWindow/RuleEditor.h"
#include "VideoWindow/RuleMgr.h"

#include <QWidget>

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>

class QLabel;

namespace pellora
{

class TakeStreamTask;
struct PreviewParam;
struct PreviewStatus;

/**
 * One pane of a video window: a player port, the surface that it draws on, and the rules over the picture.
 *
 * Threads: the GUI thread. The player's threads call fileEndCallback and drawCallback, the device library's threads
 *          streamDataCallback; news reach the GUI thread as queued signals.
 * Owns:    the port, the surface, the rules and the start that is under way. One source plays at a time.
 * Units:   device pixels of the pane; thousandths of the picture for regions; seconds for positions.
 * Errors:  false or 0, and a log line of the player port's or the device library's.
 */
class VideoWnd : public QWidget, private PaneStream::Listener
{
    Q_OBJECT

public:
    /** Called at the end of a file with the window handle that came with it. */
    using FileEndCallback = void (*)(long lHandle);

    /** Called with the state of the pane's preview. */
    using PreviewStatusCallback = std::function<void(const PreviewStatus &)>;

    VideoWnd(long lSubHandel, QWidget *pParent);
    ~VideoWnd() override;

    // Previews. Each has two routes, whose names are swapped, which is the interface's own: the plain one goes through
    // the pool and returns at once, the "Async" one calls the device library on the caller's thread.
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
    /** Takes the result of a start that has come back, without waiting for its notice. */
    void takeStartResult();

    // Files.
    /** Plays a file instead of what plays; loop and overlay are kept even when the file cannot be opened. */
    bool previewFile(char *pFileName, unsigned char bLoop, unsigned char bOpenDraw);
    bool stopPreviewFile();
    /** False without a callback, and without a file: then it is kept for the next one. */
    bool setFileEndCallback(FileEndCallback pfnCallback, long lHandle);
    /** Forgets the callback; the player's notice ends, and with it a loop. */
    bool clearFileEndCallback();
    bool play();
    bool pause();
    bool restore();
    bool fast();
    bool slow();
    bool oneByOne();
    bool oneByOneBack();
    bool setPlayedTime(unsigned long nSeconds);
    unsigned long getPlayedTime();
    unsigned long getFileTime();
    /** Fills the records when it can and returns false in every case: hosts read the records, not the result. */
    bool getSystemFileTime(KAVUN_SYSTEM_TIME *pStart, KAVUN_SYSTEM_TIME *pEnd);
    /** As getSystemFileTime. */
    bool getSystemTime(KAVUN_SYSTEM_TIME *pTime);

    // Picture.
    bool getPictureSize(long &nWidth, long &nHeight);
    bool capture(unsigned char *pBuffer, unsigned long nBufferSize, unsigned long *pPictureSize);
    bool screenshot(CROP_PIC_INFO *pInfo);
    /** Thousandths of the picture; null shows all of it. A region of no width or height in pixels changes nothing. */
    bool setDisplayRegion(const RECT *pRegion);

    // Sound.
    bool openSound();
    bool closeSound();
    bool setVolume(unsigned short nVolume);
    unsigned short getVolume();

    /** Shows or hides analysis data. Always false, whether or not it worked. */
    bool setIntelData(bool bOpen);

    // Overlay.
    /** Paints the rules over the picture and lets the mouse draw and edit them. */
    bool openDraw();
    bool closeDraw();
    /** The new rule's id, -1 when there is none. One without geometry is drawn by the mouse next. */
    long createRule(RuleType type, COLORREF color, void *pExtend, unsigned char byLimitMask);
    bool destroyRule(long lRuleID);
    bool clearRule();
    bool getRuleCoord(long lRuleID, void *pCoord);
    bool setRuleCoord(long lRuleID, void *pCoord);
    bool setRuleArrowType(long lRuleID, unsigned short wArrowType);
    bool setOriginPos(unsigned short wOriginPos);
    bool setRuleCoordCallback(RuleCoordCallback pfnCallback, long lHandle);

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
    /** The spelling is the program's own. */
    void signalMaxmized(QWidget *pWnd);
    void signalNormal();
    void signalSelected();
    void signalOpenDraw();
    void signalPreviewSucceed();
    void signalPreviewStatus();
    void signalFileEnd(long nPort, void *pUser);
    void signalStreamOpened(bool bOpened);

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
    void onStreamOpened(bool bOpened);

private:
    static void streamDataCallback(long lPreviewHandel, const SELVIK_DCM_STREAM_DATA *pData, void *pUser);
    static void fileEndCallback(long nPort, void *pUser);
    static void drawCallback(long nPort, HDC hDc, void *pUser);

    // On a device thread, or the GUI thread; see PaneStream.
    void headerArrived() override;
    void overlayWanted() override;
    void streamOpened(bool bOpened) override;

    [[nodiscard]] SELVIK_DCM_PREVIEW_INFO previewRequest(const PreviewParam &param);
    void settleStart(long lPreviewHandel);
    void stopPicture();
    void cancelStart();
    void abandonStart();
    bool stopDevice(long lPreviewHandel);
    void stopOnPool(long lPreviewHandel);
    void forgetPreview();
    [[nodiscard]] PreviewStatus previewStatus(bool bPlaying) const;
    void tellStatus(const PreviewStatus &status);
    void reportFailedStart();

    bool showRegion(const RECT &region);
    bool showWholePicture();

    // GUI thread.
    QLabel *m_pLiveViewWnd;
    /** Taken once; null when the host's window has taken the surface with it. */
    HWND m_hPlayWnd;
    /** The start that is under way; not the pool's. */
    TakeStreamTask *m_pTakeStreamTask = nullptr;
    bool m_bStartQueued = false;
    /** Results that were taken before their notices arrived. */
    int m_nResultsTaken = 0;
    /** -1: none. Any other number, a failed start's included, counts as an open preview, which a stop stops. */
    long m_lPreviewHandel = -1;
    bool m_bStopPending = false;
    long m_lUserID = -1;
    unsigned long m_lChannel = 0;
    PreviewStatusCallback m_pfnPreviewStatusCB;
    bool m_bMaximized = false;
    bool m_bLoopFile = false;
    FileEndCallback m_pfnFileEndCB = nullptr;
    long m_lHandle = -1;
    const long m_lSubHandel;
    HostCalls m_hostCalls;

    // Any thread.
    Drovel m_drovel;
    /** Shared with the device threads that are in it; it also guards the port against them. */
    std::shared_ptr<PaneStream> m_pStream;
    RuleMgr m_ruleMgr;

    // GUI thread.
    RuleEditor m_ruleEditor{m_ruleMgr};

    // Any thread.
    QueuedNotices m_fileEnds;
    QueuedNotices m_headers;
    QueuedNotices m_overlays;
    QueuedNotices m_opened;
    std::atomic<bool> m_bExit{false};
    bool m_bShutDown = false;
};

} // namespace pellora

#endif
