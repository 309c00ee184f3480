#ifndef BASE_TESTS_HOSTWINDOW_H
#define BASE_TESTS_HOSTWINDOW_H

#include <windows.h>

#include <functional>

/** A plain window of a host without Qt. */
class HostWindow
{
public:
    HostWindow(int x, int y, int width, int height)
        : m_hWnd(CreateWindowExW(0, L"Static", L"host", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, x, y, width, height,
                                 nullptr, nullptr, nullptr, nullptr))
    {
    }
    ~HostWindow()
    {
        destroy();
    }
    HostWindow(const HostWindow &) = delete;
    HostWindow &operator=(const HostWindow &) = delete;

    [[nodiscard]] HWND handle() const
    {
        return m_hWnd;
    }
    void destroy()
    {
        if (m_hWnd != nullptr) {
            DestroyWindow(m_hWnd);
            m_hWnd = nullptr;
        }
    }

private:
    HWND m_hWnd;
};

/** Runs a host's plain message loop until the condition holds; false after five seconds. */
inline bool pumpUntil(const std::function<bool()> &condition)
{
    const ULONGLONG end = GetTickCount64() + 5000;
    while (!condition()) {
        if (GetTickCount64() > end) {
            return false;
        }
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    return true;
}

#endif
