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

void keepLoaded()
{
#ifdef _WIN32
    static const char anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&anchor), &module);
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
