#include "VideoWindow/NativeFrames.h"

#include "VideoWindow/HostCalls.h"
#include "VideoWindow/WindowSubclass.h"

#include <map>
#include <optional>

namespace pellora
{

namespace
{

LRESULT CALLBACK FramesWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);

struct Watched {
    WindowSubclass &subclass = *new WindowSubclass(&FramesWndProc, L"PelloraNativeFrames");
    std::map<HWND, HostCalls *> calls;
};

Watched &watched()
{
    // Never destroyed: windows outlive static objects.
    static auto *const pWatched = new Watched;
    return *pWatched;
}

LRESULT CALLBACK FramesWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    WindowSubclass &subclass = watched().subclass;
    if (subclass.takesProbe(nMessage)) {
        return 0;
    }
    const WNDPROC pPrevious = subclass.previous(hWnd);
    if (pPrevious == nullptr) {
        return DefWindowProcW(hWnd, nMessage, wParam, lParam);
    }
    const auto it = watched().calls.find(hWnd);
    std::optional<HostCalls::Scope> scope;
    if (it != watched().calls.end()) {
        scope.emplace(*it->second);
    }
    if (nMessage == WM_NCDESTROY) {
        watched().calls.erase(hWnd);
        subclass.forget(hWnd);
    }
    return CallWindowProcW(pPrevious, hWnd, nMessage, wParam, lParam);
}

} // namespace

NativeFrames::NativeFrames(HostCalls &calls) : m_calls(calls) {}

NativeFrames::~NativeFrames()
{
    std::map<HWND, HostCalls *> &calls = watched().calls;
    for (HWND hWnd : m_windows) {
        const auto it = calls.find(hWnd);
        // Otherwise the window is gone, and its number may be another one's.
        if (it != calls.end() && it->second == &m_calls) {
            calls.erase(it);
            watched().subclass.remove(hWnd);
        }
    }
}

void NativeFrames::watch(HWND hWnd)
{
    m_windows.push_back(hWnd);
    const auto add = [](HWND hChild, LPARAM lParam) -> BOOL {
        reinterpret_cast<std::vector<HWND> *>(lParam)->push_back(hChild);
        return TRUE;
    };
    EnumChildWindows(hWnd, add, reinterpret_cast<LPARAM>(&m_windows));
    for (HWND hWatched : m_windows) {
        watched().calls[hWatched] = &m_calls;
        watched().subclass.install(hWatched);
    }
}

} // namespace pellora
