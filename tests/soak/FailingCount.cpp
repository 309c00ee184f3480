// Counts allocations for whoever makes them fail: the program's own operators natively, led imports under Windows.

#include "tests/soak/FailingMemory.h"

#include <atomic>

namespace soak
{

namespace
{

std::atomic<bool> g_bArmed{false};
std::atomic<bool> g_bFailed{false};
std::atomic<bool> g_bLasting{false};
std::atomic<std::size_t> g_nFailing{0};
std::atomic<std::size_t> g_nCount{0};

} // namespace

bool isCounting()
{
    return g_bArmed;
}

bool runsOut()
{
    if (!g_bArmed) {
        return false;
    }
    const std::size_t nNumber = ++g_nCount;
    const std::size_t nFailing = g_nFailing;
    if (nFailing == 0 || nNumber < nFailing || (nNumber > nFailing && !g_bLasting)) {
        return false;
    }
    g_bFailed = true;
    return true;
}

void failAllocation(std::size_t nNumber, Lack lack)
{
    g_nCount = 0;
    g_bFailed = false;
    g_nFailing = nNumber;
    g_bLasting = lack == Lack::Lasting;
    g_bArmed = true;
}

std::size_t endFailing()
{
    g_bArmed = false;
    return g_nCount;
}

bool hasFailed()
{
    return g_bFailed;
}

} // namespace soak
