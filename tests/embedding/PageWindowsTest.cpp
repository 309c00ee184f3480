// Video windows among the child windows of a Chromium shell, which come, go and are replaced as they like.

#include "tests/embedding/EmbeddingFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace embedding
{

namespace
{

using Place = std::vector<long>;

class PageWindowsTest : public EmbeddingFixture
{
protected:
    /** As the registry goes through them. */
    static std::vector<QWidget *> inOrderOfAddress()
    {
        std::vector<QWidget *> windows = videoWindows();
        std::sort(windows.begin(), windows.end(), std::less<>());
        return windows;
    }
    void expectStackedAsRenderWidget(HWND hPage, const Place &place) const
    {
        EXPECT_TRUE(isSeeThrough(hPage));
        EXPECT_EQ(GetWindow(video(), GW_HWNDNEXT), hPage);
        EXPECT_EQ(placeOf(hPage), place);
        EXPECT_TRUE(IsWindowVisible(hPage));
    }
};

// ---- what each mode does to the page ----

TEST_F(PageWindowsTest, GivesTheRenderWidgetExactlyTheTwoStylesAndNoOther)
{
    PageWindow page(host(), kRenderWidget, 7, 9, 50, 60);
    const LONG nStyle = GetWindowLongW(page.handle(), GWL_STYLE);
    SetWindowLongW(page.handle(), GWL_EXSTYLE, WS_EX_ACCEPTFILES | WS_EX_NOPARENTNOTIFY | WS_EX_CONTROLPARENT);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);

    paintHost();

    EXPECT_EQ(GetWindowLongW(page.handle(), GWL_EXSTYLE), 0x80020);
    EXPECT_EQ(GetWindowLongW(page.handle(), GWL_STYLE), nStyle);
}

TEST_F(PageWindowsTest, GivesTheRenderWidgetTheVideosSizeInTheCornerNotItsPlace)
{
    PageWindow page(host(), kRenderWidget, 7, 9, 50, 60);
    const long lHandle = makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    paintHost();
    expectStackedAsRenderWidget(page.handle(), {0, 0, 300, 200});

    PELLORA_SetGeometry(lHandle, 40, 0, 120, 333);
    EXPECT_EQ(placeOf(page.handle()), (Place{0, 0, 300, 200}));
    askForLimits();

    expectStackedAsRenderWidget(page.handle(), {0, 0, 120, 333});
    EXPECT_EQ(placeOf(video()), (Place{40, 0, 120, 333}));
}

TEST_F(PageWindowsTest, PutsAChangedRenderWidgetRightWithTheNextPaintOrQuestionForLimits)
{
    PageWindow page(host(), kRenderWidget);
    PageWindow other(host(), L"PelloraOtherChild");
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    const auto disturb = [&] {
        SetWindowLongW(page.handle(), GWL_EXSTYLE, 0);
        SetWindowPos(page.handle(), HWND_TOP, 3, 4, 500, 400, SWP_HIDEWINDOW);
    };
    disturb();
    paintHost();
    expectStackedAsRenderWidget(page.handle(), {0, 0, 300, 200});

    disturb();
    askForLimits();
    expectStackedAsRenderWidget(page.handle(), {0, 0, 300, 200});

    SetLayeredWindowAttributes(page.handle(), 0, 200, LWA_ALPHA);
    paintHost();
    EXPECT_TRUE(isSeeThrough(page.handle()));
}

TEST_F(PageWindowsTest, MovesNeitherTheVideoNorTheD3dWindowInTheOtherMode)
{
    PageWindow page(host(), kD3dWindow, 7, 9, 400, 300);
    PageWindow other(host(), L"PelloraOtherChild", 0, 0, 640, 480);
    makeVideo(kD3dMode, 10, 20, 300, 200);
    SetWindowPos(video(), HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    SetWindowPos(page.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    const LONG nStyle = GetWindowLongW(page.handle(), GWL_EXSTYLE);

    paintHost();

    EXPECT_THAT(support::childrenOf(host()), ElementsAre(page.handle(), video(), other.handle()));
    EXPECT_EQ(placeOf(page.handle()), (Place{7, 9, 400, 300}));
    EXPECT_EQ(placeOf(video()), (Place{10, 20, 300, 200}));
    EXPECT_EQ(GetWindowLongW(page.handle(), GWL_EXSTYLE), nStyle);
}

TEST_F(PageWindowsTest, LooksForEachModesOwnClassAlone)
{
    PageWindow widget(host(), kRenderWidget, 7, 9, 50, 60);
    makeVideo(kD3dMode, 10, 20, 300, 200);
    const LONG nStyle = GetWindowLongW(widget.handle(), GWL_EXSTYLE);
    m_log.clear();
    paintHost();
    EXPECT_EQ(GetWindowLongW(widget.handle(), GWL_EXSTYLE), nStyle);
    EXPECT_THAT(m_log.texts(), ElementsAre(StartsWith("ERROR hwndIntermediateD3DWindow is null, ")));
    PELLORA_DestroyWindow(0);
    support::pumpPosted();

    PageWindow d3d(host(), kD3dWindow, 7, 9, 50, 60);
    widget.destroy();
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    m_log.clear();
    paintHost();
    EXPECT_EQ(placeOf(d3d.handle()), (Place{7, 9, 50, 60}));
    EXPECT_THAT(m_log.texts(), ElementsAre(StartsWith("ERROR hwndChromeLegacyWindow is null, ")));
}

TEST_F(PageWindowsTest, LooksAtTheHostsOwnChildrenAndNoDeeper)
{
    PageWindow container(host(), L"PelloraOtherChild", 0, 0, 400, 300);
    PageWindow inner(container.handle(), kRenderWidget, 7, 9, 50, 60);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    m_log.clear();

    paintHost();

    EXPECT_FALSE(isSeeThrough(inner.handle()));
    EXPECT_THAT(m_log.texts(), ElementsAre(StartsWith("ERROR hwndChromeLegacyWindow is null, ")));
}

TEST_F(PageWindowsTest, FindsPagesWhateverTheirTitle)
{
    PageWindow page(host(), kRenderWidget);
    SetWindowTextW(page.handle(), L"Chrome Legacy Window");
    makeVideo(kRenderWidgetMode, 0, 0, 300, 200);

    paintHost();

    EXPECT_TRUE(isSeeThrough(page.handle()));
}

/** What a window is asked for while it lives: each WINDOWPOS before anything is made of it. */
class MovesAsked
{
public:
    explicit MovesAsked(HWND hWnd) : m_hWnd(hWnd)
    {
        s_moves.clear();
        s_nBefore = SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&MovesAsked::procedure));
    }
    ~MovesAsked()
    {
        SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, s_nBefore);
    }
    MovesAsked(const MovesAsked &) = delete;
    MovesAsked &operator=(const MovesAsked &) = delete;

    [[nodiscard]] static const std::vector<WINDOWPOS> &get()
    {
        return s_moves;
    }

private:
    static LRESULT CALLBACK procedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
    {
        if (nMessage == WM_WINDOWPOSCHANGING) {
            s_moves.push_back(*reinterpret_cast<const WINDOWPOS *>(lParam));
        }
        return CallWindowProcW(reinterpret_cast<WNDPROC>(s_nBefore), hWnd, nMessage, wParam, lParam);
    }

    inline static std::vector<WINDOWPOS> s_moves;
    inline static LONG_PTR s_nBefore = 0;
    const HWND m_hWnd;
};

