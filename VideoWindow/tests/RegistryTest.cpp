#include "interface/tests/PelloraFixture.h"

#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

LONG_PTR procedureOf(HWND hWnd)
{
    return GetWindowLongPtrW(hWnd, GWLP_WNDPROC);
}

class RegistryTest : public PelloraFixture
{
protected:
    /** Leaves the queue's own messages to others: only what the call itself sends arrives. */
    void paintHost()
    {
        SendMessageW(m_pHost->handle(), WM_PAINT, 0, 0);
    }

    [[nodiscard]] std::string hostInLog() const
    {
        char text[32];
        std::snprintf(text, sizeof(text), "%016llX", reinterpret_cast<unsigned long long>(m_pHost->handle()));
        return text;
    }
};

// ---- handles ----

TEST_F(RegistryTest, MakesAWindowThatFillsTheHostsClientArea)
{
    EXPECT_EQ(PELLORA_CreateWindow(m_pHost->handle(), 2), 0);

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_CreateWindow: hwnd: " + hostInLog()));
    const HWND hVideo = nativeWindow(videoWindows().front());
    EXPECT_EQ(GetParent(hVideo), m_pHost->handle());
    EXPECT_TRUE(IsWindowVisible(hVideo));
    RECT client = {};
    RECT video = {};
    GetClientRect(m_pHost->handle(), &client);
    GetClientRect(hVideo, &video);
    EXPECT_TRUE(EqualRect(&client, &video));
}

TEST_F(RegistryTest, HandsOutNineHandlesAndThenNone)
{
    for (long lHandle = 0; lHandle < 9; ++lHandle) {
        EXPECT_EQ(createWindow(), lHandle);
    }
    m_log.clear();

    EXPECT_EQ(createWindow(), -1);

    ASSERT_EQ(m_log.lines().size(), 3U);
    const support::LogLine full = m_log.lines()[1];
    EXPECT_EQ(full.level, "INFO");
    EXPECT_EQ(full.message, "the container of VideoWindow is full, the max count is: 9");
    EXPECT_EQ(full.file, "VideoWindow\\VideoWindowMgr");
    EXPECT_THAT(full.function, testing::HasSubstr("pellora::VideoWindowMgr::pushVideoWindow("));
    EXPECT_EQ(m_log.texts().back(), "WARN a video window in " + hostInLog() +
                                        " gets no handle: it is shown, and stays until its host window is destroyed");
    // The tenth window is shown all the same.
    ASSERT_EQ(videoWindows().size(), 10U);
    QWidget *pTenth = nullptr;
    for (QWidget *pWindow : videoWindows()) {
        EXPECT_TRUE(pWindow->isVisible());
        pTenth = pWindow;
    }
    EXPECT_NE(pTenth, nullptr);
    for (long lHandle = 0; lHandle < 9; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
    }
    // It keeps the host subclassed, and goes with it, since no handle reaches it.
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().size() == 1; }));
    m_pHost->destroy();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

TEST_F(RegistryTest, HandsTheLowestFreeHandleOutAgain)
{
    for (int i = 0; i < 6; ++i) {
        createWindow();
    }
    EXPECT_EQ(PELLORA_DestroyWindow(4), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(2), 1);

    EXPECT_EQ(createWindow(), 2);
    EXPECT_EQ(createWindow(), 4);
    EXPECT_EQ(createWindow(), 6);
}

TEST_F(RegistryTest, DestroysByHandle)
{
    createWindow();
    m_log.clear();

    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(3), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(9), 0);
    EXPECT_EQ(PELLORA_DestroyWindow(-1), 0);

    EXPECT_THAT(support::childrenOf(m_pHost->handle()), IsEmpty());
    EXPECT_THAT(m_log.first(),
                IsExportLine("PELLORA_DestroyWindow: lHandle: 0", "int __cdecl PELLORA_DestroyWindow(long)"));
    EXPECT_EQ(m_log.texts().size(), 5U);
}

// ---- windows that cannot be hosts ----

TEST_F(RegistryTest, TakesNoNullWindow)
{
    EXPECT_EQ(PELLORA_CreateWindow(nullptr, 0), -1);

    EXPECT_THAT(m_log.texts(), ElementsAre(StartsWith("INFO PELLORA_CreateWindow: "), StartsWith("ERROR ")));
    EXPECT_EQ(createWindow(), 0);
}

