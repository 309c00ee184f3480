// The library as a guest while video plays: with its own player, pictures with numbers in them, read from the screen.

#include "base/tests/UserInput.h"
#include "interface/Pellora.h"
#include "tests/embedding/PageWindow.h"
#include "tests/embedding/RendererThread.h"
#include "tests/support/BarCode.h"
#include "tests/support/HostWindow.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScreenBytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace embedding
{

namespace
{

constexpr COLORREF kHostColour = RGB(255, 255, 255);
constexpr int kWidth = 600;
constexpr int kHeight = 450;
constexpr unsigned kLongest = 30'000;

/** A host whose video window plays the same clip in each pane that is shown. */
class PlayingTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        PELLORA_Init();
        support::stopLogger();
    }
    static void TearDownTestSuite()
    {
        PELLORA_Fini();
    }
    void SetUp() override
    {
        m_pHost = std::make_unique<support::HostWindow>();
        SetWindowLongW(host(), GWL_STYLE, GetWindowLongW(host(), GWL_STYLE) | WS_CLIPCHILDREN);
        SetWindowPos(host(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    }
    void TearDown() override
    {
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        m_pHost.reset();
        support::pumpPosted();
    }

    void play(unsigned char embedMode, int nPanes)
    {
        m_lHandle = PELLORA_CreateWindow(host(), embedMode);
        ASSERT_EQ(m_lHandle, 0);
        PELLORA_SetGeometry(m_lHandle, 0, 0, kWidth, kHeight);
        PELLORA_SplitScreen(m_lHandle, static_cast<unsigned short>(nPanes));
        m_nPanes = nPanes;
        m_nColumns = nPanes == 1 ? 1 : nPanes == 4 ? 2 : 3;
        const char *const pFolder = std::getenv("PELLORA_TEST_MEDIA");
        std::string path = std::string("Z:") + (pFolder != nullptr ? pFolder : "") + "/long.mp4";
        for (int i = 0; i < nPanes; ++i) {
            PELLORA_SetCurWnd(m_lHandle, i);
            ASSERT_EQ(PELLORA_PreviewFile(m_lHandle, path.data(), 1, 0), 1);
        }
        PELLORA_SetCurWnd(m_lHandle, 0);
        expectPicturesInEachPane();
    }
    [[nodiscard]] HWND host() const
    {
        return m_pHost->handle();
    }
    /** The part of the screen that a pane fills, without its frame. */
    [[nodiscard]] RECT paneOnScreen(int nPane) const
    {
        const int nWidth = kWidth / m_nColumns;
        const int nHeight = kHeight / m_nColumns;
        const POINT corner = onScreen(host(), nPane % m_nColumns * nWidth, nPane / m_nColumns * nHeight);
        return {corner.x + 2, corner.y + 2, corner.x + nWidth - 2, corner.y + nHeight - 2};
    }
    /** The number of the picture that a part of the screen shows; none for no whole one. */
    [[nodiscard]] static std::optional<int> pictureIn(const RECT &part)
    {
        const std::vector<std::uint8_t> bytes = support::screenBytes(part);
        const int nWidth = part.right - part.left;
        return testsupport::readBarCode(bytes.data(), std::ptrdiff_t{4} * nWidth, nWidth, part.bottom - part.top);
    }
    /** Looks until each pane has shown so many pictures more; calls `look` with each of them. */
    template <typename Look>
    void watch(std::size_t nPictures, Look look)
    {
        std::vector<std::set<int>> seen(static_cast<std::size_t>(m_nPanes));
        EXPECT_TRUE(support::pumpUntil(
            [&] {
                bool bAll = true;
                for (int i = 0; i < m_nPanes; ++i) {
                    std::set<int> &numbers = seen[static_cast<std::size_t>(i)];
                    const std::optional<int> number = pictureIn(paneOnScreen(i));
                    if (number && numbers.insert(*number).second) {
                        look(i);
                    }
                    bAll = bAll && numbers.size() >= nPictures;
                }
                return bAll;
            },
            kLongest));
    }
    void expectPicturesInEachPane()
    {
        watch(3, [](int) {});
    }
    /** A hole in the lower half of each pane, as one strip through each row of panes. */
    void cutStrips() const
    {
        tagPELLORA_CLIP_AREA area = {};
        const int nHeight = kHeight / m_nColumns;
        for (int i = 0; i < m_nColumns; ++i) {
            area.struRect[area.wNum++] = {20, i * nHeight + nHeight / 2, kWidth - 20, (i + 1) * nHeight - 20};
        }
        EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, &area), 1);
    }
    /** Inside the strip through a pane. */
    [[nodiscard]] POINT inStrip(int nPane) const
    {
        const RECT pane = paneOnScreen(nPane);
        return {(pane.left + pane.right) / 2, pane.top + (pane.bottom - pane.top) * 2 / 3};
    }
    /** Between the code and the strip. */
    [[nodiscard]] POINT inPicture(int nPane) const
    {
        const RECT pane = paneOnScreen(nPane);
        return {(pane.left + pane.right) / 2, pane.top + (pane.bottom - pane.top) * 2 / 5};
    }
    [[nodiscard]] bool waitForHostIn(POINT place) const
    {
        return support::pumpUntil([&] { return colourAt(place) == kHostColour; });
    }

    std::unique_ptr<support::HostWindow> m_pHost;
    long m_lHandle = -1;
    int m_nPanes = 0;
    int m_nColumns = 1;
};

