#ifndef VIDEOWINDOW_TESTCHILDWINDOW_H
#define VIDEOWINDOW_TESTCHILDWINDOW_H

#include <windows.h>

namespace pellora
{

/**
 * Subclasses the host's window and puts a plain native window, without Qt, into it. Always 1.
 *
 * GUI thread. Nothing is done to a window that is none, or is another process's or thread's; while messages of the
 * window come by the procedure of an earlier call, another call subclasses it no second time.
 */
long installTestChildWindow(HWND hWnd);

} // namespace pellora

#endif
