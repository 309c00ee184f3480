#include "VideoWindow/TestChildWindow.h"

#include "VideoWindow/WindowSubclass.h"

namespace pellora
{

namespace
{

/** Never assigned: each paint passes null to SetParent, which does nothing; docs/compatibility.md: test-window. */
constexpr HWND kTestChild = nullptr;

void addStyle(HWND hWnd, LONG_PTR nStyle)
{
    const LONG_PTR nOld = GetWindowLongPtrW(hWnd, GWL_STYLE);
    if ((nOld & nStyle) == 0) {
        SetWindowLongPtrW(hWnd, GWL_STYLE, nOld | nStyle);
    }
}

/** Keeps the host and its page from painting over their children. */
void clipHost(HWND hWnd)
{
    HWND hD3dChild = FindWindowExW(hWnd, nullptr, L"Intermediate D3D Window", nullptr);
    if (hD3dChild != nullptr) {
        addStyle(hD3dChild, WS_CLIPSIBLINGS);
    }
    addStyle(hWnd, WS_CLIPCHILDREN);
}

LRESULT CALLBACK HostPaintWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);

/** The hosts that HostPaintWndProc is in front of. */
WindowSubclass &hosts()
{
    static auto *const pHosts = new WindowSubclass(&HostPaintWndProc, L"PelloraHostPaintWndProc");
    return *pHosts;
}

LRESULT CALLBACK HostPaintWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (hosts().takesProbe(nMessage)) {
        return 0;
    }
    const WNDPROC pPrevious = hosts().previous(hWnd);
    if (pPrevious == nullptr) {
        return DefWindowProcW(hWnd, nMessage, wParam, lParam);
    }
    if (nMessage == WM_PAINT) {
        clipHost(hWnd);
        SetParent(kTestChild, hWnd);
    } else if (nMessage == WM_NCDESTROY) {
        hosts().forget(hWnd);
    }
    return CallWindowProcW(pPrevious, hWnd, nMessage, wParam, lParam);
}

LRESULT CALLBACK TestChildWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    switch (nMessage) {
    case WM_NCCALCSIZE:
        // No frame: all of the window is client area.
        return 0;
    case WM_LBUTTONDOWN:
        MessageBoxW(hWnd, L"tarno", L"tarno", MB_ICONWARNING);
        return 0;
    default:
        return DefWindowProcW(hWnd, nMessage, wParam, lParam);
    }
}

/** False when the window cannot be subclassed. */
bool subclass(HWND hWnd)
{
    // The procedures of another thread's window run on that thread.
    return GetWindowThreadProcessId(hWnd, nullptr) == GetCurrentThreadId() && hosts().install(hWnd);
}

} // namespace

long installTestChildWindow(HWND hWnd)
{
    if (!subclass(hWnd)) {
        return 1;
    }
    clipHost(hWnd);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = TestChildWndProc;
    windowClass.hbrBackground = CreateSolidBrush(0xA0A0E2);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = L"ChildWindowClass";
    if (RegisterClassExW(&windowClass) == 0) {
        // The class exists already; the one that is registered keeps its own brush.
        DeleteObject(windowClass.hbrBackground);
    }
    HWND hChild = CreateWindowExW(0, windowClass.lpszClassName, nullptr, WS_POPUP | WS_CHILD | WS_VISIBLE, 100, 100,
                                  600, 600, nullptr, nullptr, nullptr, nullptr);
    SetParent(hChild, hWnd);
    return 1;
}

} // namespace pellora
