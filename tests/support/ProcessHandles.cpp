#include "tests/support/ProcessHandles.h"

#include <windows.h>

#include <winternl.h>

#include <array>
#include <cstdint>
#include <vector>

namespace support
{

namespace
{

/** What kind of thing a handle of this process stands for: "Event", "Thread", "File" … */
std::string kindOf(HANDLE handle)
{
    constexpr auto kObjectTypeInformation = static_cast<OBJECT_INFORMATION_CLASS>(2);
    alignas(void *) std::array<unsigned char, 1024> bytes{};
    if (NtQueryObject(handle, kObjectTypeInformation, bytes.data(), static_cast<ULONG>(bytes.size()), nullptr) < 0) {
        return "unknown";
    }
    // The answer begins with the name.
    const auto *const pName = reinterpret_cast<const UNICODE_STRING *>(bytes.data());
    return std::string(pName->Buffer, pName->Buffer + pName->Length / sizeof(wchar_t));
}

/** Those that are open. Some 40 ms under Wine. */
std::vector<HANDLE> ownHandles()
{
    // The lowest free number is given out next, so that behind so many free ones there is nothing.
    constexpr std::size_t kMostFree = 4096;
    std::vector<HANDLE> handles;
    std::size_t nFree = 0;
    for (std::uintptr_t nNumber = 4; nFree < kMostFree; nNumber += 4) {
        const auto handle = reinterpret_cast<HANDLE>(nNumber);
        DWORD dwFlags = 0;
        if (GetHandleInformation(handle, &dwFlags) == FALSE) {
            ++nFree;
            continue;
        }
        handles.push_back(handle);
        nFree = 0;
    }
    return handles;
}

} // namespace

// Wine 8 answers 0 for how many they are. Asked for all of the system's handles, its server runs off the table of a
// process that has none yet, or none any more, and crashes: all programs then hang. So each number is tried.
std::map<std::string, std::size_t> processHandles()
{
    std::map<std::string, std::size_t> kinds;
    for (const HANDLE handle : ownHandles()) {
        ++kinds[kindOf(handle)];
    }
    return kinds;
}

} // namespace support
