#include "rules/gdi/DibPixels.h"

#include <array>

namespace pellora
{

namespace
{

/** Nothing but the surface's own edges cuts what is drawn, and places are pixels of it. */
bool isWholeAndUnscaled(HDC hDc, const PixelRows &pixels)
{
    RECT clip = {};
    if (GetClipBox(hDc, &clip) != SIMPLEREGION || clip.left != 0 || clip.top != 0 || clip.right != pixels.size.width ||
        clip.bottom != pixels.size.height) {
        return false;
    }
    // Far apart, so that a slight scale, turn or shear shows.
    constexpr LONG kFar = 10000;
    std::array<POINT, 3> points = {{{0, 0}, {kFar, 0}, {0, kFar}}};
    return GetGraphicsMode(hDc) == GM_COMPATIBLE && GetMapMode(hDc) == MM_TEXT &&
           LPtoDP(hDc, points.data(), static_cast<int>(points.size())) != FALSE && points[0].x == 0 &&
           points[0].y == 0 && points[1].x == kFar && points[1].y == 0 && points[2].x == 0 && points[2].y == kFar;
}

bool drawsPlainly(HDC hDc)
{
    return GetROP2(hDc) == R2_COPYPEN && GetTextAlign(hDc) == (TA_LEFT | TA_TOP | TA_NOUPDATECP) &&
           GetTextCharacterExtra(hDc) == 0 && GetLayout(hDc) == 0;
}

bool isPlain32Bit(const DIBSECTION &dib)
{
    // The masks of BI_BITFIELDS may swap colours; nobody needs these here.
    return dib.dsBm.bmBits != nullptr && dib.dsBm.bmBitsPixel == 32 && dib.dsBmih.biCompression == BI_RGB &&
           dib.dsBm.bmWidth > 0 && dib.dsBm.bmHeight > 0 && dib.dsBm.bmWidth <= RuleLayer::kMaxExtent &&
           dib.dsBm.bmHeight <= RuleLayer::kMaxExtent;
}

COLORREF colorOf(std::uint32_t nPixel)
{
    return RGB((nPixel >> 16U) & 0xFFU, (nPixel >> 8U) & 0xFFU, nPixel & 0xFFU);
}

/**
 * The rows in order. Whether a bitmap is bottom-up cannot be asked: its header has lost the sign of its height. So its
 * first pixel in memory is changed for a moment, and looked for in the context's corner.
 */
std::optional<PixelRows> rowsOf(HDC hDc, const DIBSECTION &dib)
{
    const auto nWidth = static_cast<std::int32_t>(dib.dsBm.bmWidth);
    const auto nHeight = static_cast<std::int32_t>(dib.dsBm.bmHeight);
    auto *const pFirst = static_cast<std::uint32_t *>(dib.dsBm.bmBits);
    std::uint32_t *const pLastRow = pFirst + static_cast<std::ptrdiff_t>(nHeight - 1) * nWidth;
    GdiFlush();
    const std::uint32_t nBefore = *pFirst;
    const std::uint32_t nOther = *pLastRow;
    *pFirst = ~nOther;
    const COLORREF corner = GetPixel(hDc, 0, 0);
    *pFirst = nBefore;
    if (corner == colorOf(~nOther)) {
        return PixelRows{pFirst, nWidth, {nWidth, nHeight}};
    }
    if (corner == colorOf(nOther)) {
        return PixelRows{pLastRow, -static_cast<std::ptrdiff_t>(nWidth), {nWidth, nHeight}};
    }
    return std::nullopt;
}

} // namespace

std::optional<PixelRows> pixelsOf(HDC hDc)
{
    if (GetObjectType(hDc) != OBJ_MEMDC || !drawsPlainly(hDc)) {
        return std::nullopt;
    }
    DIBSECTION dib = {};
    const HGDIOBJ hBitmap = GetCurrentObject(hDc, OBJ_BITMAP);
    if (GetObjectW(hBitmap, sizeof(dib), &dib) != static_cast<int>(sizeof(dib)) || !isPlain32Bit(dib)) {
        return std::nullopt;
    }
    const std::optional<PixelRows> rows = rowsOf(hDc, dib);
    return rows && isWholeAndUnscaled(hDc, *rows) ? rows : std::nullopt;
}

} // namespace pellora
