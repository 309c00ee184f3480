#include "tests/support/ScreenBytes.h"

namespace support
{

std::vector<std::uint8_t> screenBytes(const RECT &part)
{
    const int nWidth = part.right - part.left;
    const int nHeight = part.bottom - part.top;
    std::vector<std::uint8_t> bytes(std::size_t{4} * nWidth * nHeight);
    const HDC hScreen = GetDC(nullptr);
    const HDC hMemory = CreateCompatibleDC(hScreen);
    const HBITMAP hBitmap = CreateCompatibleBitmap(hScreen, nWidth, nHeight);
    const HGDIOBJ hPrevious = SelectObject(hMemory, hBitmap);
    BitBlt(hMemory, 0, 0, nWidth, nHeight, hScreen, part.left, part.top, SRCCOPY);
    SelectObject(hMemory, hPrevious);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = nWidth;
    info.bmiHeader.biHeight = -nHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    GetDIBits(hMemory, hBitmap, 0, static_cast<UINT>(nHeight), bytes.data(), &info, DIB_RGB_COLORS);
    DeleteObject(hBitmap);
    DeleteDC(hMemory);
    ReleaseDC(nullptr, hScreen);
    return bytes;
}

} // namespace support