TEST_F(RegistryTest, TakesNoDeadWindow)
{
    support::HostWindow host;
    const HWND hDead = host.handle();
    host.destroy();

    EXPECT_EQ(PELLORA_CreateWindow(hDead, 0), -1);

    EXPECT_THAT(m_log.texts(), Contains(StartsWith("ERROR ")));
    EXPECT_THAT(videoWindows(), IsEmpty());
    EXPECT_EQ(createWindow(), 0);
}

TEST_F(RegistryTest, TakesNoWindowOfAnotherThread)
{
    HWND hForeign = nullptr;
    HANDLE hMade = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE hDone = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread owner([&] {
        support::HostWindow host;
        hForeign = host.handle();
        SetEvent(hMade);
        while (MsgWaitForMultipleObjects(1, &hDone, FALSE, 10000, QS_ALLINPUT) == WAIT_OBJECT_0 + 1) {
            support::pumpPosted();
        }
    });
    WaitForSingleObject(hMade, 10000);

    EXPECT_EQ(PELLORA_CreateWindow(hForeign, 0), -1);

    SetEvent(hDone);
    owner.join();
    CloseHandle(hMade);
    CloseHandle(hDone);
    EXPECT_THAT(m_log.texts(), Contains(StartsWith("ERROR ")));
    EXPECT_THAT(videoWindows(), IsEmpty());
}

TEST_F(RegistryTest, TakesNoWindowOfAnotherProcess)
{
    EXPECT_EQ(PELLORA_CreateWindow(GetDesktopWindow(), 0), -1);

    EXPECT_THAT(m_log.texts(), Contains(StartsWith("ERROR ")));
    EXPECT_THAT(videoWindows(), IsEmpty());
}

TEST_F(RegistryTest, MakesNoWindowOnAnotherThread)
{
    long lHandle = 7;

    std::thread([&] { lHandle = PELLORA_CreateWindow(m_pHost->handle(), 0); }).join();

    EXPECT_EQ(lHandle, -1);
    EXPECT_THAT(m_log.texts(), Contains(StartsWith("ERROR ")));
}

TEST_F(RegistryTest, DestroysAndMovesNothingOnAnotherThread)
{
    const long lHandle = createWindow();
    const QRect before = videoWindows().front()->geometry();
    int nResults = 0;
    tagPELLORA_CLIP_AREA area = {};
    m_log.clear();

    std::thread([&] {
        nResults += PELLORA_DestroyWindow(lHandle);
        nResults += PELLORA_SetVisible(lHandle, 0);
        nResults += PELLORA_SetGeometry(lHandle, 1, 2, 30, 40);
        nResults += PELLORA_SetClipArea(lHandle, &area);
        nResults += PELLORA_SplitScreen(lHandle, 4);
        nResults += PELLORA_FullScreen(lHandle);
        nResults += PELLORA_NormalScreen(lHandle);
        nResults += PELLORA_SetCurWnd(lHandle, 3);
    }).join();

    EXPECT_EQ(nResults, 0);
    ASSERT_EQ(videoWindows().size(), 1U);
    EXPECT_EQ(videoWindows().front()->geometry(), before);
    EXPECT_TRUE(videoWindows().front()->isVisible());
    std::size_t nErrors = 0;
    for (const support::LogLine &line : m_log.lines()) {
        nErrors += line.level == "ERROR" ? 1 : 0;
    }
    EXPECT_EQ(nErrors, 8U);
}

// ---- the host's window procedure ----

TEST_F(RegistryTest, PutsTheHostsProcedureBackWithItsLastWindow)
{
    const LONG_PTR own = procedureOf(m_pHost->handle());
    createWindow();
    const LONG_PTR subclassed = procedureOf(m_pHost->handle());
    EXPECT_NE(subclassed, own);
    createWindow();
    EXPECT_EQ(procedureOf(m_pHost->handle()), subclassed);

    PELLORA_DestroyWindow(0);
    EXPECT_EQ(procedureOf(m_pHost->handle()), subclassed);
    PELLORA_DestroyWindow(1);
    EXPECT_EQ(procedureOf(m_pHost->handle()), own);
}

