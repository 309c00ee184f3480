#include "companion/OwnModule.h"

#ifdef _WIN32
#include <windows.h>

#include <filesystem>
#endif

namespace companion
{

#ifdef _WIN32

namespace
{

/** Null where the system does not tell. */
HMODULE ownModule(DWORD how)
{
    static const char anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | how, reinterpret_cast<LPCWSTR>(&anchor), &module);
    return module;
}

} // namespace

bool keepLoaded()
{
    return ownModule(GET_MODULE_HANDLE_EX_FLAG_PIN) != nullptr;
}

std::string libraryFolder()
{
    // As long as a path can be.
    std::wstring name(0x8000, L'\0');
    const DWORD length = GetModuleFileNameW(ownModule(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT), name.data(),
                                            static_cast<DWORD>(name.size()));
    if (length == 0 || length >= name.size()) {
        return {};
    }
    name.resize(length);
    return std::filesystem::path(name).parent_path().u8string();
}

#else

bool keepLoaded()
{
    return true;
}

std::string libraryFolder()
{
    return {};
}

#endif

} // namespace companion
