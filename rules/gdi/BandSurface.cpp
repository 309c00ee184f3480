#include "rules/gdi/BandSurface.h"

namespace pellora
{

BandSurface::BandSurface(HDC hLike, int nWidth, int nHeight) : m_nWidth(nWidth), m_dc(hLike)
{
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = nWidth;
    info.bmiHeader.biHeight = -nHeight; // top-down
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

} // namespace pellora
