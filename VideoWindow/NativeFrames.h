#ifndef VIDEOWINDOW_NATIVEFRAMES_H
#define VIDEOWINDOW_NATIVEFRAMES_H

#include <windows.h>

#include <vector>

namespace pellora
{

class HostCalls;

/**
 * Counts, for one widget, the window procedures of its native windows that are on the stack.
 *
 * A click or a change of the focus makes Windows call the host from inside them. Qt goes on using the widget when the
 * host has returned, so that it must not be deleted before.
 * Threads: the GUI thread.
 * Owns:    nothing; the calls must outlive it. Subclasses the windows while it lives.
 */
class NativeFrames
{
public:
    explicit NativeFrames(HostCalls &calls);
    ~NativeFrames();
    NativeFrames(const NativeFrames &) = delete;
    NativeFrames &operator=(const NativeFrames &) = delete;

    /** Counts this window's and those of its children that exist now. */
    void watch(HWND hWnd);

private:
    HostCalls &m_calls;
    std::vector<HWND> m_windows;
};

} // namespace pellora

#endif
