#ifndef PLAYER_PIXELRECT_H
#define PLAYER_PIXELRECT_H

namespace player
{

/** A rectangle of picture pixels; right and bottom are outside it. */
struct PixelRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    [[nodiscard]] int width() const
    {
        return right - left;
    }

    [[nodiscard]] int height() const
    {
        return bottom - top;
    }

    [[nodiscard]] bool isEmpty() const
    {
        return right <= left || bottom <= top;
    }
};

} // namespace player

#endif
