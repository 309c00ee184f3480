#ifndef TESTS_LIVE_PANESCREEN_H
#define TESTS_LIVE_PANESCREEN_H

#include <windows.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace live
{

/** A part of the screen as rows of BGRX, from the top. */
struct Shot {
    std::vector<std::uint8_t> bytes;
    int nWidth = 0;
    int nHeight = 0;

    [[nodiscard]] const std::uint8_t *row(int nRow) const
    {
        return bytes.data() + std::size_t{4} * nRow * nWidth;
    }
};

/** What a pane shows, as a camera of the test bed numbers its pictures. */
struct PaneView {
    enum class Kind {
        Empty,   /**< one colour */
        Broken,  /**< a picture that is not whole for a tenth of a second, or none of a camera's */
        Between, /**< the upper part of one picture and the lower part of its neighbour */
        Whole,
    };
    Kind kind = Kind::Empty;
    int nCamera = -1; /**< identity of the camera; where whole */
    int nPicture = -1;
};

/**
 * Reads the pictures of a video window's nine panes from the screen.
 *
 * Threads: the one that owns the windows.
 * Errors:  a pane that is not shown is empty.
 */
class PaneScreen
{
public:
    /** Finds the panes of the only video window that there is. */
    PaneScreen();

    /** What a pane shows; `pShot` gets the pixels that say so. */
    [[nodiscard]] PaneView read(int nPane, Shot *pShot = nullptr) const;

private:
    [[nodiscard]] Shot shoot(int nPane) const;

    std::array<HWND, 9> m_windows{};
};

/** For people: writes a shot as a PPM file. */
void writeShot(const Shot &shot, const std::string &path);

} // namespace live

#endif