TEST_F(RegistryTest, HandsEveryMessageOnToTheHost)
{
    createWindow();
    const int nBefore = m_pHost->received(WM_APP + 5);
    const int nPaints = m_pHost->received(WM_PAINT);

    SendMessageW(m_pHost->handle(), WM_APP + 5, 0, 0);
    paintHost();

    EXPECT_EQ(m_pHost->received(WM_APP + 5), nBefore + 1);
    EXPECT_EQ(m_pHost->received(WM_PAINT), nPaints + 1);
}

LONG_PTR g_before;
int g_nForeign;

LRESULT CALLBACK foreignProcedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    g_nForeign += message == WM_APP + 6 ? 1 : 0;
    return CallWindowProcW(reinterpret_cast<WNDPROC>(g_before), hWnd, message, wParam, lParam);
}

TEST_F(RegistryTest, LeavesASubclassOfSomebodyElseInPlaceAndGoesOnPassingMessages)
{
    g_nForeign = 0;
    createWindow();
    g_before = SetWindowLongPtrW(m_pHost->handle(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&foreignProcedure));

    PELLORA_DestroyWindow(0);

    EXPECT_EQ(procedureOf(m_pHost->handle()), reinterpret_cast<LONG_PTR>(&foreignProcedure));
    SendMessageW(m_pHost->handle(), WM_APP + 6, 0, 0);
    EXPECT_EQ(g_nForeign, 1);
    EXPECT_EQ(m_pHost->received(WM_APP + 6), 1);
}

TEST_F(RegistryTest, TakesAHostAgainThatSomebodyElseHadSubclassed)
{
    g_nForeign = 0;
    PELLORA_CreateWindow(m_pHost->handle(), 2);
    g_before = SetWindowLongPtrW(m_pHost->handle(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&foreignProcedure));
    PELLORA_DestroyWindow(0);

    EXPECT_EQ(PELLORA_CreateWindow(m_pHost->handle(), 2), 0);

    SendMessageW(m_pHost->handle(), WM_APP + 6, 0, 0);
    EXPECT_EQ(g_nForeign, 1);
    EXPECT_EQ(m_pHost->received(WM_APP + 6), 1);
    PELLORA_DestroyWindow(0);
    SendMessageW(m_pHost->handle(), WM_APP + 6, 0, 0);
    EXPECT_EQ(m_pHost->received(WM_APP + 6), 2);
}

// ---- hosts that go first ----

TEST_F(RegistryTest, AnswersZeroToEveryCallOnAWindowWhoseHostIsGone)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    m_pHost->destroy();
    support::pumpPosted();
    tagPELLORA_CLIP_AREA area = {};
    tagPELLORA_RECT region = {0, 0, 500, 500};
    std::string path = "b.mkv";

    newCalls();

    EXPECT_EQ(PELLORA_SetVisible(lHandle, 0), 0);
    EXPECT_EQ(PELLORA_SetVisible(lHandle, 1), 0);
    EXPECT_EQ(PELLORA_SetGeometry(lHandle, 0, 0, 100, 100), 0);
    EXPECT_EQ(PELLORA_SetClipArea(lHandle, &area), 0);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 9), 0);
    EXPECT_EQ(PELLORA_FullScreen(lHandle), 0);
    EXPECT_EQ(PELLORA_NormalScreen(lHandle), 0);
    EXPECT_EQ(PELLORA_SetCurWnd(lHandle, 5), 0);
    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 1, 1), 0);
    EXPECT_EQ(PELLORA_SetDisplayRegion(lHandle, &region, -1), 0);
    EXPECT_EQ(PELLORA_Play(lHandle), 0);
    EXPECT_EQ(PELLORA_StopPreviewFile(lHandle), 0);
    support::pumpPosted();
    EXPECT_THAT(newCalls(), IsEmpty());

    // The handle stays taken until the window is destroyed.
    support::HostWindow other;
    EXPECT_EQ(PELLORA_CreateWindow(other.handle(), 2), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);
    EXPECT_EQ(PELLORA_DestroyWindow(1), 1);
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(RegistryTest, HandsTheHandleOutAgainAfterADeadWindowWasDestroyed)
{
    createWindow();
    m_pHost->destroy();
    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);

    m_pHost = std::make_unique<support::HostWindow>();
    EXPECT_EQ(createWindow(), 0);
}

