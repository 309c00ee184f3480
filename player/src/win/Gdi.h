#pragma once

#include <windows.h>

namespace player
{

/** A window's device context, given back by the thread that took it. */
class WindowDc
{
public:
    explicit WindowDc(HWND hWnd) : m_hWnd(hWnd), m_hDc(GetDC(hWnd)) {}

    ~WindowDc()
    {
        if (m_hDc) {
            ReleaseDC(m_hWnd, m_hDc);
        }
    }

    WindowDc(const WindowDc &) = delete;
    WindowDc &operator=(const WindowDc &) = delete;

    [[nodiscard]] HDC get() const
    {
        return m_hDc;
    }

private:
    HWND m_hWnd;
    HDC m_hDc;
};

/** What has been selected into a context and set on it, put back at the end. */
class SavedDc
{
public:
    explicit SavedDc(HDC hDc) : m_hDc(hDc), m_nSaved(SaveDC(hDc)) {}

    ~SavedDc()
    {
        if (m_nSaved != 0) {
            RestoreDC(m_hDc, m_nSaved);
        }
    }

    SavedDc(const SavedDc &) = delete;
    SavedDc &operator=(const SavedDc &) = delete;

private:
    HDC m_hDc;
    int m_nSaved;
};

} // namespace player
