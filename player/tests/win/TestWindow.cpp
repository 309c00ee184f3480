#include "player/tests/win/TestWindow.h"

#include "gdi/WindowDc.h"
#include "player/src/win/MemoryImage.h"
#include "tests/support/BarCode.h"

namespace player::test
{

namespace
{

const wchar_t *windowClass()
{
    static const wchar_t *const pName = [] {
        WNDCLASSW description{};
        description.lpfnWndProc = DefWindowProcW;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = L"PlayerTestWindow";
        RegisterClassW(&description);
        return L"PlayerTestWindow";
    }();
    return pName;
}

} // namespace

TestWindow::TestWindow(int width, int height, int left, int top)
    : m_hWnd(CreateWindowExW(0, windowClass(), L"", WS_POPUP | WS_VISIBLE, left, top, width, height, nullptr, nullptr,
                             GetModuleHandleW(nullptr), nullptr))
{
}

TestWindow::~TestWindow()
{
    destroy();
}

void TestWindow::destroy()
{
    if (m_hWnd) {
        DestroyWindow(m_hWnd);
        m_hWnd = nullptr;
    }
}

void TestWindow::resize(int width, int height)
{
    SetWindowPos(m_hWnd, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

bool TestWindow::copyTo(MemoryImage &image) const
{
    RECT client{};
    GetClientRect(m_hWnd, &client);
    if (client.right == 0 || !image.resize(client.right, client.bottom)) {
        return false;
    }
    const gdi::WindowDc window(m_hWnd);
    BitBlt(image.dc(), 0, 0, client.right, client.bottom, window.get(), 0, 0, SRCCOPY);
    GdiFlush();
    return true;
}

std::optional<int> TestWindow::number() const
{
    MemoryImage image;
    if (!copyTo(image)) {
        return std::nullopt;
    }
    const BgraImage &pixels = image.pixels();
    return testsupport::readBarCode(pixels.pPixels, pixels.stride, pixels.width, pixels.height);
}

std::vector<COLORREF> TestWindow::row(int top) const
{
    MemoryImage image;
    std::vector<COLORREF> pixels;
    if (copyTo(image)) {
        const std::uint8_t *pRow = image.pixels().pPixels + std::ptrdiff_t{top} * image.pixels().stride;
        for (int x = 0; x < image.pixels().width; ++x, pRow += 4) {
            pixels.push_back(RGB(pRow[2], pRow[1], pRow[0]));
        }
    }
    return pixels;
}

bool TestWindow::waitForNumber(int wanted) const
{
    return pumpUntil([&] { return number() == wanted; });
}

std::optional<int> TestWindow::waitForAnyNumber() const
{
    std::optional<int> found;
    static_cast<void>(pumpUntil([&] {
        found = number();
        return found.has_value();
    }));
    return found;
}

} // namespace player::test
