#ifndef VIDEOWINDOW_TESTCHILDWINDOW_H
#define VIDEOWINDOW_TESTCHILDWINDOW_H

#include <windows.h>

namespace pellora
{

/**
 * Subclasses the host's window and puts a plain native window, without Qt, into it. Always 1.
 *
 * GUI thread. Nothing is done to a window that is none, or is another process's; a second call for the same window
 * subclasses it no second time.
 */
long installTestChildWindow(HWND hWnd);

} // namespace pellora

#endif
