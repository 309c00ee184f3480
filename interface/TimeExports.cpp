#include "interface/Pellora.h"

#include "interface/HostText.h"
#include "interface/PaneChoice.h"

#include <cstring>

using namespace pellora;

static_assert(sizeof(tagPELLORA_SYSTEM_TIME) == sizeof(KAVUN_SYSTEM_TIME), "the player's times are copied as they are");

namespace
{

/** The host's record as the player's for the length of a call; what the player does not fill stays as it was. */
class PlayerTime
{
public:
    explicit PlayerTime(tagPELLORA_SYSTEM_TIME &host) : m_host(host)
    {
        std::memcpy(&m_time, &m_host, sizeof(m_time));
    }
    ~PlayerTime()
    {
        std::memcpy(&m_host, &m_time, sizeof(m_time));
    }
    PlayerTime(const PlayerTime &) = delete;
    PlayerTime &operator=(const PlayerTime &) = delete;

    [[nodiscard]] KAVUN_SYSTEM_TIME *get()
    {
        return &m_time;
    }

private:
    tagPELLORA_SYSTEM_TIME &m_host;
    KAVUN_SYSTEM_TIME m_time{};
};

} // namespace

int PELLORA_SetPlayPos(long lHandle, unsigned long dwPlayedTime) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetPlayPos(long,unsigned long)");
    logCall(where, "PELLORA_SetPlayPos: lHandle: %d, dwPlayedTime: %d", lHandle, dwPlayedTime);
    return onCurrentPort<int>(where, lHandle, &PanePort::setPlayedTime, dwPlayedTime);
}

unsigned long PELLORA_GetPlayPos(long lHandle) noexcept
{
    const LogLocation where = exportAt("unsigned long __cdecl PELLORA_GetPlayPos(long)");
    logCall(where, "PELLORA_GetPlayPos: lHandle: %d", lHandle);
    return onCurrentPort<unsigned long>(where, lHandle, &PanePort::getPlayedTime);
}

unsigned long PELLORA_GetFileTime(long lHandle) noexcept
{
    const LogLocation where = exportAt("unsigned long __cdecl PELLORA_GetFileTime(long)");
    logCall(where, "PELLORA_GetFileTime: lHandle: %d", lHandle);
    return onCurrentPort<unsigned long>(where, lHandle, &PanePort::getFileTime);
}

unsigned long PELLORA_GetFileTimeNoPriview(const char *pFileName) noexcept
{
    const LogLocation where = exportAt("unsigned long __cdecl PELLORA_GetFileTimeNoPriview(char *)");
    logCallWithText(where, "PELLORA_GetFileTimeNoPriview: pFileName: %s.", pFileName);
    return guarded(where, 0UL, [&] { return Drovel::getFileTimeNoPreview(HostPath(pFileName).get()); });
}

int PELLORA_GetSystemFileTime(long lHandle, tagPELLORA_SYSTEM_TIME *pStart, tagPELLORA_SYSTEM_TIME *pEnd) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_GetSystemFileTime(long,struct tagPELLORA_SYSTEM_TIME *,"
                                       "struct tagPELLORA_SYSTEM_TIME *)");
    logCall(where, "PELLORA_GetSystemFileTime: lHandle: %d", lHandle);
    if (pStart == nullptr || pEnd == nullptr) {
        return refuse(where, pStart == nullptr ? "pStart is null" : "pEnd is null");
    }
    return onCurrentPort<int>(where, lHandle, [&](PanePort &port) {
        return port.getSystemFileTime(PlayerTime(*pStart).get(), PlayerTime(*pEnd).get());
    });
}

int PELLORA_GetSystemTime(long lHandle, tagPELLORA_SYSTEM_TIME *pTime) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_GetSystemTime(long,struct tagPELLORA_SYSTEM_TIME *)");
    logCall(where, "PELLORA_GetSystemTime: lHandle: %d.", lHandle);
    if (pTime == nullptr) {
        return refuse(where, "pTime is null");
    }
    return onCurrentPort<int>(where, lHandle,
                              [&](PanePort &port) { return port.getSystemTime(PlayerTime(*pTime).get()); });
}
