// The keyboard belongs to the page until the user clicks into the video, and again when the video has gone.

#include "tests/embedding/EmbeddingFixture.h"

namespace embedding
{

namespace
{

/** A host with the keyboard in its page, and the video beside that. */
class KeyboardFocusTest : public EmbeddingFixture
{
protected:
    void SetUp() override
    {
        EmbeddingFixture::SetUp();
        SetForegroundWindow(host());
        m_page.emplace(host(), L"PelloraOtherChild", 400, 0, 240, 480);
        click(onScreen(m_page->handle(), 100, 100));
        ASSERT_TRUE(support::pumpUntil([this] { return GetFocus() == m_page->handle(); }));
    }
    void TearDown() override
    {
        m_page.reset();
        EmbeddingFixture::TearDown();
    }
    [[nodiscard]] bool isInVideo() const
    {
        return GetFocus() != nullptr && (GetFocus() == video() || IsChild(video(), GetFocus()) != FALSE);
    }
    void clickIntoVideo()
    {
        click(onScreen(video(), 50, 50));
        ASSERT_TRUE(support::pumpUntil([this] { return isInVideo(); }));
    }
    /** A key that is pressed now reaches the page. */
    [[nodiscard]] bool typesIntoPage()
    {
        const int nBefore = m_page->received(WM_KEYDOWN);
        press('K');
        return support::pumpUntil([&] { return m_page->received(WM_KEYDOWN) == nBefore + 1; });
    }

    std::optional<PageWindow> m_page;
};

TEST_F(KeyboardFocusTest, StaysInThePageWhateverTheHostCalls)
{
    PageWindow widget(host(), kRenderWidget);
    const HWND hPage = m_page->handle();
    const auto expectStill = [hPage](const char *pAfter) { EXPECT_EQ(GetFocus(), hPage) << pAfter; };

    const long lHandle = makeVideo(kRenderWidgetMode, 0, 0, 400, 480);
    expectStill("a new window");
    paintHost();
    askForLimits();
    expectStill("paints");
    PELLORA_SplitScreen(lHandle, 4);
    PELLORA_SetCurWnd(lHandle, 3);
    expectStill("another grid");
    playFile(lHandle, 0, 1);
    expectStill("a file");
    tagPELLORA_CLIP_AREA area = {{{10, 10, 60, 40}, {}, {}, {}}, {0, 0, 0, 0}, 1};
    PELLORA_SetClipArea(lHandle, &area);
    expectStill("a hole");
    PELLORA_SetVisible(lHandle, 0);
    expectStill("a hidden window");
    PELLORA_SetVisible(lHandle, 1);
    PELLORA_SetGeometry(lHandle, 0, 0, 300, 300);
    support::pumpPosted();
    expectStill("a shown window");
    PELLORA_DestroyWindow(lHandle);
    support::pumpPosted();
    expectStill("a destroyed window");
    EXPECT_TRUE(typesIntoPage());
}

TEST_F(KeyboardFocusTest, StaysInThePageWhileAD3dWindowIsStacked)
{
    PageWindow d3d(host(), kD3dWindow);
    makeVideo(kD3dMode, 0, 0, 400, 480);
    for (int i = 0; i < 10; ++i) {
        paintHost();
        askForLimits();
    }
    support::pumpPosted();

    EXPECT_EQ(GetFocus(), m_page->handle());
    EXPECT_TRUE(typesIntoPage());
}

TEST_F(KeyboardFocusTest, GoesToTheVideoWithAClickAndComesBackWithAClick)
{
    makeVideo(kPlainMode, 0, 0, 400, 480);

    clickIntoVideo();
    const int nBefore = m_page->received(WM_KEYDOWN);
    const int nHost = m_pHost->received(WM_KEYDOWN);
    press('K');
    support::pumpPosted();
    EXPECT_EQ(m_page->received(WM_KEYDOWN), nBefore);
    EXPECT_EQ(m_pHost->received(WM_KEYDOWN), nHost);
    EXPECT_EQ(GetActiveWindow(), host());

    click(onScreen(m_page->handle(), 100, 100));
    EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == m_page->handle(); }));
    EXPECT_TRUE(typesIntoPage());
}

TEST_F(KeyboardFocusTest, LeavesTheVideoForTheHostWithTab)
{
    makeVideo(kPlainMode, 0, 0, 400, 480);
    clickIntoVideo();

    press(VK_TAB);

    EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == host(); }));
}

TEST_F(KeyboardFocusTest, LeavesAVideoThatIsHidden)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    clickIntoVideo();

    PELLORA_SetVisible(lHandle, 0);

    EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == host(); }));
}

TEST_F(KeyboardFocusTest, LeavesAVideoThatIsDestroyed)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    clickIntoVideo();

    PELLORA_DestroyWindow(lHandle);

    EXPECT_TRUE(support::pumpUntil([this] { return videoWindows().empty() && GetFocus() == host(); }));
}

TEST_F(KeyboardFocusTest, IsInThePageAgainAfterFullScreen)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    for (int i = 0; i < 3; ++i) {
        PELLORA_FullScreen(lHandle);
        // Esc ends full screen, so that it has to have the keyboard.
        ASSERT_TRUE(support::pumpUntil([this] { return GetFocus() != nullptr && GetFocus() != m_page->handle(); }));

        PELLORA_NormalScreen(lHandle);

        EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == m_page->handle(); }));
        EXPECT_EQ(GetActiveWindow(), host());
        EXPECT_TRUE(typesIntoPage());
    }
}

TEST_F(KeyboardFocusTest, IsInThePageAgainAfterEscape)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    const HWND hFrame = nativeWindow(childNamed(videoWindows().front(), "m_pPlayArea"));
    PELLORA_FullScreen(lHandle);
    ASSERT_TRUE(support::pumpUntil([&] { return GetFocus() == hFrame; }));

    press(VK_ESCAPE);

    EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == m_page->handle(); }));
}

TEST_F(KeyboardFocusTest, IsInTheVideoAgainAfterFullScreenThatTheUserHadClickedInto)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    clickIntoVideo();
    PELLORA_FullScreen(lHandle);
    support::pumpPosted();

    PELLORA_NormalScreen(lHandle);

    EXPECT_TRUE(support::pumpUntil([this] { return isInVideo(); }));
    EXPECT_EQ(GetActiveWindow(), host());
}

TEST_F(KeyboardFocusTest, GoesToTheHostWhenThePageHasGoneDuringFullScreen)
{
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    PELLORA_FullScreen(lHandle);
    support::pumpPosted();
    m_page.reset();

    PELLORA_NormalScreen(lHandle);

    EXPECT_TRUE(support::pumpUntil([this] { return GetFocus() == host(); }));
}

TEST_F(KeyboardFocusTest, StaysWhereTheUserHasTakenItDuringFullScreen)
{
    support::HostWindow other;
    const long lHandle = makeVideo(kPlainMode, 0, 0, 400, 480);
    PELLORA_FullScreen(lHandle);
    support::pumpPosted();
    SetForegroundWindow(other.handle());
    SetFocus(other.handle());

    PELLORA_NormalScreen(lHandle);
    support::pumpPosted();

    EXPECT_EQ(GetFocus(), other.handle());
}

} // namespace

} // namespace embedding
