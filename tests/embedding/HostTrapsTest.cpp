// What a host trips over, and what stays as it is because hosts rely on it; the host guide warns of each.

#include "tests/embedding/EmbeddingFixture.h"

#include <QApplication>

namespace embedding
{

namespace
{

using HostTrapsTest = EmbeddingFixture;
using Place = std::vector<long>;

LONG_PTR procedureOf(HWND hWnd)
{
    return GetWindowLongPtrW(hWnd, GWLP_WNDPROC);
}

LONG_PTR setProcedure(HWND hWnd, LONG_PTR nProcedure)
{
    return SetWindowLongPtrW(hWnd, GWLP_WNDPROC, nProcedure);
}

template <typename Procedure>
LONG_PTR asNumber(Procedure procedure)
{
    return reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>(procedure));
}

// ---- a tenth window ----

TEST_F(HostTrapsTest, StacksATenthWindowThatHasNoHandle)
{
    PageWindow page(host(), kD3dWindow);
    for (int i = 0; i < 9; ++i) {
        makeVideo(kD3dMode, 0, 0, 50, 50);
    }
    EXPECT_EQ(makeVideo(kD3dMode, 0, 0, 50, 50), -1);
    const HWND hTenth = video(9);
    SetWindowPos(hTenth, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_HIDEWINDOW);
    SetWindowPos(page.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    PageWindow other(host(), L"PelloraOtherChild");
    SetWindowPos(other.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    for (long lHandle = 0; lHandle < 9; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
    }

    paintHost();

    EXPECT_EQ(GetWindow(page.handle(), GW_HWNDNEXT), hTenth);
    EXPECT_TRUE(IsWindowVisible(hTenth));
    m_pHost->destroy();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

// ---- messages that are swallowed ----

TEST_F(HostTrapsTest, AnswersNothingForAWindowThatItWasNeverPutInFrontOf)
{
    support::HostWindow other;
    const LONG_PTR nOwn = procedureOf(other.handle());
    makeVideo(kPlainMode, 0, 0, 300, 200);

    // Somebody copies procedures from window to window.
    setProcedure(other.handle(), procedureOf(host()));
    const int nBefore = other.received(WM_USER);
    EXPECT_EQ(SendMessageW(other.handle(), WM_USER, 1, 2), 0);
    EXPECT_EQ(SendMessageW(other.handle(), WM_GETTEXTLENGTH, 0, 0), 0);

    EXPECT_EQ(other.received(WM_USER), nBefore);
    setProcedure(other.handle(), nOwn);
    EXPECT_EQ(SendMessageW(other.handle(), WM_GETTEXTLENGTH, 0, 0), 4);
}

TEST_F(HostTrapsTest, SwallowsMessagesOfAHostThatKeepsTheProcedureAfterTheLastVideoHasGone)
{
    const LONG_PTR nOwn = procedureOf(host());
    makeVideo(kPlainMode, 0, 0, 300, 200);
    const LONG_PTR nSubclassed = procedureOf(host());
    PELLORA_DestroyWindow(0);
    EXPECT_EQ(procedureOf(host()), nOwn);

    setProcedure(host(), nSubclassed);
    const int nBefore = m_pHost->received(WM_USER);
    EXPECT_EQ(SendMessageW(host(), WM_USER, 1, 2), 0);

    EXPECT_EQ(m_pHost->received(WM_USER), nBefore);
    setProcedure(host(), nOwn);
}

LONG_PTR g_nBehind;
bool g_bPassing;

LRESULT CALLBACK sieve(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    return g_bPassing ? CallWindowProcW(reinterpret_cast<WNDPROC>(g_nBehind), hWnd, nMessage, wParam, lParam)
                      : DefWindowProcW(hWnd, nMessage, wParam, lParam);
}

TEST_F(HostTrapsTest, SwallowsMessagesOfAStrangerWhoPassedNoneWhenTheLastVideoWent)
{
    const LONG_PTR nOwn = procedureOf(host());
    makeVideo(kPlainMode, 0, 0, 300, 200);
    g_bPassing = false;
    g_nBehind = setProcedure(host(), asNumber(&sieve));

    PELLORA_DestroyWindow(0);
    // Not the library's to put back: somebody else's is in front.
    EXPECT_EQ(procedureOf(host()), asNumber(&sieve));
    g_bPassing = true;
    const int nBefore = m_pHost->received(WM_USER);
    EXPECT_EQ(SendMessageW(host(), WM_USER, 1, 2), 0);

    EXPECT_EQ(m_pHost->received(WM_USER), nBefore);
    setProcedure(host(), nOwn);
}

// ---- procedures that come and go around the library's ----

TEST_F(HostTrapsTest, StacksNothingWhileAStrangerPassesNoMessages)
{
    PageWindow page(host(), kRenderWidget);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    g_bPassing = false;
    g_nBehind = setProcedure(host(), asNumber(&sieve));
    SetWindowLongW(page.handle(), GWL_EXSTYLE, 0);

    paintHost();
    EXPECT_FALSE(isSeeThrough(page.handle()));

    g_bPassing = true;
    paintHost();
    EXPECT_TRUE(isSeeThrough(page.handle()));
    setProcedure(host(), g_nBehind);
}

TEST_F(HostTrapsTest, StacksAgainWithTheNextVideoAfterTheHostHasPutItsProcedureBack)
{
    PageWindow page(host(), kRenderWidget);
    const LONG_PTR nOwn = procedureOf(host());
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    setProcedure(host(), nOwn);
    paintHost();
    EXPECT_FALSE(isSeeThrough(page.handle()));

    makeVideo(kRenderWidgetMode, 0, 0, 100, 100);
    paintHost();

    EXPECT_TRUE(isSeeThrough(page.handle()));
    PELLORA_DestroyWindow(0);
    PELLORA_DestroyWindow(1);
    EXPECT_EQ(procedureOf(host()), nOwn);
}

TEST_F(HostTrapsTest, IsInFrontAgainWithTheNextVideoOfAStrangerWhoPassesNoMessages)
{
    PageWindow page(host(), kD3dWindow);
    const LONG_PTR nOwn = procedureOf(host());
    makeVideo(kD3dMode, 10, 20, 300, 200);
    g_bPassing = false;
    g_nBehind = setProcedure(host(), asNumber(&sieve));

    makeVideo(kD3dMode, 0, 0, 100, 100);

    EXPECT_NE(procedureOf(host()), asNumber(&sieve));
    SetWindowPos(page.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    SetWindowPos(video(), HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    paintHost();
    EXPECT_THAT(support::childrenOf(host()).front(), page.handle());
    PELLORA_DestroyWindow(0);
    PELLORA_DestroyWindow(1);
    EXPECT_EQ(procedureOf(host()), asNumber(&sieve));
    setProcedure(host(), nOwn);
}

// ---- the page's window ----

TEST_F(HostTrapsTest, ShowsAHiddenVideoAgainAtTheNextPaintInTheD3dMode)
{
    PageWindow page(host(), kD3dWindow);
    const long lHandle = makeVideo(kD3dMode, 0, 0, 300, 200);
    PELLORA_SetVisible(lHandle, 0);
    EXPECT_FALSE(IsWindowVisible(video()));

    paintHost();

    EXPECT_TRUE(IsWindowVisible(video()));
}

TEST_F(HostTrapsTest, KeepsAVideoHiddenInTheRenderWidgetMode)
{
    PageWindow page(host(), kRenderWidget);
    const long lHandle = makeVideo(kRenderWidgetMode, 0, 0, 300, 200);
    PELLORA_SetVisible(lHandle, 0);

    paintHost();

    EXPECT_FALSE(IsWindowVisible(video()));
    // But the page is the small see-through window that it is beside a video that shows.
    EXPECT_TRUE(isSeeThrough(page.handle()));
    EXPECT_EQ(placeOf(page.handle()), (Place{0, 0, 300, 200}));
}

TEST_F(HostTrapsTest, LeavesTheRenderWidgetAsItIsWhenTheLastVideoGoes)
{
    PageWindow page(host(), kRenderWidget, 0, 0, 640, 480);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    paintHost();

    PELLORA_DestroyWindow(0);
    support::pumpPosted();
    paintHost();

    EXPECT_TRUE(isSeeThrough(page.handle()));
    EXPECT_EQ(placeOf(page.handle()), (Place{0, 0, 300, 200}));
}

TEST_F(HostTrapsTest, ShowsAHiddenRenderWidgetAgainAtTheNextPaint)
{
    PageWindow page(host(), kRenderWidget);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    ShowWindow(page.handle(), SW_HIDE);

    paintHost();

    EXPECT_TRUE(IsWindowVisible(page.handle()));
}

// ---- a region that does not follow ----

TEST_F(HostTrapsTest, KeepsTheRegionOfTheSizeThatTheVideoHadThen)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 200, 100);
    tagPELLORA_CLIP_AREA area = {};
    PELLORA_SetClipArea(lHandle, &area);
    PELLORA_SetGeometry(lHandle, 0, 0, 400, 300);
    support::pumpPosted();
    ASSERT_TRUE(shows(100, 50, kPaneColour));

    // No hole was cut, and all the same only the old size shows.
    EXPECT_TRUE(shows(300, 200, kHostColour));
    EXPECT_TRUE(shows(100, 150, kHostColour));
    const int nClicks = m_pHost->received(WM_LBUTTONDOWN);
    click(onScreen(host(), 300, 200));
    EXPECT_TRUE(support::pumpUntil([&] { return m_pHost->received(WM_LBUTTONDOWN) == nClicks + 1; }));

    PELLORA_SetClipArea(lHandle, &area);
    EXPECT_TRUE(shows(300, 200, kPaneColour));
}

} // namespace

} // namespace embedding
