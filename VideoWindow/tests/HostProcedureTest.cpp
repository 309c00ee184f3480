// Hosts whose window procedures are replaced, by the library, by others and by themselves.

#include "VideoWindow/tests/ClassedHost.h"
#include "interface/tests/PelloraFixture.h"

using testing::StartsWith;

namespace
{

constexpr UINT kMessage = WM_APP + 8;

using FirstHost = ClassedHost<1>;
using SecondHost = ClassedHost<2>;

LONG_PTR procedureOf(HWND hWnd)
{
    return GetWindowLongPtrW(hWnd, GWLP_WNDPROC);
}

LONG_PTR setProcedure(HWND hWnd, LONG_PTR nProcedure)
{
    return SetWindowLongPtrW(hWnd, GWLP_WNDPROC, nProcedure);
}

/** Two hosts of different classes. */
class HostProcedureTest : public PelloraFixture
{
protected:
    /** One message reaches each host's own procedure once, and neither the other's. */
    void expectEachItsOwn()
    {
        const int nFirst = FirstHost::received(m_first.handle(), kMessage);
        const int nSecond = SecondHost::received(m_second.handle(), kMessage);
        SendMessageW(m_first.handle(), kMessage, 0, 0);
        SendMessageW(m_second.handle(), kMessage, 0, 0);
        EXPECT_EQ(FirstHost::received(m_first.handle(), kMessage), nFirst + 1);
        EXPECT_EQ(SecondHost::received(m_second.handle(), kMessage), nSecond + 1);
        EXPECT_EQ(FirstHost::received(m_second.handle(), kMessage), 0);
        EXPECT_EQ(SecondHost::received(m_first.handle(), kMessage), 0);
    }

