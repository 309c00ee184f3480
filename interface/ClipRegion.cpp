#include "interface/ClipRegion.h"

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

struct Hole {
    tagPELLORA_RECT rect;
    unsigned short wRadius;
};

/** False where the host's memory ends. */
bool readBytes(const void *pFrom, void *pTo, SIZE_T nSize)
{
    SIZE_T nRead = 0;
    return ReadProcessMemory(GetCurrentProcess(), pFrom, pTo, nSize, &nRead) != 0 && nRead == nSize;
}

/** A count beyond the record's four goes on reading behind them, as hosts may have laid it out, while it can. */
bool readHole(const tagPELLORA_CLIP_AREA &area, int nIndex, Hole &hole)
{
    if (nIndex < 4) {
        hole = {area.struRect[nIndex], area.wRadius[nIndex]};
        return true;
    }
    const auto *pRecord = reinterpret_cast<const unsigned char *>(&area);
    return readBytes(pRecord + nIndex * sizeof(hole.rect), &hole.rect, sizeof(hole.rect)) &&
           readBytes(pRecord + offsetof(tagPELLORA_CLIP_AREA, wRadius) + nIndex * sizeof(hole.wRadius), &hole.wRadius,
                     sizeof(hole.wRadius));
}

} // namespace

void clipWindow(HWND hWnd, int nWidth, int nHeight, const tagPELLORA_CLIP_AREA &area)
{
    const Region region(CreateRectRgn(0, 0, nWidth, nHeight));
    Hole hole{};
    for (int i = 0; i < area.wNum && readHole(area, i, hole); ++i) {
        const Region part(CreateRoundRectRgn(hole.rect.left, hole.rect.top, hole.rect.right, hole.rect.bottom,
                                             hole.wRadius, hole.wRadius));
        CombineRgn(region.get(), region.get(), part.get(), RGN_DIFF);
    }
    // The region is deleted afterwards although the system has taken it: hosts' sequence of calls, kept as it is.
    SetWindowRgn(hWnd, region.get(), TRUE);
}

} // namespace pellora
