#include "interface/Pellora.h"

#include "interface/HostText.h"
#include "interface/PaneChoice.h"

using namespace pellora;

int PELLORA_PreviewFile(long lHandle, const char *pFileName, unsigned char byLoop, unsigned char byOpenDraw) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_PreviewFile(long,char *,unsigned char,unsigned char)");
    logCallWithText(where, "PELLORA_PreviewFile: lHandle: %d, pFileName: %s", pFileName, lHandle);
    return onCurrentPane<int>(where, lHandle, [&](VideoWnd &pane) {
        return pane.previewFile(HostPath(pFileName).get(), byLoop, byOpenDraw);
    });
}

int PELLORA_StopPreviewFile(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_StopPreviewFile(long)");
    logCall(where, "PELLORA_StopPreviewFile: lHandle: %d", lHandle);
    return onCurrentPane<int>(where, lHandle, &VideoWnd::stopPreviewFile);
}

unsigned long PELLORA_SetFileEndCallback(long lHandle, fFileEndCBFun pfnCallback) noexcept
{
    const LogLocation where = exportAt("unsigned long __cdecl PELLORA_SetFileEndCallback(long,void (__cdecl *)(long))");
    logCall(where, "PELLORA_SetFileEndCallback: lHandle: %d, fFileEndCBFun: %p.", lHandle, pfnCallback);
    return onCurrentPane<unsigned long>(where, lHandle, [&](VideoWnd &pane) {
        return pfnCallback == nullptr ? pane.clearFileEndCallback() : pane.setFileEndCallback(pfnCallback, lHandle);
    });
}

int PELLORA_Play(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Play(long)");
    logCall(where, "PELLORA_Play: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::play);
}

int PELLORA_Pause(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Pause(long)");
    logCall(where, "PELLORA_Pause: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::pause);
}

int PELLORA_Restore(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Restore(long)");
    logCall(where, "PELLORA_Restore: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::restore);
}

int PELLORA_Fast(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Fast(long)");
    logCall(where, "PELLORA_Fast: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::fast);
}

int PELLORA_Slow(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Slow(long)");
    logCall(where, "PELLORA_Slow: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::slow);
}

int PELLORA_OneByOne(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_OneByOne(long)");
    logCall(where, "PELLORA_OneByOne: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::oneByOne);
}

int PELLORA_OneByOneBack(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_OneByOneBack(long)");
    logCall(where, "PELLORA_OneByOneBack: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::oneByOneBack);
}
