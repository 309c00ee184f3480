#ifndef VIDEOWINDOW_DELETIONQUEUE_H
#define VIDEOWINDOW_DELETIONQUEUE_H

#include <windows.h>

#include <memory>
#include <vector>

namespace pellora
{

class VideoWindow;

/**
 * Deletes video windows when nothing on the stack uses them any more.
 *
 * The host may destroy a window wherever its own code runs: in a callback, or in its window procedure while the
 * library or Qt changes the focus or covers the screen. Hence a window is never deleted in the call that destroys it,
 * but by a message of the library's own; under a host's plain Win32 message loop Qt never delivers deleteLater.
 * Threads: the GUI thread.
 * Owns:    the windows given to it, and a message-only window that stays until the process ends. Where the host runs
 *          no message loop any more, so do the windows.
 */
class DeletionQueue
{
public:
    DeletionQueue();
    ~DeletionQueue();
    DeletionQueue(const DeletionQueue &) = delete;
    DeletionQueue &operator=(const DeletionQueue &) = delete;

    /** Ends at once what plays in the window, takes it out of the host's, and deletes it later. */
    void add(std::unique_ptr<VideoWindow> pWindow);

private:
    static LRESULT CALLBACK messageProcedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
    void createMessageWindow();
    void post() const;
    void deleteIdle();

    HWND m_hMessageWnd = nullptr;
    std::vector<std::unique_ptr<VideoWindow>> m_windows;
};

} // namespace pellora

#endif
