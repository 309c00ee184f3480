#include "tests/support/ProcessMemory.h"

#include <windows.h>

namespace support
{

std::size_t privateBytes()
{
    std::size_t total = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char *pAddress = nullptr; VirtualQuery(pAddress, &region, sizeof(region)) == sizeof(region);
         pAddress = static_cast<const char *>(region.BaseAddress) + region.RegionSize) {
        total += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
    }
    return total;
}

} // namespace support