TEST_F(PageWindowsTest, AsksForExactlyOneMoveOfTheRenderWidgetForEachVideo)
{
    PageWindow page(host(), kRenderWidget);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    const MovesAsked moves(page.handle());

    paintHost();

    ASSERT_EQ(MovesAsked::get().size(), 1U);
    const WINDOWPOS asked = MovesAsked::get().front();
    EXPECT_EQ(asked.hwndInsertAfter, video());
    EXPECT_THAT((Place{asked.x, asked.y, asked.cx, asked.cy}), ElementsAre(0, 0, 300, 200));
    EXPECT_EQ(asked.flags, 0x40U);
    makeVideo(kRenderWidgetMode, 0, 0, 100, 100);
    const std::size_t nBefore = MovesAsked::get().size();
    askForLimits();
    EXPECT_EQ(MovesAsked::get().size(), nBefore + 2);
}

TEST_F(PageWindowsTest, AsksForExactlyOneMoveOfEachVideoBehindTheD3dWindow)
{
    PageWindow page(host(), kD3dWindow);
    makeVideo(kD3dMode, 10, 20, 300, 200);
    const MovesAsked moves(video());

    paintHost();

    ASSERT_EQ(MovesAsked::get().size(), 1U);
    const WINDOWPOS asked = MovesAsked::get().front();
    EXPECT_EQ(asked.hwndInsertAfter, page.handle());
    EXPECT_THAT((Place{asked.x, asked.y, asked.cx, asked.cy}), ElementsAre(0, 0, 300, 200));
    EXPECT_EQ(asked.flags, 0x43U);
}

