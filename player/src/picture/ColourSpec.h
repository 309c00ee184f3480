#ifndef PLAYER_COLOURSPEC_H
#define PLAYER_COLOURSPEC_H

struct AVFrame;

namespace player
{

enum class ColourMatrix { Bt601, Bt709, Bt2020 };

/** What the numbers of a YUV picture mean: the matrix that leads to RGB, and whether black is 0 or 16. */
struct ColourSpec {
    ColourMatrix matrix = ColourMatrix::Bt601;
    bool fullRange = false;

    bool operator==(const ColourSpec &other) const
    {
        return matrix == other.matrix && fullRange == other.fullRange;
    }
};

/** As the frame tells. Untold: BT.709 from high definition up and BT.601 below; limited range, but for JPEG formats. */
[[nodiscard]] ColourSpec colourSpecOf(const AVFrame &frame);

} // namespace player

#endif
