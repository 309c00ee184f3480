#include "player/src/win/WindowPresenter.h"

#include "gdi/SavedDc.h"
#include "gdi/WindowDc.h"
#include "player/src/core/Ffmpeg.h"

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

bool WindowPresenter::canBeSeen()
{
    // None of these sends a message. A window is visible only if its parents are.
    RECT client{};
    const bool bSeen = IsWindowVisible(m_hWnd) && !IsIconic(GetAncestor(m_hWnd, GA_ROOT)) &&
                       GetClientRect(m_hWnd, &client) && client.right > 0 && client.bottom > 0;
    if (!bSeen && m_image.dc()) {
        // It may stay so for long.
        m_pInImage.reset();
        m_image.free();
        m_clean.free();
        m_converter.trim();
    }
    return bSeen;
}

bool WindowPresenter::matchClientSize()
{
    RECT client{};
    if (!GetClientRect(m_hWnd, &client) || client.right <= 0 || client.bottom <= 0) {
        return false;
    }
    const BgraImage &image = m_image.pixels();
    if (image.width != client.right || image.height != client.bottom) {
        m_pInImage.reset();
    }
    return m_image.resize(client.right, client.bottom);
}

bool WindowPresenter::isInImage(const Picture &picture, const PixelRect &region) const
{
    const PixelRect &shown = m_regionInImage;
    return m_pInImage.lock() == picture.pFrame && shown.left == region.left && shown.top == region.top &&
           shown.right == region.right && shown.bottom == region.bottom;
}

bool WindowPresenter::convert(const Picture &picture, const PixelRect &region, const MemoryImage &image)
{
    return m_converter.convert(*picture.pFrame, picture.shape, region, image.pixels());
}

bool WindowPresenter::prepareImage(const Picture &picture, const PixelRect &region)
{
    if (isInImage(picture, region)) {
        return !m_bOverlayInImage || restoreImage(picture, region);
    }
    m_bCleanMade = false;
    m_pInImage.reset();
    if (!convert(picture, region, m_image)) {
        return false;
    }
    m_pInImage = picture.pFrame;
    m_regionInImage = region;
    return true;
}

bool WindowPresenter::restoreImage(const Picture &picture, const PixelRect &region)
{
    const BgraImage &image = m_image.pixels();
    if (!m_bCleanMade) {
        m_bCleanMade = m_clean.resize(image.width, image.height) && convert(picture, region, m_clean);
    }
    // Without memory for a second image there is still the picture.
    return m_bCleanMade ? BitBlt(m_image.dc(), 0, 0, image.width, image.height, m_clean.dc(), 0, 0, SRCCOPY) != 0
                        : convert(picture, region, m_image);
}

void WindowPresenter::present(const Picture &picture, const PixelRect &region, const Overlay &overlay)
{
    if (!matchClientSize() || !prepareImage(picture, region)) {
        return;
    }
    m_bOverlayInImage = static_cast<bool>(overlay);
    if (overlay) {
        const gdi::SavedDc saved(m_image.dc());
        overlay(m_image.dc());
    }
    const gdi::WindowDc window(m_hWnd);
    if (window.get()) {
        BitBlt(window.get(), 0, 0, m_image.pixels().width, m_image.pixels().height, m_image.dc(), 0, 0, SRCCOPY);
    }
    // GDI keeps a thread's calls back. The next picture may be converted into the image by another thread.
    GdiFlush();
}

} // namespace player
