#include "player/tests/win/TestWindow.h"

#include "player/src/win/Gdi.h"
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

std::optional<int> TestWindow::number() const
{
    RECT client{};
    GetClientRect(m_hWnd, &client);
    MemoryImage image;
    if (client.right == 0 || !image.resize(client.right, client.bottom)) {
        return std::nullopt;
    }
    const WindowDc window(m_hWnd);
    BitBlt(image.dc(), 0, 0, client.right, client.bottom, window.get(), 0, 0, SRCCOPY);
    GdiFlush();
    return testsupport::readBarCode(image.pixels().pPixels, image.pixels().stride, client.right, client.bottom);
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