class PlayingGridTest : public PlayingTest, public testing::WithParamInterface<int>
{
};

TEST_P(PlayingGridTest, LeavesTheHolesToTheHostPictureAfterPicture)
{
    play(2, GetParam());
    cutStrips();
    for (int i = 0; i < m_nPanes; ++i) {
        ASSERT_TRUE(waitForHostIn(inStrip(i))) << "pane " << i;
    }

    int nLooks = 0;
    int nCovered = 0;
    watch(20, [&](int nPane) {
        ++nLooks;
        nCovered += colourAt(inStrip(nPane)) == kHostColour ? 0 : 1;
        EXPECT_NE(colourAt(inPicture(nPane)), kHostColour);
    });
    EXPECT_GE(nLooks, 20 * m_nPanes);
    EXPECT_EQ(nCovered, 0);

    for (int i = 0; i < m_nPanes; ++i) {
        const int nBefore = m_pHost->received(WM_LBUTTONDOWN);
        click(inStrip(i));
        EXPECT_TRUE(support::pumpUntil([&] { return m_pHost->received(WM_LBUTTONDOWN) == nBefore + 1; })) << i;
        click(inPicture(i));
        support::pumpPosted();
        EXPECT_EQ(m_pHost->received(WM_LBUTTONDOWN), nBefore + 1) << i;
    }

    tagPELLORA_CLIP_AREA none = {};
    PELLORA_SetClipArea(m_lHandle, &none);
    for (int i = 0; i < m_nPanes; ++i) {
        EXPECT_TRUE(support::pumpUntil([&] { return colourAt(inStrip(i)) != kHostColour; })) << i;
    }
    expectPicturesInEachPane();
}

INSTANTIATE_TEST_SUITE_P(Panes, PlayingGridTest, testing::Values(1, 4, 9));

TEST_F(PlayingTest, ShowsWholePicturesInFullScreenAndTheHolesAfterwards)
{
    play(2, 1);
    cutStrips();
    const POINT place = inStrip(0);
    ASSERT_TRUE(waitForHostIn(place));

    PELLORA_FullScreen(m_lHandle);
    const RECT screen = {2, 2, GetSystemMetrics(SM_CXSCREEN) - 2, GetSystemMetrics(SM_CYSCREEN) - 2};
    std::set<int> numbers;
    EXPECT_TRUE(support::pumpUntil(
        [&] {
            const std::optional<int> number = pictureIn(screen);
            if (number) {
                numbers.insert(*number);
                EXPECT_NE(colourAt(place), kHostColour);
            }
            return numbers.size() >= 5;
        },
        kLongest));

    PELLORA_NormalScreen(m_lHandle);
    EXPECT_TRUE(waitForHostIn(place));
    watch(5, [&](int) { EXPECT_EQ(colourAt(place), kHostColour); });
}

