#include "player/src/win/MemoryImage.h"

namespace player
{

MemoryImage::~MemoryImage()
{
    free();
}

void MemoryImage::free()
{
    if (m_hBitmap) {
        SelectObject(m_hDc, m_hBefore);
        DeleteObject(m_hBitmap);
    }
    if (m_hDc) {
        DeleteDC(m_hDc);
    }
    m_hBitmap = nullptr;
    m_hDc = nullptr;
    m_image = {};
}

bool MemoryImage::resize(int width, int height)
{
    if (m_hBitmap && m_image.width == width && m_image.height == height) {
        return true;
    }
    free();
    m_hDc = CreateCompatibleDC(nullptr);
    if (!m_hDc) {
        return false;
    }
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // top-down
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void *pBits = nullptr;
    m_hBitmap = CreateDIBSection(m_hDc, &info, DIB_RGB_COLORS, &pBits, nullptr, 0);
    if (!m_hBitmap) {
        free();
        return false;
    }
    m_hBefore = SelectObject(m_hDc, m_hBitmap);
    m_image = {static_cast<std::uint8_t *>(pBits), width * 4, width, height};
    return true;
}

} // namespace player
