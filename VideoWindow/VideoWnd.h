#ifndef VIDEOWINDOW_VIDEOWND_H
#define VIDEOWINDOW_VIDEOWND_H

#include "Drovel/Drovel.h"
#include "VideoWindow/HostCalls.h"
#include "VideoWindow/QueuedNotices.h"
#include "VideoWindow/RuleEditor.h"
#include "VideoWindow/RuleMgr.h"

#include <QWidget>

#include <windows.h>

#include <atomic>

class QLabel;

namespace pellora
{

struct PictureChange;

/**
 * One pane of a video window: a player port, the surface that it draws on, and the rules over the picture.
 *
 * Threads: the GUI thread. The player's threads call fileEndCallback and drawCallback; news reach the GUI thread as
 *          queued signals.
 * Owns:    the port, the surface and the rules. One source plays at a time.
 * Units:   device pixels of the pane; thousandths of the picture for regions; seconds for positions.
 * Errors:  false or 0, and a log line of the player port's.
 */
class VideoWnd : public QWidget
{
    Q_OBJECT

public:
    /** Called at the end of a file with the window handle that came with it. */
    using FileEndCallback = void (*)(long lHandle);

    VideoWnd(long lSubHandel, QWidget *pParent);
    ~VideoWnd() override;

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
    void signalPreviewStatus();
    void signalFileEnd(long nPort, void *pUser);

protected:
    void mousePressEvent(QMouseEvent *pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent *pEvent) override;
    void resizeEvent(QResizeEvent *pEvent) override;

private slots:
    void onFileEnd(long nPort, void *pUser);

private:
    static void fileEndCallback(long nPort, void *pUser);
    static void drawCallback(long nPort, HDC hDc, void *pUser);

    bool showRegion(const RECT &region);
    bool showWholePicture();
    void changePicture(const PictureChange &change);

    // GUI thread.
    QLabel *m_pLiveViewWnd;
    /** Taken once; null when the host's window has taken the surface with it. */
    HWND m_hPlayWnd;
    bool m_bOpenDraw = false;
    bool m_bMaximized = false;
    bool m_bLoopFile = false;
    FileEndCallback m_pfnFileEndCB = nullptr;
    long m_lHandle = -1;
    const long m_lSubHandel;
    HostCalls m_hostCalls;

    // Any thread.
    Drovel m_drovel;
    RuleMgr m_ruleMgr;

    // GUI thread.
    RuleEditor m_ruleEditor{m_ruleMgr};

    // Any thread.
    QueuedNotices m_fileEnds;
    std::atomic<bool> m_bExit{false};
};

} // namespace pellora

#endif