// ---- what the screen shows ----

TEST_F(PageWindowsTest, ShowsTheVideoAboveTheRenderWidget)
{
    PageWindow page(host(), kRenderWidget, 0, 0, 640, 480);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    SetWindowPos(page.handle(), HWND_TOP, 0, 0, 640, 480, 0);

    InvalidateRect(host(), nullptr, TRUE);

    EXPECT_TRUE(shows(150, 100, kPaneColour));
    EXPECT_TRUE(shows(301, 215, kPaneColour));
    // The page has become as small as the video, in the corner.
    EXPECT_TRUE(shows(500, 400, kHostColour));
}

TEST_F(PageWindowsTest, LetsTheMousePassThroughTheRenderWidgetAndOnlyThere)
{
    PageWindow page(host(), kRenderWidget);
    makeVideo(kRenderWidgetMode, 320, 0, 300, 200);
    paintHost();
    ASSERT_EQ(placeOf(page.handle()), (Place{0, 0, 300, 200}));
    const int nBefore = m_pHost->received(WM_LBUTTONDOWN);

    click(onScreen(host(), 100, 100));
    EXPECT_TRUE(support::pumpUntil([&] { return m_pHost->received(WM_LBUTTONDOWN) == nBefore + 1; }));
    click(onScreen(host(), 400, 100));
    EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == video(); }));

    EXPECT_EQ(m_pHost->received(WM_LBUTTONDOWN), nBefore + 1);
    EXPECT_EQ(page.received(WM_LBUTTONDOWN), 0);
}

TEST_F(PageWindowsTest, ShowsTheD3dWindowAboveTheVideo)
{
    PageWindow page(host(), kD3dWindow, 0, 0, 160, 480);
    makeVideo(kD3dMode, 10, 20, 300, 200);

    InvalidateRect(host(), nullptr, TRUE);

    EXPECT_TRUE(shows(100, 100, PageWindow::kColour));
    EXPECT_TRUE(shows(200, 100, kPaneColour));
}

TEST_F(PageWindowsTest, LeavesThePageWhereItLiesInOtherModes)
{
    PageWindow page(host(), kRenderWidget, 0, 0, 100, 480);
    PageWindow d3d(host(), kD3dWindow, 100, 0, 100, 480);
    makeVideo(kPlainMode, 10, 20, 300, 200);
    SetWindowPos(page.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);

    InvalidateRect(host(), nullptr, TRUE);

    EXPECT_TRUE(shows(50, 100, PageWindow::kColour));
    EXPECT_TRUE(shows(150, 100, kPaneColour));
    EXPECT_TRUE(shows(50, 400, PageWindow::kColour));
}

// ---- several video windows, several pages ----

TEST_F(PageWindowsTest, PutsTheRenderWidgetBehindTheLastOfSeveralVideos)
{
    PageWindow page(host(), kRenderWidget);
    for (int i = 0; i < 4; ++i) {
        makeVideo(kRenderWidgetMode, 10 * i, 0, 100 + 10 * i, 200 + 10 * i);
    }

    paintHost();

    QWidget *const pLast = inOrderOfAddress().back();
    EXPECT_EQ(GetWindow(nativeWindow(pLast), GW_HWNDNEXT), page.handle());
    EXPECT_EQ(placeOf(page.handle()), (Place{0, 0, pLast->width(), pLast->height()}));
}

