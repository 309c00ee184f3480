#include "tests/support/ProcessMemory.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <vector>

namespace support
{

namespace
{

/** Calls `visit` with each committed piece of memory that is the process's own. */
template <typename Visit>
void eachPrivatePiece(Visit visit)
{
    MEMORY_BASIC_INFORMATION region{};
    for (const char *pAddress = nullptr; VirtualQuery(pAddress, &region, sizeof(region)) == sizeof(region);
         pAddress = static_cast<const char *>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) {
            visit(region);
        }
    }
}

struct Heaps {
    std::vector<const void *> pieces; /**< what they reserved, by its beginning; some several times */
    std::size_t nUsed = 0;            /**< bytes in blocks that were allocated and not given back */
};

void walk(HANDLE hHeap, Heaps &heaps)
{
    // Blocks from about half a megabyte on have memory of their own.
    constexpr DWORD kPerhapsAlone = 64U << 10U;
    HeapLock(hHeap);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(hHeap, &entry) != FALSE) {
        const bool bUsed = (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        heaps.nUsed += bUsed ? entry.cbData : 0;
        MEMORY_BASIC_INFORMATION region{};
        if (((entry.wFlags & PROCESS_HEAP_REGION) != 0 || (bUsed && entry.cbData >= kPerhapsAlone)) &&
            VirtualQuery(entry.lpData, &region, sizeof(region)) == sizeof(region)) {
            // Never beyond what was reserved: the heap that is walked must not change meanwhile.
            if (heaps.pieces.size() < heaps.pieces.capacity()) {
                heaps.pieces.push_back(region.AllocationBase);
            }
        }
    }
    HeapUnlock(hHeap);
}

} // namespace

std::size_t privateBytes()
{
    std::size_t total = 0;
    eachPrivatePiece([&total](const MEMORY_BASIC_INFORMATION &region) { total += region.RegionSize; });
    return total;
}

std::size_t usedBytes()
{
    constexpr DWORD kMostHeaps = 256;
    std::array<HANDLE, kMostHeaps> handles{};
    const DWORD nHeaps = std::min(GetProcessHeaps(kMostHeaps, handles.data()), kMostHeaps);
    constexpr std::size_t kMostPieces = 1U << 16U;
    Heaps heaps;
    heaps.pieces.reserve(kMostPieces);
    for (DWORD i = 0; i < nHeaps; ++i) {
        walk(handles.at(i), heaps);
    }
    std::sort(heaps.pieces.begin(), heaps.pieces.end());
    std::size_t total = heaps.nUsed;
    eachPrivatePiece([&](const MEMORY_BASIC_INFORMATION &region) {
        const bool bHeaps = std::binary_search(heaps.pieces.begin(), heaps.pieces.end(), region.AllocationBase);
        total += bHeaps ? 0 : region.RegionSize;
    });
    return total;
}

} // namespace support