TEST_F(RegistryTest, PutsTheProcedureBackBeforeTheHostIsGone)
{
    // The host's procedure sees its own end, whatever was subclassed meanwhile.
    createWindow();
    createWindow();

    DestroyWindow(m_pHost->handle());

    EXPECT_EQ(m_pHost->received(WM_NCDESTROY), 1);
}

// ---- stacking against a browser's windows ----

const wchar_t *const kRenderWidget = L"Chrome_RenderWidgetHostHWND";
const wchar_t *const kD3dWindow = L"Intermediate D3D Window";
const char *const kNewWindowProc =
    "__int64 __cdecl pellora::NewWindowProc(struct HWND__ *,unsigned int,unsigned __int64,__int64)";

MATCHER_P(IsStackingError, beginning, "")
{
    return arg.level == "ERROR" && arg.message.rfind(beginning, 0) == 0 && arg.function == kNewWindowProc &&
           arg.file == "VideoWindow\\VideoWindowMgr";
}

class StackingTest : public RegistryTest
{
protected:
    void askHostForItsLimits()
    {
        MINMAXINFO limits = {};
        SendMessageW(m_pHost->handle(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    }
};

TEST_F(StackingTest, MakesTheRenderWidgetSeeThroughAndPutsItBehindTheVideo)
{
    const HWND hPage = m_pHost->addChild(kRenderWidget, 7, 9, 50, 60);
    const long lHandle = PELLORA_CreateWindow(m_pHost->handle(), 0);
    PELLORA_SetGeometry(lHandle, 10, 20, 300, 200);
    const HWND hVideo = nativeWindow(videoWindows().front());
    SetWindowPos(hPage, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_HIDEWINDOW);
    m_log.clear();

    paintHost();

    EXPECT_EQ(GetWindowLongW(hPage, GWL_EXSTYLE), WS_EX_LAYERED | WS_EX_TRANSPARENT);
    BYTE nAlpha = 0;
    DWORD nFlags = 0;
    EXPECT_TRUE(GetLayeredWindowAttributes(hPage, nullptr, &nAlpha, &nFlags));
    EXPECT_EQ(nAlpha, 1);
    EXPECT_EQ(nFlags, static_cast<DWORD>(LWA_ALPHA));
    EXPECT_EQ(GetWindow(hVideo, GW_HWNDNEXT), hPage);
    EXPECT_TRUE(IsWindowVisible(hPage));
    RECT page = {};
    GetWindowRect(hPage, &page);
    MapWindowPoints(nullptr, m_pHost->handle(), reinterpret_cast<POINT *>(&page), 2);
    EXPECT_THAT((std::vector<long>{page.left, page.top, page.right, page.bottom}), ElementsAre(0, 0, 300, 200));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(StackingTest, StacksTheRenderWidgetAlsoWhenTheHostIsAskedForItsLimits)
{
    const HWND hPage = m_pHost->addChild(kRenderWidget);
    PELLORA_CreateWindow(m_pHost->handle(), 0);
    SetWindowLongW(hPage, GWL_EXSTYLE, 0);

    askHostForItsLimits();

    EXPECT_EQ(GetWindowLongW(hPage, GWL_EXSTYLE), WS_EX_LAYERED | WS_EX_TRANSPARENT);
}

TEST_F(StackingTest, StacksNothingOnOtherMessages)
{
    const HWND hPage = m_pHost->addChild(kRenderWidget);
    PELLORA_CreateWindow(m_pHost->handle(), 0);
    SetWindowLongW(hPage, GWL_EXSTYLE, 0);

    SendMessageW(m_pHost->handle(), WM_APP, 0, 0);
    SendMessageW(m_pHost->handle(), WM_SETCURSOR, 0, 0);

    EXPECT_EQ(GetWindowLongW(hPage, GWL_EXSTYLE) & WS_EX_LAYERED, 0);
}

TEST_F(StackingTest, LogsAMissingRenderWidgetAtEveryPaint)
{
    PELLORA_CreateWindow(m_pHost->handle(), 0);
    const int nPaints = m_pHost->received(WM_PAINT);
    m_log.clear();

    paintHost();
    paintHost();

    EXPECT_THAT(m_log.lines(), ElementsAre(IsStackingError("hwndChromeLegacyWindow is null, "),
                                           IsStackingError("hwndChromeLegacyWindow is null, ")));
    EXPECT_EQ(m_pHost->received(WM_PAINT), nPaints + 2);
}

TEST_F(StackingTest, PutsTheVideoDirectlyBehindTheD3dWindow)
{
    const HWND hD3d = m_pHost->addChild(kD3dWindow, 7, 9, 50, 60);
    const long lHandle = PELLORA_CreateWindow(m_pHost->handle(), 1);
    PELLORA_SetGeometry(lHandle, 10, 20, 300, 200);
    const HWND hVideo = nativeWindow(videoWindows().front());
    SetWindowPos(hVideo, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    SetWindowPos(hD3d, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    const LONG nStyle = GetWindowLongW(hD3d, GWL_EXSTYLE);
    m_log.clear();

    paintHost();

    EXPECT_EQ(GetWindow(hD3d, GW_HWNDNEXT), hVideo);
    EXPECT_TRUE(IsWindowVisible(hVideo));
    RECT video = {};
    GetWindowRect(hVideo, &video);
    MapWindowPoints(nullptr, m_pHost->handle(), reinterpret_cast<POINT *>(&video), 2);
    EXPECT_THAT((std::vector<long>{video.left, video.top, video.right, video.bottom}), ElementsAre(10, 20, 310, 220));
    EXPECT_EQ(GetWindowLongW(hD3d, GWL_EXSTYLE), nStyle);
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(StackingTest, LogsAMissingD3dWindow)
{
    PELLORA_CreateWindow(m_pHost->handle(), 1);
    m_log.clear();

    paintHost();
    askHostForItsLimits();

    EXPECT_THAT(m_log.lines(), ElementsAre(IsStackingError("hwndIntermediateD3DWindow is null, "),
                                           IsStackingError("hwndIntermediateD3DWindow is null, ")));
}

TEST_F(StackingTest, LeavesTheBrowsersWindowsAloneInOtherModes)
{
    const HWND hPage = m_pHost->addChild(kRenderWidget);
    const HWND hD3d = m_pHost->addChild(kD3dWindow);
    const LONG nPage = GetWindowLongW(hPage, GWL_EXSTYLE);
    PELLORA_CreateWindow(m_pHost->handle(), 2);
    const std::vector<HWND> order = support::childrenOf(m_pHost->handle());
    m_log.clear();

    paintHost();
    askHostForItsLimits();

    EXPECT_EQ(GetWindowLongW(hPage, GWL_EXSTYLE), nPage);
    EXPECT_EQ(support::childrenOf(m_pHost->handle()), order);
    EXPECT_TRUE(IsWindow(hD3d));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(StackingTest, KeepsTheModeOfTheHostsFirstWindow)
{
    PELLORA_CreateWindow(m_pHost->handle(), 2);
    PELLORA_CreateWindow(m_pHost->handle(), 0);
    m_log.clear();

    paintHost();

    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(StackingTest, TakesANewModeAfterTheLastWindowHasGone)
{
    PELLORA_CreateWindow(m_pHost->handle(), 2);
    PELLORA_DestroyWindow(0);
    PELLORA_CreateWindow(m_pHost->handle(), 1);
    m_log.clear();

    paintHost();

    EXPECT_THAT(m_log.lines(), Contains(IsStackingError("hwndIntermediateD3DWindow is null, ")));
}

TEST_F(StackingTest, StacksNothingAfterTheLastWindowHasGone)
{
    PELLORA_CreateWindow(m_pHost->handle(), 0);
    PELLORA_DestroyWindow(0);
    m_log.clear();

    paintHost();

    EXPECT_THAT(m_log.lines(), IsEmpty());
}

// ---- the plain test window ----

class TestWindowTest : public RegistryTest
{
protected:
    HWND testChild() const
    {
        return FindWindowExW(m_pHost->handle(), nullptr, L"ChildWindowClass", nullptr);
    }
};

TEST_F(TestWindowTest, PutsAPlainWindowIntoTheHost)
{
    EXPECT_EQ(PELLORA_CreateWindow2(m_pHost->handle()), 1);

    const HWND hChild = testChild();
    ASSERT_NE(hChild, nullptr);
    RECT place = {};
    GetWindowRect(hChild, &place);
    MapWindowPoints(nullptr, m_pHost->handle(), reinterpret_cast<POINT *>(&place), 2);
    EXPECT_THAT((std::vector<long>{place.left, place.top, place.right, place.bottom}), ElementsAre(100, 100, 700, 700));
    RECT client = {};
    GetClientRect(hChild, &client);
    EXPECT_EQ(client.right, 600);
    EXPECT_EQ(client.bottom, 600);
    EXPECT_TRUE(IsWindowVisible(hChild));
    EXPECT_THAT(m_log.lines(), IsEmpty());
    EXPECT_THAT(videoWindows(), IsEmpty());
}

TEST_F(TestWindowTest, MakesTheHostAndTheD3dWindowClip)
{
    const HWND hD3d = m_pHost->addChild(kD3dWindow);
    SetWindowLongW(hD3d, GWL_STYLE, GetWindowLongW(hD3d, GWL_STYLE) & ~WS_CLIPSIBLINGS);

    PELLORA_CreateWindow2(m_pHost->handle());

    EXPECT_NE(GetWindowLongW(m_pHost->handle(), GWL_STYLE) & WS_CLIPCHILDREN, 0);
    EXPECT_NE(GetWindowLongW(hD3d, GWL_STYLE) & WS_CLIPSIBLINGS, 0);
}

TEST_F(TestWindowTest, MakesThemClipAgainAtEveryPaint)
{
    PELLORA_CreateWindow2(m_pHost->handle());
    SetWindowLongW(m_pHost->handle(), GWL_STYLE, GetWindowLongW(m_pHost->handle(), GWL_STYLE) & ~WS_CLIPCHILDREN);
    const int nPaints = m_pHost->received(WM_PAINT);

    paintHost();

    EXPECT_NE(GetWindowLongW(m_pHost->handle(), GWL_STYLE) & WS_CLIPCHILDREN, 0);
    EXPECT_EQ(m_pHost->received(WM_PAINT), nPaints + 1);
}

TEST_F(TestWindowTest, TakesNoHandle)
{
    PELLORA_CreateWindow2(m_pHost->handle());

    EXPECT_EQ(createWindow(), 0);
}

TEST_F(TestWindowTest, SurvivesASecondCallForTheSameHost)
{
    PELLORA_CreateWindow2(m_pHost->handle());
    EXPECT_EQ(PELLORA_CreateWindow2(m_pHost->handle()), 1);

    const int nBefore = m_pHost->received(WM_APP + 7);
    SendMessageW(m_pHost->handle(), WM_APP + 7, 0, 0);
    EXPECT_EQ(m_pHost->received(WM_APP + 7), nBefore + 1);
}

TEST_F(TestWindowTest, AnswersOneForAWindowThatIsNone)
{
    EXPECT_EQ(PELLORA_CreateWindow2(nullptr), 1);
}

TEST_F(TestWindowTest, ShowsABoxWhenItIsClicked)
{
    PELLORA_CreateWindow2(m_pHost->handle());
    PostMessageW(testChild(), WM_LBUTTONDOWN, 0, 0);
    std::atomic<bool> bSeen{false};
    std::thread user([&bSeen] {
        for (int i = 0; i < 500 && !bSeen; ++i) {
            const HWND hBox = FindWindowW(nullptr, L"tarno");
            if (hBox != nullptr) {
                bSeen = true;
                PostMessageW(hBox, WM_CLOSE, 0, 0);
            } else {
                WaitForSingleObject(GetCurrentThread(), 10);
            }
        }
    });

    // The box runs its own loop until it is closed.
    EXPECT_TRUE(support::pumpUntil([&bSeen] { return bSeen.load(); }));
    user.join();
}

} // namespace
