#include "player/tests/support/PictureNumber.h"

#include "player/src/core/Ffmpeg.h"
#include "player/src/picture/PictureConverter.h"
#include "tests/support/BarCode.h"

#include <vector>

namespace player::test
{

int numberOf(const Picture &picture)
{
    constexpr int kWidth = 320;
    constexpr int kHeight = 64;
    std::vector<std::uint8_t> pixels(std::size_t{kWidth} * kHeight * 4);
    const BgraImage image{pixels.data(), kWidth * 4, kWidth, kHeight};
    PictureConverter converter;
    const PixelRect whole{0, 0, picture.shape.width, picture.shape.height};
    if (!picture || !converter.convert(*picture.pFrame, picture.shape, whole, image)) {
        return -1;
    }
    return testsupport::readBarCode(pixels.data(), image.stride, kWidth, kHeight).value_or(-1);
}

} // namespace player::test