TEST_F(PageWindowsTest, PutsEachOfSeveralVideosDirectlyBehindTheD3dWindowInTurn)
{
    PageWindow page(host(), kD3dWindow);
    for (int i = 0; i < 4; ++i) {
        makeVideo(kD3dMode, 10 * i, 0, 100, 200);
    }

    paintHost();

    std::vector<HWND> expected = {page.handle()};
    std::vector<QWidget *> windows = inOrderOfAddress();
    std::reverse(windows.begin(), windows.end());
    for (QWidget *pWindow : windows) {
        expected.push_back(nativeWindow(pWindow));
    }
    EXPECT_EQ(support::childrenOf(host()), expected);
}

TEST_F(PageWindowsTest, StacksTheFirstOfSeveralPagesAlone)
{
    PageWindow first(host(), kRenderWidget, 1, 1, 30, 30);
    PageWindow second(host(), kRenderWidget, 2, 2, 40, 40);
    SetWindowPos(first.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);

    paintHost();

    EXPECT_TRUE(isSeeThrough(first.handle()));
    EXPECT_FALSE(isSeeThrough(second.handle()));
    EXPECT_EQ(placeOf(second.handle()), (Place{2, 2, 40, 40}));
}

TEST_F(PageWindowsTest, KeepsTheModeOfAHostsFirstVideoForLaterOnes)
{
    PageWindow widget(host(), kRenderWidget);
    makeVideo(kPlainMode, 10, 20, 300, 200);
    makeVideo(kRenderWidgetMode, 0, 0, 100, 100);
    paintHost();
    EXPECT_FALSE(isSeeThrough(widget.handle()));
    PELLORA_DestroyWindow(0);
    paintHost();
    EXPECT_FALSE(isSeeThrough(widget.handle()));
    PELLORA_DestroyWindow(1);
    support::pumpPosted();

    makeVideo(kRenderWidgetMode, 0, 0, 100, 100);
    makeVideo(kPlainMode, 0, 0, 100, 100);
    paintHost();
    EXPECT_TRUE(isSeeThrough(widget.handle()));
}

TEST_F(PageWindowsTest, KeepsTheModesOfSeveralHostsApart)
{
    support::HostWindow second;
    support::HostWindow third;
    PageWindow firstPage(host(), kRenderWidget);
    PageWindow secondPage(second.handle(), kRenderWidget);
    PageWindow secondD3d(second.handle(), kD3dWindow);
    PageWindow thirdPage(third.handle(), kRenderWidget);
    PELLORA_CreateWindow(host(), kRenderWidgetMode);
    PELLORA_CreateWindow(second.handle(), kD3dMode);
    PELLORA_CreateWindow(third.handle(), kPlainMode);
    const HWND hSecondVideo = videoIn(second.handle());

    for (HWND hWnd : {host(), second.handle(), third.handle()}) {
        SendMessageW(hWnd, WM_PAINT, 0, 0);
    }

    EXPECT_TRUE(isSeeThrough(firstPage.handle()));
    EXPECT_FALSE(isSeeThrough(secondPage.handle()));
    EXPECT_FALSE(isSeeThrough(thirdPage.handle()));
    EXPECT_EQ(GetWindow(secondD3d.handle(), GW_HWNDNEXT), hSecondVideo);
    for (long lHandle = 0; lHandle < 3; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
    }
}

