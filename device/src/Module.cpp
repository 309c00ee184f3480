#include "device/src/Module.h"

#include "device/src/Ffmpeg.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <cstdarg>
#include <cstdio>
#include <filesystem>

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

std::string libraryFolder()
{
#ifdef _WIN32
    // As long as a path can be.
    std::wstring name(0x8000, L'\0');
    const HMODULE module = ownModule(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
    const DWORD length = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0 || length >= name.size()) {
        return {};
    }
    name.resize(length);
    return std::filesystem::path(name).parent_path().u8string();
#else
    return {};
#endif
}

void tellDeveloper(const std::string &line)
{
    std::fprintf(stderr, "Selvikdcm: %s\n", line.c_str());
#ifdef _WIN32
    OutputDebugStringA(("Selvikdcm: " + line + "\n").c_str());
#endif
}

} // namespace selvik
