#include "rules/CoordinateMapping.h"

#include "rules/RuleArithmetic.h"

namespace pellora
{

namespace
{

constexpr double kFullScale = 1000.0;

std::int32_t normalised(std::int32_t nOffset, std::int32_t nExtent)
{
    return truncated(divided(nOffset * kFullScale, nExtent));
}

} // namespace

bool PictureGeometry::converts() const
{
    return originPos == kTopLeft || originPos == kBottomLeft;
}

NormalisedPoint PictureGeometry::toNormalised(PixelPoint point) const
{
    const std::int32_t nFromTop = wrappingSubtract(point.y, picture.top);
    const std::int32_t nRow = originPos == kBottomLeft ? wrappingSubtract(height, nFromTop) : nFromTop;
    return {normalised(wrappingSubtract(point.x, picture.left), width), normalised(nRow, height)};
}

PixelPoint PictureGeometry::toPixels(NormalisedPoint point) const
{
    // docs/compatibility.md: wrapping-coordinates.
    const std::int32_t x = truncated(wrappingMultiply(point.nX, width) / kFullScale + picture.left);
    if (originPos == kBottomLeft) {
        return {x, truncated((kFullScale - point.nY) * height / kFullScale + picture.top)};
    }
    return {x, truncated(wrappingMultiply(point.nY, height) / kFullScale + picture.top)};
}

void PictureGeometry::setPicture(const PixelRect &newPicture)
{
    picture = newPicture;
    width = wrappingSubtract(picture.right, picture.left);
    height = wrappingSubtract(picture.bottom, picture.top);
}

void PictureGeometry::move(std::int32_t dx, std::int32_t dy)
{
    setPicture(moved(picture, {dx, dy}));
}

void PictureGeometry::scale(float fx, float fy)
{
    setPicture(scaledPicture(picture, fx, fy));
}

} // namespace pellora
