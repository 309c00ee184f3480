// Hosts that destroy a video window while the library or Qt is on the stack.

#include "VideoWindow/tests/ClassedHost.h"
#include "interface/tests/PelloraFixture.h"

#include <QApplication>

#include <ostream>

using testing::IsEmpty;

namespace
{

using Host = ClassedHost<3>;

class DestructionTest : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        SetForegroundWindow(m_host.handle());
        SetFocus(m_host.handle());
        m_lHandle = PELLORA_CreateWindow(m_host.handle(), 2);
        playFile(m_lHandle);
        support::pumpPosted();
    }

    /** Destroys the window inside the host's procedure, at the first such message from now on. */
    void destroyAt(UINT nMessage, bool bWithLoop)
    {
        Host::whenReceived([=](UINT nReceived) {
            if (nReceived != nMessage) {
                return;
            }
            Host::whenReceived(nullptr);
            m_bDestroyed = true;
            EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
            expectNothingLeftOfIt();
            if (bWithLoop) {
                // As a message box would. What is on the stack goes on using the window.
                support::pumpPosted();
                EXPECT_EQ(videoWindows().size(), 1U);
            }
        });
    }

    /** What the host can see once the window is destroyed, before any message has been looked at. */
    void expectNothingLeftOfIt()
    {
        EXPECT_THAT(support::childrenOf(m_host.handle()), IsEmpty());
        EXPECT_THAT(doubles::openPorts(), IsEmpty());
        EXPECT_EQ(PELLORA_SetVisible(m_lHandle, 1), 0);
        for (const QWidget *pWidget : QApplication::allWidgets()) {
            EXPECT_FALSE(IsWindowVisible(reinterpret_cast<HWND>(pWidget->internalWinId())))
                << pWidget->metaObject()->className();
        }
    }

    Host m_host;
    long m_lHandle = -1;
    bool m_bDestroyed = false;
};

TEST_F(DestructionTest, EndsAtOnceWhatPlaysAndLeavesTheHost)
{
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    expectNothingLeftOfIt();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

TEST_F(DestructionTest, LeavesTheHandleToTheNextWindowAtOnce)
{
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        EXPECT_EQ(PELLORA_CreateWindow(m_host.handle(), 2), m_lHandle);
    }
    // Without a message loop they wait for one, and no longer.
    EXPECT_EQ(videoWindows().size(), 11U);
    EXPECT_EQ(support::childrenOf(m_host.handle()).size(), 1U);
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().size() == 1; }));
}

TEST_F(DestructionTest, SurvivesTheEndOfTheHostBeforeTheNextMessage)
{
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    m_host.destroy();

    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

TEST_F(DestructionTest, LeavesFullScreenAtOnce)
{
    EXPECT_EQ(PELLORA_FullScreen(m_lHandle), 1);
    support::pumpPosted();

    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);

    expectNothingLeftOfIt();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

/** What makes Windows call the host's procedure while the library or Qt is on the stack. */
struct Occasion {
    const char *pName;
    UINT nMessage;
    void (*pfnPrepare)(long lHandle);
    void (*pfnBring)(long lHandle);
};

void PrintTo(const Occasion &occasion, std::ostream *pStream)
{
    *pStream << occasion.pName;
}

void prepareNothing(long) {}

void coverScreen(long lHandle)
{
    PELLORA_FullScreen(lHandle);
    support::pumpPosted();
}

void uncoverScreen(long lHandle)
{
    PELLORA_NormalScreen(lHandle);
}

void hideWindow(long lHandle)
{
    PELLORA_SetVisible(lHandle, 0);
}

/** What Windows sends to the window under the mouse before a click; the parents are asked as well. */
void clickIntoVideo(long)
{
    const QWidget *pPane = panesOf(videoWindows().front()).front();
    const HWND hPicture = nativeWindow(childNamed(pPane, "m_pLiveViewWnd"));
    const HWND hTop = GetAncestor(hPicture, GA_ROOT);
    SendMessageW(hPicture, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(hTop), MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN));
}

class OccasionTest : public DestructionTest, public testing::WithParamInterface<std::tuple<Occasion, bool>>
{
};

TEST_P(OccasionTest, OutlivesItsOwnDestruction)
{
    const auto &[occasion, bWithLoop] = GetParam();
    occasion.pfnPrepare(m_lHandle);
    destroyAt(occasion.nMessage, bWithLoop);

    occasion.pfnBring(m_lHandle);

    ASSERT_TRUE(m_bDestroyed) << "the host has not got the message";
    expectNothingLeftOfIt();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
    EXPECT_EQ(PELLORA_CreateWindow(m_host.handle(), 2), m_lHandle);
    EXPECT_EQ(PELLORA_FullScreen(m_lHandle), 1);
    EXPECT_EQ(PELLORA_NormalScreen(m_lHandle), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Host, OccasionTest,
    testing::Combine(testing::Values(Occasion{"ActivateDuringFullScreen", WM_ACTIVATE, &prepareNothing, &coverScreen},
                                     Occasion{"KillFocusDuringFullScreen", WM_KILLFOCUS, &prepareNothing, &coverScreen},
                                     Occasion{"ActivateDuringNormalScreen", WM_ACTIVATE, &coverScreen, &uncoverScreen},
                                     Occasion{"ActivateWhileHidingFullScreen", WM_ACTIVATE, &coverScreen, &hideWindow},
                                     Occasion{"SetFocusWhileHiding", WM_SETFOCUS, &clickIntoVideo, &hideWindow},
                                     Occasion{"KillFocusDuringAClick", WM_KILLFOCUS, &prepareNothing, &clickIntoVideo}),
                     testing::Bool()),
    [](const auto &parameter) {
        return std::get<0>(parameter.param).pName + std::string(std::get<1>(parameter.param) ? "AndALoop" : "");
    });

} // namespace
