#include "player/src/picture/CodedRegion.h"

#include <algorithm>
#include <cstdint>

namespace player
{

namespace
{

/** The rectangle before the clockwise rotation that led to the displayed picture. */
PixelRect rotatedBack(const PixelRect &region, const PictureShape &shape)
{
    switch (shape.rotation) {
    case 90:
        return {region.top, shape.width - region.right, region.bottom, shape.width - region.left};
    case 180:
        return {shape.width - region.right, shape.height - region.bottom, shape.width - region.left,
                shape.height - region.top};
    case 270:
        return {shape.height - region.bottom, region.left, shape.height - region.top, region.right};
    default:
        return region;
    }
}

/** Both ends of a stretch, from one length of the whole to another; at least one unit stays. */
void rescale(int &first, int &end, int fromLength, int toLength)
{
    const auto rescaled = [=](int place) {
        return static_cast<int>((2 * std::int64_t{place} * toLength + fromLength) / (2 * std::int64_t{fromLength}));
    };
    first = std::min(rescaled(first), toLength - 1);
    end = std::max(rescaled(end), first + 1);
}

} // namespace

PixelRect clampToPicture(const PixelRect &region, const PictureShape &shape)
{
    return {std::max(region.left, 0), std::max(region.top, 0), std::min(region.right, shape.width),
            std::min(region.bottom, shape.height)};
}

PixelRect codedRegion(const PixelRect &region, const PictureShape &shape, int codedWidth, int codedHeight)
{
    const bool isSideways = shape.rotation % 180 != 0;
    const int uprightWidth = isSideways ? shape.height : shape.width;
    const int uprightHeight = isSideways ? shape.width : shape.height;

    PixelRect coded = rotatedBack(region, shape);
    if (shape.mirrored) {
        coded = {uprightWidth - coded.right, coded.top, uprightWidth - coded.left, coded.bottom};
    }
    rescale(coded.left, coded.right, uprightWidth, codedWidth);
    rescale(coded.top, coded.bottom, uprightHeight, codedHeight);
    return coded;
}

} // namespace player
