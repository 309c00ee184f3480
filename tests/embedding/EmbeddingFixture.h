#ifndef TESTS_EMBEDDING_EMBEDDINGFIXTURE_H
#define TESTS_EMBEDDING_EMBEDDINGFIXTURE_H

#include "base/tests/UserInput.h"
#include "interface/tests/PelloraFixture.h"
#include "tests/embedding/PageWindow.h"
#include "tests/embedding/RendererThread.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace embedding
{

/** The library in a host window with a Chromium shell's children. */
class EmbeddingFixture : public PelloraFixture
{
protected:
    static constexpr unsigned char kRenderWidgetMode = 0;
    static constexpr unsigned char kD3dMode = 1;
    static constexpr unsigned char kPlainMode = 2;

    void SetUp() override
    {
        PelloraFixture::SetUp();
        // As shells do: the host's own painting leaves its children alone.
        SetWindowLongW(host(), GWL_STYLE, GetWindowLongW(host(), GWL_STYLE) | WS_CLIPCHILDREN);
        SetWindowPos(host(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    }

    [[nodiscard]] HWND host() const
    {
        return m_pHost->handle();
    }
    /** A video window with a place in the host. */
    long makeVideo(unsigned char embedMode, int x, int y, int width, int height)
    {
        const std::vector<QWidget *> before = videoWindows();
        const long lHandle = PELLORA_CreateWindow(host(), embedMode);
        for (QWidget *pWindow : videoWindows()) {
            if (std::count(before.begin(), before.end(), pWindow) == 0) {
                m_videos.push_back(nativeWindow(pWindow));
            }
        }
        EXPECT_EQ(PELLORA_SetGeometry(lHandle, x, y, width, height), lHandle >= 0 ? 1 : 0);
        return lHandle;
    }
    /** The native window of the one that makeVideo made as number `nOrder`, from 0. */
    [[nodiscard]] HWND video(std::size_t nOrder = 0) const
    {
        return m_videos.at(nOrder);
    }
    /** The native window of the only one in this host. */
    [[nodiscard]] static HWND videoIn(HWND hHostWnd)
    {
        for (QWidget *pWindow : videoWindows()) {
            // Unlike winId it makes none.
            const auto hWnd = reinterpret_cast<HWND>(pWindow->internalWinId());
            if (hWnd != nullptr && GetParent(hWnd) == hHostWnd) {
                return hWnd;
            }
        }
        return nullptr;
    }
    /** The host paints now, as when a part of it was uncovered. */
    void paintHost() const
    {
        SendMessageW(host(), WM_PAINT, 0, 0);
    }
    MINMAXINFO askForLimits() const
    {
        MINMAXINFO limits = {};
        SendMessageW(host(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
        return limits;
    }
    /** Left, top, width, height in the host's client area. */
    [[nodiscard]] std::vector<long> placeOf(HWND hWnd) const
    {
        RECT rect = {};
        GetWindowRect(hWnd, &rect);
        MapWindowPoints(nullptr, host(), reinterpret_cast<POINT *>(&rect), 2);
        return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
    }
    /** Lets messages run until the screen shows this colour at a place of the host's client area. */
    [[nodiscard]] bool shows(int x, int y, COLORREF colour) const
    {
        return support::pumpUntil([&] { return colourAt(onScreen(host(), x, y)) == colour; });
    }
    [[nodiscard]] static bool isSeeThrough(HWND hPage)
    {
        BYTE nAlpha = 0;
        DWORD dwFlags = 0;
        return GetWindowLongW(hPage, GWL_EXSTYLE) == (WS_EX_LAYERED | WS_EX_TRANSPARENT) &&
               GetLayeredWindowAttributes(hPage, nullptr, &nAlpha, &dwFlags) != FALSE && nAlpha == 1 &&
               dwFlags == LWA_ALPHA;
    }

    static constexpr COLORREF kHostColour = RGB(255, 255, 255);
    /** An empty pane's. */
    static constexpr COLORREF kPaneColour = RGB(0, 0, 0);

private:
    std::vector<HWND> m_videos;
};

} // namespace embedding

#endif
