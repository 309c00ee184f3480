#include "tests/support/HostWindow.h"

#include <chrono>

namespace support
{

namespace
{

constexpr const wchar_t *kHostClass = L"PelloraTestHost";

void registerClass(const wchar_t *name, WNDPROC procedure)
{
    WNDCLASSEXW description = {};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    description.lpszClassName = name;
    // Registered already: fine.
    RegisterClassExW(&description);
}

} // namespace

void pumpPosted()
{
    // Timers may keep the queue from ever being empty.
    constexpr ULONGLONG kLongest = 500;
    const ULONGLONG end = GetTickCount64() + kLongest;
    MSG message;
    while (GetTickCount64() < end && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

bool pumpUntil(const std::function<bool()> &condition, unsigned milliseconds)
{
    // What other threads bring about posts nothing here, hence the condition is looked at this often.
    constexpr DWORD kLookEvery = 10;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        pumpPosted();
        if (condition()) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        MsgWaitForMultipleObjects(0, nullptr, FALSE, kLookEvery, QS_ALLINPUT);
    }
}

HostWindow::HostWindow(int width, int height)
{
    registerClass(kHostClass, &HostWindow::procedure);
    // Neither framed nor active: without a window manager Wine 8 waits two seconds for each managed window that goes.
    m_hWnd = CreateWindowExW(0, kHostClass, L"host", WS_POPUP, 20, 20, width, height, nullptr, nullptr,
                             GetModuleHandleW(nullptr), this);
    ShowWindow(m_hWnd, SW_SHOWNOACTIVATE);
}

HostWindow::~HostWindow()
{
    destroy();
}

HWND HostWindow::handle() const
{
    return m_hWnd;
}

HWND HostWindow::addChild(const wchar_t *className, int x, int y, int width, int height)
{
    registerClass(className, &DefWindowProcW);
    return CreateWindowExW(0, className, L"", WS_CHILD | WS_VISIBLE, x, y, width, height, m_hWnd, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
}

void HostWindow::destroy()
{
    if (m_hWnd != nullptr) {
        DestroyWindow(m_hWnd);
        m_hWnd = nullptr;
    }
}

int HostWindow::received(UINT message) const
{
    const auto found = m_received.find(message);
    return found == m_received.end() ? 0 : found->second;
}

LRESULT CALLBACK HostWindow::procedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_NCCREATE) {
        const auto *pCreate = reinterpret_cast<const CREATESTRUCTW *>(lParam);
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pCreate->lpCreateParams));
    }
    auto *pHost = reinterpret_cast<HostWindow *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    if (pHost != nullptr) {
        ++pHost->m_received[message];
    }
    return DefWindowProcW(hWnd, message, wParam, lParam);
}

std::vector<HWND> childrenOf(HWND parent)
{
    std::vector<HWND> children;
    for (HWND child = GetWindow(parent, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        children.push_back(child);
    }
    return children;
}

} // namespace support
