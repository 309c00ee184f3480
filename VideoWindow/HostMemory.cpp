#include "VideoWindow/HostMemory.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace pellora
{

namespace
{

/** How many bytes from there on can be read within one region of memory, at most nMaxBytes. */
std::size_t readableInRegion(const char *pStart, std::size_t nMaxBytes)
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                                PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MEMORY_BASIC_INFORMATION region = {};
    if (VirtualQuery(pStart, &region, sizeof(region)) == 0 || region.State != MEM_COMMIT ||
        (region.Protect & kReadable) == 0 || (region.Protect & PAGE_GUARD) != 0) {
        return 0;
    }
    const char *const pEnd = static_cast<const char *>(region.BaseAddress) + region.RegionSize;
    return std::min(static_cast<std::size_t>(pEnd - pStart), nMaxBytes);
}

} // namespace

std::size_t readableBytes(const void *pStart, std::size_t nMaxBytes)
{
    const auto *const pBytes = static_cast<const char *>(pStart);
    std::size_t nReadable = 0;
    while (nReadable < nMaxBytes) {
        const std::size_t nMore = readableInRegion(pBytes + nReadable, nMaxBytes - nReadable);
        if (nMore == 0) {
            break;
        }
        nReadable += nMore;
    }
    return nReadable;
}

std::string readHostText(const void *pText, std::size_t nMaxBytes)
{
    std::string text;
    const auto *pNext = static_cast<const char *>(pText);
    while (pNext != nullptr && text.size() < nMaxBytes) {
        const std::size_t nReadable = readableInRegion(pNext, nMaxBytes - text.size());
        const auto *const pEnd = static_cast<const char *>(nReadable == 0 ? nullptr : std::memchr(pNext, 0, nReadable));
        text.append(pNext, pEnd != nullptr ? static_cast<std::size_t>(pEnd - pNext) : nReadable);
        if (pEnd != nullptr || nReadable == 0) {
            break;
        }
        pNext += nReadable;
    }
    return text;
}

} // namespace pellora
