// The same for the library's own modules under Windows: their imports of operator new lead here. What Qt and the C++
// library allocate inside is left alone, since Qt ends the process where it has no memory.

#include "tests/soak/FailingMemory.h"

#include <windows.h>

#include <cstring>
#include <initializer_list>
#include <new>

namespace soak
{

namespace
{

void *allocate(std::size_t size)
{
    if (runsOut()) {
        throw std::bad_alloc();
    }
    return ::operator new(size);
}

void *allocateOrNull(std::size_t size, const std::nothrow_t &tag) noexcept
{
    return runsOut() ? nullptr : ::operator new(size, tag);
}

/** Leads one import of a module elsewhere; how many entries there were. */
int replaceImport(HMODULE hModule, const char *pName, void *pFunction)
{
    auto *const pBase = reinterpret_cast<unsigned char *>(hModule);
    const auto *const pHeaders =
        reinterpret_cast<const IMAGE_NT_HEADERS *>(pBase + reinterpret_cast<const IMAGE_DOS_HEADER *>(pBase)->e_lfanew);
    const IMAGE_DATA_DIRECTORY &directory = pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    int nReplaced = 0;
    for (auto *pLibrary = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(pBase + directory.VirtualAddress);
         pLibrary->Name != 0; ++pLibrary) {
        const auto *pNames = reinterpret_cast<const IMAGE_THUNK_DATA *>(pBase + pLibrary->OriginalFirstThunk);
        auto *pEntries = reinterpret_cast<IMAGE_THUNK_DATA *>(pBase + pLibrary->FirstThunk);
        for (; pNames->u1.AddressOfData != 0; ++pNames, ++pEntries) {
            if (IMAGE_SNAP_BY_ORDINAL(pNames->u1.Ordinal)) {
                continue;
            }
            const auto *const pImport =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME *>(pBase + pNames->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char *>(pImport->Name), pName) == 0) {
                DWORD dwProtection = 0;
                VirtualProtect(pEntries, sizeof(*pEntries), PAGE_READWRITE, &dwProtection);
                pEntries->u1.Function = reinterpret_cast<ULONGLONG>(pFunction);
                VirtualProtect(pEntries, sizeof(*pEntries), dwProtection, &dwProtection);
                ++nReplaced;
            }
        }
    }
    return nReplaced;
}

} // namespace

int leadImportsHere()
{
    int nReplaced = 0;
    for (const wchar_t *pModule : {L"Pellora.dll", L"Corvane.dll"}) {
        const HMODULE hModule = GetModuleHandleW(pModule);
        nReplaced += replaceImport(hModule, "_Znwy", reinterpret_cast<void *>(&allocate));
        nReplaced += replaceImport(hModule, "_Znay", reinterpret_cast<void *>(&allocate));
        nReplaced += replaceImport(hModule, "_ZnwyRKSt9nothrow_t", reinterpret_cast<void *>(&allocateOrNull));
    }
    return nReplaced;
}

} // namespace soak