    FirstHost m_first;
    SecondHost m_second;
    const LONG_PTR m_nOwn = procedureOf(m_first.handle());
};

// ---- several hosts, several kinds of calls ----

TEST_F(HostProcedureTest, KeepsHostsWithVideoWindowsApart)
{
    const LONG_PTR nSecondOwn = procedureOf(m_second.handle());
    EXPECT_EQ(PELLORA_CreateWindow(m_first.handle(), 2), 0);
    EXPECT_EQ(procedureOf(m_second.handle()), nSecondOwn);
    EXPECT_EQ(PELLORA_CreateWindow(m_second.handle(), 2), 1);
    EXPECT_NE(procedureOf(m_second.handle()), nSecondOwn);

    expectEachItsOwn();
    PELLORA_DestroyWindow(1);

    EXPECT_EQ(procedureOf(m_second.handle()), nSecondOwn);
    expectEachItsOwn();
}

TEST_F(HostProcedureTest, KeepsHostsWithTestWindowsApart)
{
    PELLORA_CreateWindow2(m_first.handle());
    PELLORA_CreateWindow2(m_second.handle());

    expectEachItsOwn();
}

TEST_F(HostProcedureTest, KeepsHostsWithWindowsOfBothKindsApart)
{
    PELLORA_CreateWindow2(m_first.handle());
    PELLORA_CreateWindow(m_second.handle(), 2);
    PELLORA_CreateWindow(m_first.handle(), 2);
    PELLORA_CreateWindow2(m_second.handle());

    expectEachItsOwn();
    PELLORA_DestroyWindow(0);
    PELLORA_DestroyWindow(1);
    expectEachItsOwn();
}

TEST_F(HostProcedureTest, TakesATestWindowBeforeAndAfterAVideoWindow)
{
    PELLORA_CreateWindow2(m_first.handle());
    PELLORA_CreateWindow(m_first.handle(), 2);
    EXPECT_EQ(PELLORA_CreateWindow2(m_first.handle()), 1);

    expectEachItsOwn();
    PELLORA_DestroyWindow(0);
    PELLORA_CreateWindow2(m_first.handle());
    PELLORA_CreateWindow(m_first.handle(), 2);
    expectEachItsOwn();
}

TEST_F(HostProcedureTest, TakesAHostForTestWindowsAgainThatHasPutItsOwnProcedureBack)
{
    PELLORA_CreateWindow2(m_first.handle());
    const LONG_PTR nSubclassed = setProcedure(m_first.handle(), m_nOwn);

    PELLORA_CreateWindow2(m_first.handle());

    EXPECT_EQ(procedureOf(m_first.handle()), nSubclassed);
    expectEachItsOwn();
}

TEST_F(HostProcedureTest, LeavesAHostWithATestWindowItsEnd)
{
    PELLORA_CreateWindow2(m_first.handle());
    const HWND hFirst = m_first.handle();

    m_first.destroy();

    EXPECT_EQ(FirstHost::received(hFirst, WM_DESTROY), 1);
    EXPECT_EQ(FirstHost::received(hFirst, WM_NCDESTROY), 1);
}

// ---- hosts that put their own procedure back, and tell nobody ----

TEST_F(HostProcedureTest, IsInFrontAgainWithTheNextVideoWindow)
{
    PELLORA_CreateWindow(m_first.handle(), 1);
    const LONG_PTR nSubclassed = setProcedure(m_first.handle(), m_nOwn);

    EXPECT_EQ(PELLORA_CreateWindow(m_first.handle(), 2), 1);

    EXPECT_EQ(procedureOf(m_first.handle()), nSubclassed);
    expectEachItsOwn();
    // The mode is still that of the first window, which lives.
    m_log.clear();
    SendMessageW(m_first.handle(), WM_PAINT, 0, 0);
    EXPECT_THAT(m_log.texts(), testing::Contains(StartsWith("ERROR hwndIntermediateD3DWindow is null, ")));
    PELLORA_DestroyWindow(0);
    PELLORA_DestroyWindow(1);
    EXPECT_EQ(procedureOf(m_first.handle()), m_nOwn);
}

TEST_F(HostProcedureTest, TakesAHostForANewOneThatHasPutItsOwnProcedureBack)
{
    PELLORA_CreateWindow(m_first.handle(), 2);
    const LONG_PTR nSubclassed = setProcedure(m_first.handle(), m_nOwn);
    PELLORA_DestroyWindow(0);
    EXPECT_EQ(procedureOf(m_first.handle()), m_nOwn);

    EXPECT_EQ(PELLORA_CreateWindow(m_first.handle(), 1), 0);

    EXPECT_EQ(procedureOf(m_first.handle()), nSubclassed);
    m_log.clear();
    SendMessageW(m_first.handle(), WM_PAINT, 0, 0);
    EXPECT_THAT(m_log.texts(), testing::Contains(StartsWith("ERROR hwndIntermediateD3DWindow is null, ")));
}

LONG_PTR g_nBefore;

LRESULT CALLBACK strangersProcedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    return CallWindowProcW(reinterpret_cast<WNDPROC>(g_nBefore), hWnd, nMessage, wParam, lParam);
}

TEST_F(HostProcedureTest, TakesAHostForANewOneAfterAStrangerHasGone)
{
    PELLORA_CreateWindow(m_first.handle(), 2);
    g_nBefore = setProcedure(m_first.handle(), reinterpret_cast<LONG_PTR>(&strangersProcedure));
    // Messages still come by the library's procedure.
    PELLORA_DestroyWindow(0);
    const LONG_PTR nSubclassed = g_nBefore;
    setProcedure(m_first.handle(), m_nOwn);

    EXPECT_EQ(PELLORA_CreateWindow(m_first.handle(), 1), 0);

    EXPECT_EQ(procedureOf(m_first.handle()), nSubclassed);
    expectEachItsOwn();
}

TEST_F(HostProcedureTest, SeesTheEndOfAHostThatHasPutItsOwnProcedureBack)
{
    // The tenth has no handle, so that it goes with its host, or never.
    for (int i = 0; i < 10; ++i) {
        PELLORA_CreateWindow(m_first.handle(), 2);
    }
    setProcedure(m_first.handle(), m_nOwn);

    m_first.destroy();

    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().size() == 9; }));
    // The others are dead, and open nothing any more.
    std::string path = "a.mkv";
    EXPECT_EQ(PELLORA_SetVisible(0, 1), 0);
    EXPECT_EQ(PELLORA_FullScreen(0), 0);
    EXPECT_EQ(PELLORA_PreviewFile(0, path.data(), 0, 0), 0);
    EXPECT_THAT(newCalls(), testing::IsEmpty());
}

