#ifndef GDI_MEMORYDIB_H
#define GDI_MEMORYDIB_H

#include "gdi/GdiObjects.h"
#include "gdi/MemoryDc.h"
#include "gdi/Selection.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace gdi
{

/**
 * A memory context with 32-bit pixels of its own, the uppermost row first. They are 0 at first.
 *
 * Threads: one at a time.
 * Owns:    the context and its bitmap.
 * Errors:  not ready when the system has no room.
 */
class MemoryDib
{
public:
    MemoryDib(HDC hLike, int nWidth, int nHeight) : m_nWidth(nWidth), m_dc(hLike)
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = nWidth;
        info.bmiHeader.biHeight = -nHeight; // negative: the uppermost row comes first
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        info.bmiHeader.biCompression = BI_RGB;
        void *pPixels = nullptr;
        if (m_dc.get() != nullptr) {
            m_bitmap = Bitmap(CreateDIBSection(m_dc.get(), &info, DIB_RGB_COLORS, &pPixels, nullptr, 0));
        }
        if (m_bitmap.get() != nullptr) {
            m_pPixels = static_cast<std::uint32_t *>(pPixels);
            m_selection.emplace(m_dc.get(), m_bitmap.get());
        }
    }

    [[nodiscard]] bool isReady() const noexcept
    {
        return m_selection.has_value();
    }
    [[nodiscard]] HDC get() const noexcept
    {
        return m_dc.get();
    }
    /** GDI may still be drawing into them: GdiFlush() first. */
    [[nodiscard]] std::uint32_t *row(int nRow) const noexcept
    {
        return m_pPixels + static_cast<std::ptrdiff_t>(nRow) * m_nWidth;
    }

private:
    const int m_nWidth;
    const MemoryDc m_dc;
    Bitmap m_bitmap;
    std::uint32_t *m_pPixels = nullptr;
    std::optional<Selection> m_selection;
};

} // namespace gdi

#endif
