#ifndef BASE_SRC_WIDGETS_HOSTDESTROYWATCH_H
#define BASE_SRC_WIDGETS_HOSTDESTROYWATCH_H

#include <windows.h>

#include <functional>

class QWinWidget;

namespace base
{

/**
 * Tells embedded widgets that their host window is about to go, while its children still exist.
 *
 * Windows destroys the children of a window after it has sent WM_DESTROY to it. Qt does not survive it well when
 * native windows of its own vanish beneath it, and players may be drawing into them, so widgets must leave before.
 * A hook rather than a subclass: the host's window procedure is other people's to replace and to put back.
 *
 * Threads: the GUI thread; the hook is that thread's alone and exists while a widget is watched.
 */
class HostDestroyWatch
{
public:
    HostDestroyWatch() = delete;

    /** Calls back once, when the host window is destroyed; not after forget(). */
    static void watch(QWinWidget *pWidget, HWND hHostWnd, std::function<void()> onDestroy);
    static void forget(QWinWidget *pWidget);
};

} // namespace base

#endif
