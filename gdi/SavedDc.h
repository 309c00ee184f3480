#ifndef GDI_SAVEDDC_H
#define GDI_SAVEDDC_H

#include <windows.h>

namespace gdi
{

/** Puts everything about a context back when it goes: selected objects, colours, modes, the current position. */
class SavedDc
{
public:
    explicit SavedDc(HDC hDc) noexcept : m_hDc(hDc), m_nState(SaveDC(hDc)) {}
    SavedDc(const SavedDc &) = delete;
    SavedDc &operator=(const SavedDc &) = delete;
    ~SavedDc()
    {
        if (m_nState != 0) {
            RestoreDC(m_hDc, m_nState);
        }
    }

private:
    const HDC m_hDc;
    const int m_nState;
};

} // namespace gdi

#endif
