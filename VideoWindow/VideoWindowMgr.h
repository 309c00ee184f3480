#ifndef VIDEOWINDOW_VIDEOWINDOWMGR_H
#define VIDEOWINDOW_VIDEOWINDOWMGR_H

#include "VideoWindow/DeletionQueue.h"
#include "VideoWindow/WindowSubclass.h"

#include <windows.h>

#include <array>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include <QPointer>

namespace pellora
{

class VideoWindow;

/**
 * The registry of video windows by handle, and their embedding among the native windows of the host's.
 *
 * The process's instance is Base::CSingleton<VideoWindowMgr>'s; it stays until the process ends, with the windows that
 * the host has not destroyed.
 * Threads: the GUI thread, apart from the making of the instance.
 * Owns:    the windows in its slots. Subclasses a host window while it holds a video window. That a host is gone it
 *          learns from the video windows, which see it whatever procedure the host has by then.
 */
class VideoWindowMgr
{
public:
    VideoWindowMgr();
    ~VideoWindowMgr() = delete;
    VideoWindowMgr(const VideoWindowMgr &) = delete;
    VideoWindowMgr &operator=(const VideoWindowMgr &) = delete;

    /** Makes, shows, attaches and registers a window; its handle, or -1 when that was not possible. */
    long createVideoWindow(HWND hHostWnd, unsigned char embedMode);
    /**
     * Takes the window into the lowest empty slot. Without one, into that of a dead window, which goes; without that,
     * -1, and the window is the caller's still.
     */
    long pushVideoWindow(VideoWindow *pWindow);
    /** Null for what is no handle. */
    [[nodiscard]] VideoWindow *getVideoWindow(long lHandle) const;
    /** Empties the slot and ends what plays at once; see DeletionQueue for the rest. False: no handle. */
    bool destroyVideoWindow(long lHandle);

    /** Starts of previews that have come back take effect now, in every window. */
    void takeStartResults();

    bool attachHostWindow(VideoWindow *pWindow, unsigned char embedMode);
    bool detachHostWindow(VideoWindow *pWindow);

    /** Where NewWindowProc is in front of a host's own procedure, and what was there before. */
    [[nodiscard]] WindowSubclass &subclass() const;
    /** What the library does on a message of a host window that has an entry, before its own procedure. */
    void onHostMessage(HWND hHostWnd, UINT nMessage);

private:
    struct HostEntry {
        std::set<VideoWindow *> windows;
        /** That of the first window; docs/compatibility.md: first-embed-mode. */
        unsigned char embedMode = 0;
        bool bGoing = false;
    };

    static constexpr std::size_t kMaxWindows = 9;

    using WindowList = std::vector<QPointer<VideoWindow>>;
    [[nodiscard]] static WindowList windowsOf(const HostEntry &entry);
    void onHostDestroyed(VideoWindow *pWindow);
    [[nodiscard]] bool isGoing(HWND hHostWnd);
    [[nodiscard]] bool isRegistered(const VideoWindow *pWindow) const;

    std::array<VideoWindow *, kMaxWindows> m_windows{};
    WindowSubclass &m_subclass;
    /** Hosts whose messages come by, with or without video windows. */
    std::map<HWND, HostEntry> m_hosts;
    DeletionQueue m_deletions;
    /** A video window and its native windows are being made further down the stack. */
    bool m_bMaking = false;
};

/** The window procedure of every host window that holds a video window. */
LRESULT CALLBACK NewWindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);

} // namespace pellora

#endif
