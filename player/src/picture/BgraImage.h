#ifndef PLAYER_BGRAIMAGE_H
#define PLAYER_BGRAIMAGE_H

#include <cstdint>

namespace player
{

/**
 * A borrowed 32-bit image, as a top-down DIB section holds it: blue, green, red, 255 in memory.
 *
 * Units: stride in bytes from one row to the next one below, at least width * 4.
 */
struct BgraImage {
    std::uint8_t *pPixels = nullptr;
    int stride = 0;
    int width = 0;
    int height = 0;
};

} // namespace player

#endif