// ---- slots of windows that died with their hosts ----

TEST_F(HostProcedureTest, GivesADeadWindowsHandleAwayWhenThereIsNoOther)
{
    for (int i = 0; i < 9; ++i) {
        PELLORA_CreateWindow(i == 3 ? m_first.handle() : m_second.handle(), 2);
    }
    EXPECT_EQ(createWindow(), -1);
    m_first.destroy();

    EXPECT_EQ(createWindow(), 3);
    EXPECT_EQ(PELLORA_FullScreen(3), 1);
    EXPECT_EQ(PELLORA_NormalScreen(3), 1);
    EXPECT_EQ(createWindow(), -1);
    m_pHost->destroy();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().size() == 9; }));
}

TEST_F(HostProcedureTest, KeepsADeadWindowsHandleWhileThereAreOthers)
{
    PELLORA_CreateWindow(m_first.handle(), 2);
    m_first.destroy();

    EXPECT_EQ(createWindow(), 1);
    EXPECT_EQ(PELLORA_FullScreen(0), 0);
    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    EXPECT_EQ(createWindow(), 0);
}

TEST_F(HostProcedureTest, TakesNoHostThatIsBeingDestroyed)
{
    PELLORA_CreateWindow(m_first.handle(), 2);
    long lHandle = 7;
    FirstHost::whenReceived([&](UINT nMessage) {
        if (nMessage == WM_DESTROY) {
            lHandle = PELLORA_CreateWindow(m_first.handle(), 2);
        }
    });

    m_first.destroy();

    EXPECT_EQ(lHandle, -1);
    EXPECT_EQ(videoWindows().size(), 1U);
}

// Nothing tells that a window is about to go which has held no video window before.
TEST_F(HostProcedureTest, LeavesAWindowDeadThatWasMadeWhileAnUnknownHostWasDestroyed)
{
    long lHandle = -1;
    FirstHost::whenReceived([&](UINT nMessage) {
        if (nMessage == WM_DESTROY) {
            lHandle = PELLORA_CreateWindow(m_first.handle(), 2);
        }
    });

    m_first.destroy();
    FirstHost::whenReceived(nullptr);

    ASSERT_EQ(lHandle, 0);
    EXPECT_EQ(PELLORA_SetVisible(lHandle, 1), 0);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 4), 0);
    EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);
    EXPECT_EQ(PELLORA_CreateWindow(m_second.handle(), 2), 0);
}

TEST_F(HostProcedureTest, MakesNoWindowInsideTheMakingOfAnother)
{
    std::vector<long> handles;
    FirstHost::whenReceived([&](UINT nMessage) {
        // Windows tells a host of each child that is made in it, while it is made.
        if (nMessage == WM_PARENTNOTIFY && handles.empty()) {
            handles.push_back(PELLORA_CreateWindow(m_first.handle(), 2));
        }
    });

    const long lHandle = PELLORA_CreateWindow(m_first.handle(), 2);
    FirstHost::whenReceived(nullptr);

    EXPECT_EQ(lHandle, 0);
    EXPECT_THAT(handles, testing::ElementsAre(-1));
    EXPECT_EQ(videoWindows().size(), 1U);
    EXPECT_EQ(PELLORA_CreateWindow(m_first.handle(), 2), 1);
}

TEST_F(HostProcedureTest, MakesNoWindowInAHostThatGoesMeanwhile)
{
    FirstHost::whenReceived([&](UINT nMessage) {
        if (nMessage == WM_PARENTNOTIFY) {
            FirstHost::whenReceived(nullptr);
            m_first.destroy();
        }
    });

    EXPECT_EQ(PELLORA_CreateWindow(m_first.handle(), 2), -1);

    EXPECT_TRUE(videoWindows().empty());
    EXPECT_EQ(PELLORA_CreateWindow(m_second.handle(), 2), 0);
}

} // namespace
