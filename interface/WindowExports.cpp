#include "interface/Pellora.h"

#include "VideoWindow/TestChildWindow.h"
#include "interface/ClipRegion.h"
#include "interface/PaneChoice.h"

#include <QCoreApplication>

using namespace pellora;

long PELLORA_CreateWindow(HWND hwnd, unsigned char embedMode) noexcept
{
    const LogLocation where = exportAt("long __cdecl PELLORA_CreateWindow(struct HWND__ *,unsigned char)");
    logCall(where, "PELLORA_CreateWindow: hwnd: %p", hwnd);
    return guarded(where, -1L, [&] {
        const long lHandle = registry().createVideoWindow(hwnd, embedMode);
        if (lHandle < 0 && QCoreApplication::instance() == nullptr) {
            refuse(where, "there is no application object, PELLORA_Init has to be called first");
        }
        return lHandle;
    });
}

long PELLORA_CreateWindow2(HWND hwnd) noexcept
{
    const LogLocation where = exportAt("long __cdecl PELLORA_CreateWindow2(struct HWND__ *)");
    return guarded(where, 0L, [&] { return installTestChildWindow(hwnd); });
}

int PELLORA_DestroyWindow(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_DestroyWindow(long)");
    logCall(where, "PELLORA_DestroyWindow: lHandle: %d", lHandle);
    return guarded(where, 0, [&] { return registry().destroyVideoWindow(lHandle) || refuseWindow(where, lHandle); });
}

int PELLORA_SetVisible(long lHandle, unsigned short wVisible) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetVisible(long,unsigned short)");
    logCall(where, "PELLORA_SetVisible: lHandle: %d, wVisible: %d", lHandle, wVisible);
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        window.setVisible(wVisible != 0);
        return 1;
    });
}

int PELLORA_SetGeometry(long lHandle, int x, int y, int width, int height) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetGeometry(long,int,int,int,int)");
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        window.setGeometry(x, y, width, height);
        return 1;
    });
}

int PELLORA_SetClipArea(long lHandle, const tagPELLORA_CLIP_AREA *pArea) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetClipArea(long,struct tagPELLORA_CLIP_AREA *)");
    if (pArea == nullptr) {
        return refuse(where, "pArea is null");
    }
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        HWND hVideoWnd = window.nativeWindow();
        if (hVideoWnd == nullptr) {
            return refuse(where, "window %d has no native window", lHandle);
        }
        if (!isReadable(pArea)) {
            return refuse(where, "the memory of the record ends before its rectangles do");
        }
        clipWindow(hVideoWnd, window.width(), window.height(), pArea);
        return true;
    });
}
