#ifndef GDI_WINDOWDC_H
#define GDI_WINDOWDC_H

#include <windows.h>

namespace gdi
{

/** A window's context; null: the screen's. It must go on the thread that took it. Errors: empty without one. */
class WindowDc
{
public:
    explicit WindowDc(HWND hWnd) noexcept : m_hWnd(hWnd), m_hDc(GetDC(hWnd)) {}
    WindowDc(const WindowDc &) = delete;
    WindowDc &operator=(const WindowDc &) = delete;
    ~WindowDc()
    {
        if (m_hDc != nullptr) {
            ReleaseDC(m_hWnd, m_hDc);
        }
    }

    [[nodiscard]] HDC get() const noexcept
    {
        return m_hDc;
    }

private:
    const HWND m_hWnd;
    const HDC m_hDc;
};

} // namespace gdi

#endif