TEST_F(PlayingTest, KeepsTheHoleWhereItWasCutWhenTheVideoIsResized)
{
    play(2, 1);
    cutStrips();
    const POINT place = inStrip(0);
    ASSERT_TRUE(waitForHostIn(place));
    RECT pane = paneOnScreen(0);

    PELLORA_SetGeometry(m_lHandle, 0, 0, kWidth - 200, kHeight);
    pane.right -= 200;
    std::set<int> numbers;
    EXPECT_TRUE(support::pumpUntil(
        [&] {
            const std::optional<int> number = pictureIn(pane);
            if (number) {
                numbers.insert(*number);
            }
            return numbers.size() >= 5;
        },
        kLongest));
    EXPECT_EQ(colourAt(place), kHostColour);

    PELLORA_SetGeometry(m_lHandle, 0, 0, kWidth, kHeight);
    watch(5, [](int) {});
    EXPECT_EQ(colourAt(place), kHostColour);
}

TEST_F(PlayingTest, PlaysInTheNextHostAfterOneThatWasDestroyedWithItsPage)
{
    for (int i = 0; i < 3; ++i) {
        PageWindow page(host(), kRenderWidget);
        play(0, 4);
        InvalidateRect(host(), nullptr, FALSE);
        support::pumpPosted();

        m_pHost->destroy();
        support::pumpPosted();
        EXPECT_EQ(page.handle(), nullptr);
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        PlayingTest::SetUp();
    }
    play(1, 1);
}

/** Modes with the class that each looks for. */
struct Shell {
    const char *pName;
    unsigned char embedMode;
    const wchar_t *pPageClass;
    bool bKilled;
};

void PrintTo(const Shell &shell, std::ostream *pStream)
{
    *pStream << shell.pName;
}

class PlayingShellTest : public PlayingTest, public testing::WithParamInterface<Shell>
{
protected:
    /** The pages that RendererThread makes lie in the top left corner, over the code's first cells. */
    [[nodiscard]] bool isStacked(HWND hPage) const
    {
        const HWND hVideo = GetWindow(hPage, GetParam().embedMode == 0 ? GW_HWNDPREV : GW_HWNDNEXT);
        wchar_t name[8] = {};
        return hVideo != nullptr && GetClassNameW(hVideo, name, 8) > 0 && std::wstring(name).rfind(L"Qt5", 0) == 0;
    }
};

TEST_P(PlayingShellTest, PlaysOnWhileRenderersComeAndGo)
{
    play(GetParam().embedMode, 4);
    for (int i = 0; i < 5; ++i) {
        RendererThread renderer(host(), GetParam().pPageClass);
        ASSERT_TRUE(support::pumpUntil([&] {
            InvalidateRect(host(), nullptr, FALSE);
            return renderer.page() != nullptr && isStacked(renderer.page());
        }));
        if (GetParam().embedMode == 0) {
            // Above the page each pane is whole.
            watch(2, [&](int) { InvalidateRect(host(), nullptr, FALSE); });
        }
        if (GetParam().bKilled) {
            renderer.kill();
        } else {
            renderer.quit();
        }
        ASSERT_TRUE(support::pumpUntil([&] {
            InvalidateRect(host(), nullptr, FALSE);
            // What Wine 8 keeps of a killed thread's window still answers IsWindow.
            return renderer.hasEnded() && FindWindowExW(host(), nullptr, GetParam().pPageClass, nullptr) == nullptr;
        }));
        watch(2, [&](int) { InvalidateRect(host(), nullptr, FALSE); });
    }
}

INSTANTIATE_TEST_SUITE_P(Shells, PlayingShellTest,
                         testing::Values(Shell{"RenderWidgetDestroyed", 0, kRenderWidget, false},
                                         Shell{"RenderWidgetKilled", 0, kRenderWidget, true},
                                         Shell{"D3dWindowDestroyed", 1, kD3dWindow, false},
                                         Shell{"D3dWindowKilled", 1, kD3dWindow, true}),
                         [](const auto &row) { return row.param.pName; });

} // namespace

} // namespace embedding
