#include "tests/embedding/PageWindow.h"

#include <utility>

namespace embedding
{

PageWindow::PageWindow(HWND hHostWnd, const wchar_t *pClassName, int x, int y, int width, int height)
{
    WNDCLASSEXW description = {};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &PageWindow::procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    static const HBRUSH s_hBrush = CreateSolidBrush(kColour);
    description.hbrBackground = s_hBrush;
    description.lpszClassName = pClassName;
    // Registered already: fine.
    RegisterClassExW(&description);
    // Telling the parent would wait for the host's thread, which may wait for this one.
    m_hWnd = CreateWindowExW(WS_EX_NOPARENTNOTIFY, pClassName, L"", WS_CHILD | WS_VISIBLE, x, y, width, height,
                             hHostWnd, nullptr, GetModuleHandleW(nullptr), this);
}

PageWindow::~PageWindow()
{
    destroy();
}

HWND PageWindow::handle() const
{
    return m_hWnd;
}

void PageWindow::destroy()
{
    const HWND hWnd = std::exchange(m_hWnd, nullptr);
    if (hWnd != nullptr) {
        DestroyWindow(hWnd);
    }
}

int PageWindow::received(UINT nMessage) const
{
    const auto it = m_received.find(nMessage);
    return it != m_received.end() ? it->second : 0;
}

LRESULT CALLBACK PageWindow::procedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == WM_NCCREATE) {
        const auto *pCreate = reinterpret_cast<const CREATESTRUCTW *>(lParam);
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pCreate->lpCreateParams));
    }
    auto *pPage = reinterpret_cast<PageWindow *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    if (pPage != nullptr) {
        ++pPage->m_received[nMessage];
        if (nMessage == WM_LBUTTONDOWN) {
            SetFocus(hWnd);
        } else if (nMessage == WM_NCDESTROY) {
            pPage->m_hWnd = nullptr;
            SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
        }
    }
    return DefWindowProcW(hWnd, nMessage, wParam, lParam);
}

} // namespace embedding
