#include "device/src/Module.h"

#include "device/src/Ffmpeg.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <cstdarg>

namespace selvik
{

namespace
{

void dropMessage(void * /*pContext*/, int /*level*/, const char * /*pFormat*/, va_list /*arguments*/) {}

#ifdef _WIN32
/** The module that this code is in. */
HMODULE ownModule(DWORD flags)
{
    static const char anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags, reinterpret_cast<LPCWSTR>(&anchor), &module);
    return module;
}
#endif

void keepLoaded()
{
#ifdef _WIN32
    ownModule(GET_MODULE_HANDLE_EX_FLAG_PIN);
#endif
}

} // namespace

void prepareProcess()
{
    static const bool bPrepared = [] {
        av_log_set_callback(&dropMessage);
        keepLoaded();
        return true;
    }();
    (void)bPrepared;
}

} // namespace selvik
