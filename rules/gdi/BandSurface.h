#ifndef RULES_GDI_BANDSURFACE_H
#define RULES_GDI_BANDSURFACE_H

#include "rules/RuleInk.h"
#include "rules/gdi/GdiObjects.h"
#include "rules/gdi/MemoryDc.h"
#include "rules/gdi/Selection.h"

#include <optional>

namespace pellora
{

/**
 * A memory context with 32-bit pixels of its own, top-down.
 *
 * Threads: one at a time.
 * Owns:    the context and its bitmap.
 * Errors:  not ready when the system has no room.
 */
class BandSurface
{
public:
    BandSurface(HDC hLike, int nWidth, int nHeight);

    [[nodiscard]] bool isReady() const
    {
        return m_selection.has_value();
    }
    [[nodiscard]] HDC get() const
    {
        return m_dc.get();
    }
    /** GDI may still be drawing into them: GdiFlush() first. */
    [[nodiscard]] std::uint32_t *row(int nRow) const
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

} // namespace pellora

#endif
