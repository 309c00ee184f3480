#ifndef GDI_SELECTION_H
#define GDI_SELECTION_H

#include <windows.h>

namespace gdi
{

/** An object selected into a context until the end of the scope; the one before comes back then. */
class Selection
{
public:
    Selection(HDC hDc, HGDIOBJ hObject) noexcept : m_hDc(hDc), m_hBefore(SelectObject(hDc, hObject)) {}
    Selection(const Selection &) = delete;
    Selection &operator=(const Selection &) = delete;
    ~Selection()
    {
        if (m_hBefore != nullptr) {
            SelectObject(m_hDc, m_hBefore);
        }
    }

private:
    const HDC m_hDc;
    const HGDIOBJ m_hBefore;
};

} // namespace gdi

#endif
