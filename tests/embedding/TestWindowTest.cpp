// The plain window that shows whether embedding works at all in a host.

#include "tests/embedding/EmbeddingFixture.h"

namespace embedding
{

namespace
{

using TestWindowTest = EmbeddingFixture;

HWND testWindowIn(HWND hHostWnd)
{
    return FindWindowExW(hHostWnd, nullptr, L"ChildWindowClass", nullptr);
}

TEST_F(TestWindowTest, IsPinkAndHasNoFrame)
{
    PELLORA_CreateWindow2(host());

    const HWND hWnd = testWindowIn(host());
    ASSERT_NE(hWnd, nullptr);
    SetWindowPos(hWnd, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    for (const POINT place : {POINT{101, 101}, POINT{300, 300}, POINT{638, 478}}) {
        EXPECT_TRUE(shows(place.x, place.y, RGB(226, 160, 160))) << place.x << ", " << place.y;
    }
    EXPECT_TRUE(shows(99, 300, kHostColour));
}

TEST_F(TestWindowTest, HasTheStylesThatItWasAskedFor)
{
    PELLORA_CreateWindow2(host());

    const HWND hWnd = testWindowIn(host());
    constexpr DWORD kAsked = WS_POPUP | WS_CHILD | WS_VISIBLE;
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongW(hWnd, GWL_STYLE)) & kAsked, kAsked);
    EXPECT_EQ(GetWindowTextLengthW(hWnd), 0);
    EXPECT_EQ(GetClassLongPtrW(hWnd, GCL_STYLE), static_cast<ULONG_PTR>(CS_HREDRAW | CS_VREDRAW));
    EXPECT_EQ(GetClassLongPtrW(hWnd, GCLP_HCURSOR), reinterpret_cast<ULONG_PTR>(LoadCursorW(nullptr, IDC_ARROW)));
    EXPECT_EQ(GetClassLongPtrW(hWnd, GCLP_HICON), 0U);
    EXPECT_EQ(GetClassLongPtrW(hWnd, GCLP_MENUNAME), 0U);
}

TEST_F(TestWindowTest, MakesTheNextPageClipAtTheNextPaint)
{
    PELLORA_CreateWindow2(host());
    PageWindow page(host(), kD3dWindow);
    SetWindowLongW(page.handle(), GWL_STYLE, GetWindowLongW(page.handle(), GWL_STYLE) & ~WS_CLIPSIBLINGS);
    SendMessageW(host(), WM_USER, 0, 0);
    EXPECT_EQ(GetWindowLongW(page.handle(), GWL_STYLE) & WS_CLIPSIBLINGS, 0);

    paintHost();

    EXPECT_NE(GetWindowLongW(page.handle(), GWL_STYLE) & WS_CLIPSIBLINGS, 0);
    EXPECT_EQ(GetAncestor(testWindowIn(host()), GA_PARENT), host());
}

} // namespace

} // namespace embedding
