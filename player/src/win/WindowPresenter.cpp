#include "player/src/win/WindowPresenter.h"

#include "player/src/core/Ffmpeg.h"
#include "player/src/win/Gdi.h"

#include <timeapi.h>

namespace player
{

namespace
{

// Waits end at the system's clock ticks, which by default are 15.6 ms apart: pictures would come in fits and starts.
constexpr UINT kTimerResolution = 1;

} // namespace

WindowPresenter::WindowPresenter(HWND hWnd) : m_hWnd(hWnd)
{
    timeBeginPeriod(kTimerResolution);
}

WindowPresenter::~WindowPresenter()
{
    timeEndPeriod(kTimerResolution);
}

bool WindowPresenter::matchClientSize()
{
    RECT client{};
    if (!GetClientRect(m_hWnd, &client) || client.right <= 0 || client.bottom <= 0) {
        return false;
    }
    return m_image.resize(client.right, client.bottom);
}

void WindowPresenter::present(const Picture &picture, const PixelRect &region, const Overlay &overlay)
{
    if (!matchClientSize()) {
        return;
    }
    GdiFlush();
    if (!m_converter.convert(*picture.pFrame, picture.shape, region, m_image.pixels())) {
        return;
    }
    if (overlay) {
        const SavedDc saved(m_image.dc());
        overlay(m_image.dc());
    }
    const WindowDc window(m_hWnd);
    if (window.get()) {
        BitBlt(window.get(), 0, 0, m_image.pixels().width, m_image.pixels().height, m_image.dc(), 0, 0, SRCCOPY);
    }
}

} // namespace player
