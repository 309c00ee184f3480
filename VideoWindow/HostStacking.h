#ifndef VIDEOWINDOW_HOSTSTACKING_H
#define VIDEOWINDOW_HOSTSTACKING_H

#include <QPointer>

#include <windows.h>

#include <vector>

namespace pellora
{

class VideoWindow;

/**
 * Keeps video windows visible in a host whose page is drawn by Chromium's own child windows, by one of two ways.
 *
 * Native calls send messages to the host, which may destroy video windows meanwhile; hence the guarded pointers.
 * GUI thread. What cannot be done is logged, each time.
 */
void stackAmongHostWindows(HWND hHostWnd, unsigned char embedMode,
                           const std::vector<QPointer<VideoWindow>> &videoWindows);

} // namespace pellora

#endif
