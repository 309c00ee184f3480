#include "interface/Pellora.h"

#include "interface/PaneChoice.h"

using namespace pellora;

int PELLORA_SplitScreen(long lHandle, unsigned short wSplitNum) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SplitScreen(long,unsigned short)");
    logCall(where, "PELLORA_SplitScreen: lHandle: %d, wSplitNum: %d", lHandle, wSplitNum);
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        if (wSplitNum != 1 && wSplitNum != 4 && wSplitNum != 9) {
            return refuse(where, "there is no split into %d, only into 1, 4 and 9", wSplitNum);
        }
        window.splitScreen(wSplitNum);
        return true;
    });
}

int PELLORA_FullScreen(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_FullScreen(long)");
    logCall(where, "PELLORA_FullScreen: lHandle: %d", lHandle);
    return onWindow<int>(where, lHandle, &VideoWindow::fullScreen);
}

int PELLORA_NormalScreen(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_NormalScreen(long)");
    logCall(where, "PELLORA_NormalScreen: lHandle: %d", lHandle);
    return onWindow<int>(where, lHandle, &VideoWindow::normalScreen);
}

int PELLORA_SetCurWnd(long lHandle, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetCurWnd(long,long)");
    logCall(where, "PELLORA_SetCurWnd: lHandle: %d, lSubHandel: %d", lHandle, lSubHandel);
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        // No current pane to fall back to: -1 names none here.
        VideoWnd *pPane = window.getWnd(lSubHandel);
        if (pPane == nullptr) {
            return refusePane(where, lHandle, lSubHandel);
        }
        emit pPane->signalSelected();
        return true;
    });
}
