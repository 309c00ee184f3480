#ifndef BASE_SRC_WIDGETS_HOSTDESTROYWATCH_H
#define BASE_SRC_WIDGETS_HOSTDESTROYWATCH_H

#include <windows.h>

#include <functional>

class QWinWidget;

namespace Base
{

/**
 * Tells embedded widgets that their host window is about to go, while its children still exist.
 *
 * Windows destroys the children of a window after it has sent WM_DESTROY to it. Qt does not survive it well when
 * native windows of its own vanish beneath it, and players may be drawing into them, so widgets must leave before.
 * Windows that the host's top window owns, such as one that covers the screen, go even before that message.
 * Hooks rather than a subclass: the host's window procedure is other people's to replace and to put back.
 *
 * Threads: the GUI thread; the hooks are that thread's alone and exist while a widget is watched, the one
 *          that sees every message only while a host is about to go.
 * Errors:  what a callback throws is logged, and the next one is called.
 */
class HostDestroyWatch
{
public:
    HostDestroyWatch() = delete;

    struct Callbacks {
        /** Somebody asks for the destruction of the host window, or of one that it lies in; it may still be refused. */
        std::function<void()> beforeDestroy;
        /** The host window is being destroyed; called once. */
        std::function<void()> onDestroy;
    };

    /** The callbacks may watch, forget and destroy any widget. */
    static void watch(QWinWidget *pWidget, HWND hHostWnd, Callbacks callbacks);
    /** Nothing is called for this widget any more, also when another widget's callback forgets it. */
    static void forget(QWinWidget *pWidget);
};

} // namespace Base

#endif
