#include "tests/support/ProcessThreads.h"

#include "tests/support/HostWindow.h"

#include <windows.h>

#include <tlhelp32.h>

namespace support
{

std::size_t processThreads()
{
    const HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::size_t nThreads = 0;
    for (BOOL bMore = Thread32First(hSnapshot, &entry); bMore != FALSE; bMore = Thread32Next(hSnapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) {
            ++nThreads;
        }
    }
    CloseHandle(hSnapshot);
    return nThreads;
}

bool waitForThreads(std::size_t nMost, unsigned milliseconds)
{
    return pumpUntil([nMost] { return processThreads() <= nMost; }, milliseconds);
}

} // namespace support
