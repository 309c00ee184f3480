#ifndef TESTS_EMBEDDING_PAGEWINDOW_H
#define TESTS_EMBEDDING_PAGEWINDOW_H

#include <windows.h>

#include <map>

namespace embedding
{

constexpr const wchar_t *kRenderWidget = L"Chrome_RenderWidgetHostHWND";
constexpr const wchar_t *kD3dWindow = L"Intermediate D3D Window";

/**
 * A child of a host window such as the page of a Chromium shell brings: green, and takes the focus at a click.
 *
 * Threads: the one that made it, whose messages have to run.
 * Owns:    the window, unless the host has destroyed it first.
 * Units:   pixels of the host's client area.
 */
class PageWindow
{
public:
    static constexpr COLORREF kColour = RGB(0, 160, 0);

    PageWindow(HWND hHostWnd, const wchar_t *pClassName, int x = 0, int y = 0, int width = 50, int height = 50);
    ~PageWindow();
    PageWindow(const PageWindow &) = delete;
    PageWindow &operator=(const PageWindow &) = delete;

    [[nodiscard]] HWND handle() const;
    void destroy();
    /** How often its procedure got the message. */
    [[nodiscard]] int received(UINT nMessage) const;

private:
    static LRESULT CALLBACK procedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);

    HWND m_hWnd;
    std::map<UINT, int> m_received;
};

} // namespace embedding

#endif
