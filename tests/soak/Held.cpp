#include "tests/soak/Held.h"

#include "tests/support/HostWindow.h"
#include "tests/support/LiveObjects.h"
#include "tests/support/ProcessHandles.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/ProcessThreads.h"

#include <windows.h>

namespace soak
{

namespace
{

BOOL CALLBACK countWindow(HWND hWnd, LPARAM lParam)
{
    ++*reinterpret_cast<std::size_t *>(lParam);
    EnumChildWindows(
        hWnd,
        [](HWND, LPARAM lCount) -> BOOL {
            ++*reinterpret_cast<std::size_t *>(lCount);
            return TRUE;
        },
        lParam);
    return TRUE;
}

} // namespace

Held held()
{
    Held now;
    now.nThreads = support::processThreads();
    now.handles = support::processHandles();
    for (const auto &[kind, nHandles] : now.handles) {
        now.nHandles += nHandles;
    }
    EnumThreadWindows(GetCurrentThreadId(), &countWindow, reinterpret_cast<LPARAM>(&now.nWindows));
    now.nObjects = support::liveObjects();
    now.nBytes = support::privateBytes();
    now.nUsed = support::usedBytes();
    return now;
}

std::string textOf(const Held &held)
{
    std::string kinds;
    for (const auto &[kind, nHandles] : held.handles) {
        kinds += (kinds.empty() ? "" : ", ") + std::to_string(nHandles) + " " + kind;
    }
    return std::to_string(held.nThreads) + " threads, " + std::to_string(held.nHandles) + " handles (" + kinds + "), " +
           std::to_string(held.nWindows) + " windows, " + std::to_string(held.nObjects) + " objects, " +
           std::to_string(held.nUsed / 1024) + " of " + std::to_string(held.nBytes / 1024) + " KiB in use";
}

bool waitForHeld(const Held &before, unsigned milliseconds)
{
    return support::pumpUntil(
        [&before] {
            const Held now = held();
            return now.nThreads <= before.nThreads && now.nHandles <= before.nHandles &&
                   now.nWindows <= before.nWindows && now.nObjects <= before.nObjects;
        },
        milliseconds);
}

} // namespace soak
