#include "interface/Pellora.h"

#include "interface/PaneChoice.h"

using namespace pellora;

int PELLORA_OpenSound(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_OpenSound(long)");
    logCall(where, "PELLORA_OpenSound: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::openSound);
}

int PELLORA_CloseSound(long lHandle) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_CloseSound(long)");
    logCall(where, "PELLORA_CloseSound: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::closeSound);
}

int PELLORA_SetVolume(long lHandle, unsigned short wVolume) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetVolume(long,unsigned short)");
    logCall(where, "PELLORA_SetVolume: lHandle: %d", lHandle);
    return onCurrentPort<int>(where, lHandle, &PanePort::setVolume, wVolume);
}

unsigned short PELLORA_GetVolume(long lHandle) noexcept
{
    const LogLocation where = exportAt("unsigned short __cdecl PELLORA_GetVolume(long)");
    logCall(where, "PELLORA_GetVolume: lHandle: %d", lHandle);
    return onCurrentPort<unsigned short>(where, lHandle, &PanePort::getVolume);
}
