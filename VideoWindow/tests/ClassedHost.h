#ifndef VIDEOWINDOW_TESTS_CLASSEDHOST_H
#define VIDEOWINDOW_TESTS_CLASSEDHOST_H

#include <windows.h>

#include <functional>
#include <map>
#include <string>

/**
 * A host window of a class of its own: windows with different numbers have different procedures.
 *
 * Threads: the one that made it.
 * Owns:    the window.
 */
template <int nClass>
class ClassedHost
{
public:
    ClassedHost()
    {
        const std::wstring name = L"PelloraClassedHost" + std::to_wstring(nClass);
        WNDCLASSEXW description = {};
        description.cbSize = sizeof(description);
        description.lpfnWndProc = &ClassedHost::procedure;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = name.c_str();
        // Registered already: fine.
        RegisterClassExW(&description);
        m_hWnd = CreateWindowExW(0, name.c_str(), L"host", WS_POPUP | WS_VISIBLE, 20, 20, 640, 480, nullptr, nullptr,
                                 GetModuleHandleW(nullptr), nullptr);
        s_received.clear();
        s_whenReceived = nullptr;
    }
    ~ClassedHost()
    {
        destroy();
    }
    ClassedHost(const ClassedHost &) = delete;
    ClassedHost &operator=(const ClassedHost &) = delete;

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

    static LRESULT CALLBACK procedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
    {
        ++s_received[{hWnd, nMessage}];
        const auto whenReceived = s_whenReceived;
        if (whenReceived) {
            whenReceived(nMessage);
        }
        return DefWindowProcW(hWnd, nMessage, wParam, lParam);
    }
    /** How often the class's own procedure got the message for a window, whatever class that is of. */
    [[nodiscard]] static int received(HWND hWnd, UINT nMessage)
    {
        const auto it = s_received.find({hWnd, nMessage});
        return it != s_received.end() ? it->second : 0;
    }
    /** Runs inside the class's procedure, for every message; null ends it. */
    static void whenReceived(std::function<void(UINT)> action)
    {
        s_whenReceived = std::move(action);
    }

private:
    inline static std::map<std::pair<HWND, UINT>, int> s_received;
    inline static std::function<void(UINT)> s_whenReceived;
    HWND m_hWnd = nullptr;
};

#endif
