#include "hosts/node/src/NodeApi.h"

#include <cstring>
#include <windows.h>

namespace pellora::node
{

NodeApi g_napi;

namespace
{

template <class Function>
bool find(HMODULE hModule, const char *pName, Function &function) noexcept
{
    const FARPROC pfnFound = GetProcAddress(hModule, pName);
    static_assert(sizeof(pfnFound) == sizeof(function));
    std::memcpy(&function, &pfnFound, sizeof(function));
    return pfnFound != nullptr;
}

bool findIn(HMODULE hModule, NodeApi &napi) noexcept
{
    bool bAll = hModule != nullptr;
#define PELLORA_NODE_FIND(name) bAll = bAll && find(hModule, #name, napi.name);
    PELLORA_NODE_FUNCTIONS(PELLORA_NODE_FIND)
#undef PELLORA_NODE_FIND
    return bAll;
}

NodeApi findAnywhere(bool &bFound) noexcept
{
    NodeApi napi;
    bFound = findIn(GetModuleHandleW(L"node.dll"), napi) || findIn(GetModuleHandleW(nullptr), napi);
    return napi;
}

} // namespace

bool findNodeApi() noexcept
{
    // Workers load the module at the same time as the main thread: the first one fills the table.
    static const bool bFound = [] {
        bool bAll = false;
        g_napi = findAnywhere(bAll);
        return bAll;
    }();
    return bFound;
}

} // namespace pellora::node
