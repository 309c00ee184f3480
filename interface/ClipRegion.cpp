#include "interface/ClipRegion.h"

#include "VideoWindow/HostMemory.h"

#include <cstring>
#include <iterator>

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

/** Copies an array element of the record; one beyond the array lies in what follows it in the host's memory. */
template <typename Element>
Element elementAt(const tagPELLORA_CLIP_AREA &area, std::size_t nArrayOffset, std::size_t nIndex)
{
    Element element{};
    const auto *pArray = reinterpret_cast<const unsigned char *>(&area) + nArrayOffset;
    std::memcpy(&element, pArray + nIndex * sizeof(element), sizeof(element));
    return element;
}

/** The holes that can be read: all that the record claims, unless the host's memory ends before. */
std::size_t countHoles(const tagPELLORA_CLIP_AREA &area)
{
    constexpr std::size_t kHoleSize = sizeof(area.struRect[0]);
    if (area.wNum <= std::size(area.struRect)) {
        return area.wNum;
    }
    // From the fifth on each rectangle ends behind its radius.
    return readableBytes(&area, area.wNum * kHoleSize) / kHoleSize;
}

} // namespace

void clipWindow(HWND hWnd, int nWidth, int nHeight, const tagPELLORA_CLIP_AREA &area)
{
    const Region region(CreateRectRgn(0, 0, nWidth, nHeight));
    // Not limited to the record's four; docs/compatibility.md: clip-count.
    const std::size_t nHoles = countHoles(area);
    for (std::size_t i = 0; i < nHoles; ++i) {
        const auto rect = elementAt<tagPELLORA_RECT>(area, offsetof(tagPELLORA_CLIP_AREA, struRect), i);
        const auto wRadius = elementAt<unsigned short>(area, offsetof(tagPELLORA_CLIP_AREA, wRadius), i);
        const Region part(CreateRoundRectRgn(rect.left, rect.top, rect.right, rect.bottom, wRadius, wRadius));
        CombineRgn(region.get(), region.get(), part.get(), RGN_DIFF);
    }
    // The system takes the region, which is deleted all the same; docs/compatibility.md: clip-region-deleted.
    SetWindowRgn(hWnd, region.get(), TRUE);
}

} // namespace pellora
