#include "tests/live/PaneScreen.h"

#include "tests/cameras/CameraBed.h"
#include "tests/support/BarCode.h"
#include "tests/support/ScreenBytes.h"

#include <QApplication>
#include <QWidget>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <utility>

namespace live
{

namespace
{

/** Copies what is on the screen where the window lies. */
Shot shootWindow(HWND hWnd)
{
    RECT client = {};
    POINT origin = {};
    GetClientRect(hWnd, &client);
    ClientToScreen(hWnd, &origin);
    Shot shot;
    shot.nWidth = client.right;
    shot.nHeight = client.bottom;
    shot.bytes = support::screenBytes({origin.x, origin.y, origin.x + client.right, origin.y + client.bottom});
    return shot;
}

/** Whether a row's pixels, but for the frame around the pane, are of one colour. */
bool isPlain(const Shot &shot, int nRow)
{
    const std::uint8_t *pRow = shot.row(nRow);
    int nDarkest = 255;
    int nBrightest = 0;
    for (int x = 4; x < shot.nWidth - 4; ++x) {
        nDarkest = std::min<int>(nDarkest, pRow[4 * x + 1]);
        nBrightest = std::max<int>(nBrightest, pRow[4 * x + 1]);
    }
    return nBrightest - nDarkest < 32;
}

/**
 * Whether two numbers are of a camera's neighbouring pictures, the last and the first of its round included.
 *
 * An X server takes and gives large pictures in pieces, so that now and then a shot catches a change of pictures half
 * done. A picture whose lower part was lost does not pass for that: the ones that build on it keep the old number
 * there, further and further behind.
 */
bool areNeighbours(int nOne, int nOther)
{
    constexpr int kApart = 2;
    const int nCamera = nOne / cameras::kPicturesPerCamera;
    return nOther / cameras::kPicturesPerCamera == nCamera &&
           std::abs(cameras::shorterWay(nOne - nOther, cameras::picturesOf(nCamera))) <= kApart;
}

PaneView understand(const Shot &shot)
{
    constexpr int kLeast = 8;
    if (shot.nWidth < kLeast || shot.nHeight < kLeast) {
        return {};
    }
    const int nStride = 4 * shot.nWidth;
    const std::optional<int> top = testsupport::readBarCode(shot.bytes.data(), nStride, shot.nWidth, shot.nHeight);
    // The second code lies over the bottom quarter.
    const std::optional<int> bottom =
        testsupport::readBarCode(shot.row(shot.nHeight * 3 / 4), nStride, shot.nWidth, shot.nHeight);
    if (top && top == bottom) {
        return {PaneView::Kind::Whole, *top / cameras::kPicturesPerCamera, *top % cameras::kPicturesPerCamera};
    }
    if (top && bottom && areNeighbours(*top, *bottom)) {
        return {PaneView::Kind::Between, -1, -1};
    }
    const bool bPlain =
        isPlain(shot, shot.nHeight / 8) && isPlain(shot, shot.nHeight / 2) && isPlain(shot, shot.nHeight * 7 / 8);
    return {bPlain ? PaneView::Kind::Empty : PaneView::Kind::Broken, -1, -1};
}

} // namespace

PaneScreen::PaneScreen()
{
    std::size_t nFound = 0;
    for (const QWidget *pWindow : QApplication::topLevelWidgets()) {
        for (const QWidget *pLabel : pWindow->findChildren<QWidget *>("m_pLiveViewWnd")) {
            if (nFound < m_windows.size()) {
                m_windows.at(nFound++) = reinterpret_cast<HWND>(pLabel->winId());
            }
        }
    }
}

Shot PaneScreen::shoot(int nPane) const
{
    const HWND hWnd = m_windows.at(static_cast<std::size_t>(nPane));
    return hWnd == nullptr || !IsWindowVisible(hWnd) ? Shot() : shootWindow(hWnd);
}

PaneView PaneScreen::read(int nPane, Shot *pShot) const
{
    // Where a busy machine has let pictures out, a change of pictures that is half done looks broken, too. It is over
    // in a moment; what a decoder has broken stays until the next key picture.
    constexpr int kLooks = 6;
    Shot shot = shoot(nPane);
    PaneView view = understand(shot);
    for (int i = 1; i < kLooks && view.kind == PaneView::Kind::Broken; ++i) {
        constexpr DWORD kMoment = 20;
        Sleep(kMoment);
        shot = shoot(nPane);
        view = understand(shot);
    }
    if (pShot != nullptr) {
        *pShot = std::move(shot);
    }
    return view;
}

void writeShot(const Shot &shot, const std::string &path)
{
    std::ofstream file(path, std::ios::binary);
    file << "P6 " << shot.nWidth << ' ' << shot.nHeight << " 255\n";
    for (std::size_t i = 0; i < shot.bytes.size(); i += 4) {
        file << static_cast<char>(shot.bytes[i + 2]) << static_cast<char>(shot.bytes[i + 1])
             << static_cast<char>(shot.bytes[i]);
    }
}

} // namespace live
