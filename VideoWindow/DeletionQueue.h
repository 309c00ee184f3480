#ifndef VIDEOWINDOW_DELETIONQUEUE_H
#define VIDEOWINDOW_DELETIONQUEUE_H

#include <windows.h>

#include <memory>
#include <vector>

namespace pellora
{

class VideoWindow;

/**
 * Deletes video windows that the host destroys from inside one of its callbacks, once the callback has returned.
 *
 * A message of the library's own tells when: under a host's plain Win32 message loop Qt never delivers deleteLater.
 * Threads: the GUI thread.
 * Owns:    the windows given to it, and a message-only window that stays until the process ends.
 */
class DeletionQueue
{
public:
    DeletionQueue();
    ~DeletionQueue();
    DeletionQueue(const DeletionQueue &) = delete;
    DeletionQueue &operator=(const DeletionQueue &) = delete;

    /** Deletes the window now, or hides it and deletes it when none of its panes is in a call into the host. */
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
