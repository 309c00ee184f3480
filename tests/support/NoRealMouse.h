#ifndef TESTS_SUPPORT_NOREALMOUSE_H
#define TESTS_SUPPORT_NOREALMOUSE_H

#include <windows.h>

namespace support
{

/**
 * While it lives, the display's own mouse tells the windows of this thread nothing; what is posted or sent arrives.
 *
 * For tests that make up a mouse's messages: the real one tells of moves without a button whenever a window appears
 * under it, goes, or gives up the mouse, in any program. A single one of these in a drag, and the widgets take the
 * button for released.
 *
 * Threads: the one that made it, which also takes the windows' messages.
 */
class NoRealMouse
{
public:
    NoRealMouse() : m_hHook(SetWindowsHookExW(WH_MOUSE, &NoRealMouse::swallow, nullptr, GetCurrentThreadId())) {}
    ~NoRealMouse()
    {
        UnhookWindowsHookEx(m_hHook);
    }
    NoRealMouse(const NoRealMouse &) = delete;
    NoRealMouse &operator=(const NoRealMouse &) = delete;

private:
    /** Only asked about what comes from the mouse itself. */
    static LRESULT CALLBACK swallow(int nCode, WPARAM wParam, LPARAM lParam)
    {
        return nCode >= 0 ? 1 : CallNextHookEx(nullptr, nCode, wParam, lParam);
    }

    const HHOOK m_hHook;
};

} // namespace support

#endif