TEST_F(PageWindowsTest, LeavesDeadVideosOutOfTheStacking)
{
    support::HostWindow second;
    PageWindow page(host(), kRenderWidget);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    PELLORA_CreateWindow(second.handle(), kRenderWidgetMode);
    second.destroy();
    m_log.clear();

    paintHost();

    expectStackedAsRenderWidget(page.handle(), {0, 0, 300, 200});
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(PageWindowsTest, BringsNoPaintAboutThatBringsAnotherOneAbout)
{
    // The render widget takes one size after the other at each paint, and the two videos change places.
    PageWindow widget(host(), kRenderWidget);
    PageWindow d3d(host(), kD3dWindow);
    for (const unsigned char embedMode : {kRenderWidgetMode, kD3dMode}) {
        makeVideo(embedMode, 320, 0, 300, 100);
        makeVideo(embedMode, 320, 60, 100, 300);
        support::pumpPosted();
        const int nBefore = m_pHost->received(WM_PAINT);

        InvalidateRect(host(), nullptr, TRUE);
        support::pumpPosted();
        support::pumpPosted();

        EXPECT_EQ(m_pHost->received(WM_PAINT), nBefore + 1);
        EXPECT_FALSE(GetUpdateRect(host(), nullptr, FALSE));
        PELLORA_DestroyWindow(0);
        PELLORA_DestroyWindow(1);
        support::pumpPosted();
    }
}

/** Lets a test take a widget's native window away. */
class NativeWindowAway : public QWidget
{
public:
    static void take(QWidget *pWidget)
    {
        (pWidget->*(&NativeWindowAway::destroy))(true, true);
    }
};

TEST_F(PageWindowsTest, LogsAVideoWithoutANativeWindowAndStacksTheOthers)
{
    for (const unsigned char embedMode : {kRenderWidgetMode, kD3dMode}) {
        support::HostWindow second;
        PageWindow page(second.handle(), embedMode == kRenderWidgetMode ? kRenderWidget : kD3dWindow);
        const long lLost = PELLORA_CreateWindow(second.handle(), embedMode);
        NativeWindowAway::take(videoWindows().front());
        const long lHandle = PELLORA_CreateWindow(second.handle(), embedMode);
        const HWND hVideo = videoIn(second.handle());
        m_log.clear();

        SendMessageW(second.handle(), WM_PAINT, 0, 0);
        SendMessageW(second.handle(), WM_PAINT, 0, 0);

        EXPECT_THAT(m_log.texts(), ElementsAre("ERROR hwndQtWindow is null", "ERROR hwndQtWindow is null"));
        EXPECT_EQ(m_log.first().file, "VideoWindow\\VideoWindowMgr");
        EXPECT_EQ(m_log.first().function, "__int64 __cdecl pellora::NewWindowProc(struct HWND__ *,unsigned int,"
                                          "unsigned __int64,__int64)");
        EXPECT_EQ(GetWindow(page.handle(), embedMode == kRenderWidgetMode ? GW_HWNDPREV : GW_HWNDNEXT), hVideo);
        tagPELLORA_CLIP_AREA area = {};
        EXPECT_EQ(PELLORA_SetClipArea(lLost, &area), 0);
        EXPECT_EQ(PELLORA_SetClipArea(lHandle, &area), 1);
        PELLORA_DestroyWindow(lHandle);
        PELLORA_DestroyWindow(lLost);
        support::pumpPosted();
    }
}

// ---- pages that come, go and come again ----

TEST_F(PageWindowsTest, TakesAPageThatAppearsLate)
{
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    paintHost();
    EXPECT_THAT(m_log.texts(), Contains(StartsWith("ERROR hwndChromeLegacyWindow is null, ")));
    m_log.clear();

    PageWindow page(host(), kRenderWidget);
    paintHost();

    expectStackedAsRenderWidget(page.handle(), {0, 0, 300, 200});
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(PageWindowsTest, TakesTheNextPageWhenOneIsReplaced)
{
    std::optional<PageWindow> page;
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    for (int i = 0; i < 20; ++i) {
        page.emplace(host(), kRenderWidget);
        paintHost();
        expectStackedAsRenderWidget(page->handle(), {0, 0, 300, 200});
        // The new one is there before the old one goes.
        PageWindow next(host(), kRenderWidget);
        page.reset();
        askForLimits();
        expectStackedAsRenderWidget(next.handle(), {0, 0, 300, 200});
    }
}

TEST_F(PageWindowsTest, TakesTheNextD3dWindowWhenOneIsReplaced)
{
    makeVideo(kD3dMode, 10, 20, 300, 200);
    for (int i = 0; i < 20; ++i) {
        PageWindow page(host(), kD3dWindow);
        SetWindowPos(page.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        PageWindow other(host(), L"PelloraOtherChild");
        SetWindowPos(other.handle(), page.handle(), 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        paintHost();
        EXPECT_EQ(GetWindow(page.handle(), GW_HWNDNEXT), video());
    }
}

/** Ways for a renderer to go, in both modes. */
struct RendererEnd {
    const char *pName;
    unsigned char embedMode;
    bool bKilled;
};

void PrintTo(const RendererEnd &end, std::ostream *pStream)
{
    *pStream << end.pName;
}

class RendererTest : public EmbeddingFixture, public testing::WithParamInterface<RendererEnd>
{
protected:
    [[nodiscard]] bool isStacked(HWND hPage) const
    {
        return GetParam().embedMode == kRenderWidgetMode
                   ? isSeeThrough(hPage) && GetWindow(video(), GW_HWNDNEXT) == hPage
                   : GetWindow(hPage, GW_HWNDNEXT) == video();
    }
};

TEST_P(RendererTest, IsFollowedByItsSuccessorWhileTheHostGoesOnPainting)
{
    const wchar_t *const pClass = GetParam().embedMode == kRenderWidgetMode ? kRenderWidget : kD3dWindow;
    const long lHandle = makeVideo(GetParam().embedMode, 10, 20, 300, 200);
    playFile(lHandle);
    for (int i = 0; i < 10; ++i) {
        RendererThread renderer(host(), pClass);
        ASSERT_TRUE(support::pumpUntil([&] {
            InvalidateRect(host(), nullptr, FALSE);
            return renderer.page() != nullptr && isStacked(renderer.page());
        }));
        // Another one comes while the first one goes.
        RendererThread next(host(), pClass);
        if (GetParam().bKilled) {
            renderer.kill();
        } else {
            renderer.quit();
        }
        ASSERT_TRUE(support::pumpUntil([&] {
            InvalidateRect(host(), nullptr, FALSE);
            return renderer.hasEnded() && next.page() != nullptr && isStacked(next.page());
        }));
        // IsWindow would not do: what Wine 8 keeps of a killed thread's window still answers it.
        EXPECT_EQ(FindWindowExW(host(), nullptr, pClass, nullptr), next.page());
        EXPECT_EQ(FindWindowExW(host(), next.page(), pClass, nullptr), nullptr);
    }
    EXPECT_EQ(placeOf(video()), (Place{10, 20, 300, 200}));
    EXPECT_TRUE(IsWindowVisible(video()));
    EXPECT_EQ(doubles::openPorts().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Ends, RendererTest,
                         testing::Values(RendererEnd{"RenderWidgetDestroyed", 0, false},
                                         RendererEnd{"RenderWidgetKilled", 0, true},
                                         RendererEnd{"D3dWindowDestroyed", 1, false},
                                         RendererEnd{"D3dWindowKilled", 1, true}),
                         [](const auto &row) { return row.param.pName; });

TEST_F(PageWindowsTest, SurvivesAPageThatGoesWhileItIsStacked)
{
    PageWindow page(host(), kRenderWidget);
    makeVideo(kRenderWidgetMode, 10, 20, 300, 200);
    makeVideo(kRenderWidgetMode, 50, 20, 200, 100);
    // The page's own procedure is called in the middle, when it is moved.
    static LONG_PTR s_nBefore = 0;
    s_nBefore = SetWindowLongPtrW(
        page.handle(), GWLP_WNDPROC,
        reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>([](HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam) {
            if (nMessage == WM_WINDOWPOSCHANGED) {
                DestroyWindow(hWnd);
                return LRESULT{0};
            }
            return CallWindowProcW(reinterpret_cast<WNDPROC>(s_nBefore), hWnd, nMessage, wParam, lParam);
        })));

    paintHost();

    EXPECT_EQ(page.handle(), nullptr);
    EXPECT_TRUE(IsWindowVisible(video()));
}

TEST_F(PageWindowsTest, SurvivesVideosThatAreDestroyedWhileThePageIsStacked)
{
    PageWindow page(host(), kRenderWidget);
    for (int i = 0; i < 3; ++i) {
        makeVideo(kRenderWidgetMode, 10 * i, 20, 300 + i, 200);
    }
    static LONG_PTR s_nBefore = 0;
    s_nBefore = SetWindowLongPtrW(
        page.handle(), GWLP_WNDPROC,
        reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>([](HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam) {
            if (nMessage == WM_WINDOWPOSCHANGED) {
                for (long lHandle = 0; lHandle < 3; ++lHandle) {
                    PELLORA_DestroyWindow(lHandle);
                }
            }
            return CallWindowProcW(reinterpret_cast<WNDPROC>(s_nBefore), hWnd, nMessage, wParam, lParam);
        })));
    const int nPaints = m_pHost->received(WM_PAINT);

    paintHost();

    EXPECT_EQ(m_pHost->received(WM_PAINT), nPaints + 1);
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

} // namespace

} // namespace embedding
