#include "hosts/node/src/ClickWatch.h"

#include <array>
#include <cwchar>
#include <windows.h>

namespace pellora::node
{
namespace
{

// The library queues a click, for the messages between the loop's taking it and the pane's record.
constexpr ULONGLONG kLongestQueue = 1000; // ms

// The host window's thread.
unsigned g_nClicks = 0;
ULONGLONG g_lastClick = 0;

/** The shells' own windows have names of other kinds. */
bool isLibraryWindow(HWND hWnd)
{
    std::array<wchar_t, 4> name{};
    GetClassNameW(hWnd, name.data(), static_cast<int>(name.size()));
    return std::wcsncmp(name.data(), L"Qt", 2) == 0;
}

LRESULT CALLBACK onMessageTaken(int nCode, WPARAM wParam, LPARAM lParam)
{
    if (nCode == HC_ACTION && wParam == PM_REMOVE) {
        const MSG &message = *reinterpret_cast<const MSG *>(lParam);
        if ((message.message == WM_LBUTTONDOWN || message.message == WM_LBUTTONDBLCLK) &&
            isLibraryWindow(message.hwnd)) {
            ++g_nClicks;
            g_lastClick = GetTickCount64();
        }
    }
    return CallNextHookEx(nullptr, nCode, wParam, lParam);
}

} // namespace

void ClickWatch::begin()
{
    // Called for what the loop takes, and not for what is sent, of which there is far more.
    static const HHOOK hHook = SetWindowsHookExW(WH_GETMESSAGE, &onMessageTaken, nullptr, GetCurrentThreadId());
    static_cast<void>(hHook);
}

bool ClickWatch::takeClick()
{
    if (GetTickCount64() - g_lastClick > kLongestQueue) {
        g_nClicks = 0;
    }
    if (g_nClicks == 0) {
        return false;
    }
    --g_nClicks;
    return true;
}

} // namespace pellora::node
