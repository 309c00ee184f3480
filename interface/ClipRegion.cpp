#include "interface/ClipRegion.h"

#include "VideoWindow/HostMemory.h"

#include <algorithm>
#include <cstring>

namespace pellora
{

namespace
{

/** Owns a region of GDI's. */
class Region
{
public:
    explicit Region(HRGN hRegion) : m_hRegion(hRegion) {}
    ~Region()
    {
        DeleteObject(m_hRegion);
    }
    Region(const Region &) = delete;
    Region &operator=(const Region &) = delete;

    [[nodiscard]] HRGN get() const
    {
        return m_hRegion;
    }

private:
    HRGN m_hRegion;
};

/**
 * Copies an array element of the record, which may lie at any address; one beyond the array lies in what follows it in
 * the host's memory.
 */
template <typename Element>
Element elementAt(const tagPELLORA_CLIP_AREA *pArea, std::size_t nArrayOffset, std::size_t nIndex)
{
    Element element{};
    const auto *pArray = reinterpret_cast<const unsigned char *>(pArea) + nArrayOffset;
    std::memcpy(&element, pArray + nIndex * sizeof(element), sizeof(element));
    return element;
}

std::size_t countOf(const tagPELLORA_CLIP_AREA *pArea)
{
    return elementAt<unsigned short>(pArea, offsetof(tagPELLORA_CLIP_AREA, wNum), 0);
}

} // namespace

bool isReadable(const tagPELLORA_CLIP_AREA *pArea)
{
    // Not with the padding behind the last field: a host that lays the record out by hand may leave it out.
    constexpr std::size_t kRecord = offsetof(tagPELLORA_CLIP_AREA, wNum) + sizeof(tagPELLORA_CLIP_AREA::wNum);
    if (readableBytes(pArea, kRecord) < kRecord) {
        return false;
    }
    // From the fifth on each rectangle ends behind its radius.
    const std::size_t nNeeded = std::max(kRecord, countOf(pArea) * sizeof(tagPELLORA_RECT));
    return readableBytes(pArea, nNeeded) == nNeeded;
}

void clipWindow(HWND hWnd, int nWidth, int nHeight, const tagPELLORA_CLIP_AREA *pArea)
{
    const Region region(CreateRectRgn(0, 0, nWidth, nHeight));
    // Not limited to the record's four; docs/compatibility.md: clip-count.
    const std::size_t nCount = countOf(pArea);
    for (std::size_t i = 0; i < nCount; ++i) {
        const auto rect = elementAt<tagPELLORA_RECT>(pArea, offsetof(tagPELLORA_CLIP_AREA, struRect), i);
        const auto wRadius = elementAt<unsigned short>(pArea, offsetof(tagPELLORA_CLIP_AREA, wRadius), i);
        const Region part(CreateRoundRectRgn(rect.left, rect.top, rect.right, rect.bottom, wRadius, wRadius));
        CombineRgn(region.get(), region.get(), part.get(), RGN_DIFF);
    }
    // The system takes the region, which is deleted all the same; docs/compatibility.md: clip-region-deleted.
    SetWindowRgn(hWnd, region.get(), TRUE);
}

} // namespace pellora
