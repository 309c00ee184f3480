#include "VideoWindow/DisplayRegion.h"

#include "rules/RuleArithmetic.h"

#include <algorithm>

namespace pellora
{

namespace
{

int pixels(long nThousandths, int nExtent)
{
    return truncated(static_cast<double>(nThousandths) * nExtent / 1000.0);
}

float quotient(int nDividend, int nDivisor)
{
    return static_cast<float>(nDividend) / static_cast<float>(nDivisor);
}

/** Right less left, and bottom less top; negative where the rectangle is turned round. */
PixelSize extentOf(const PixelRect &rect)
{
    return {wrappingSubtract(rect.right, rect.left), wrappingSubtract(rect.bottom, rect.top)};
}

} // namespace

PixelRect regionInPixels(const RECT &region, PixelSize extent)
{
    return {pixels(region.left, extent.width), pixels(region.top, extent.height), pixels(region.right, extent.width),
            pixels(region.bottom, extent.height)};
}

bool isEmptyRegion(const PixelRect &rect)
{
    return rect.left == rect.right || rect.top == rect.bottom;
}

std::optional<PictureChange> changeToRegion(const DisplayRegion &region, const PixelRect &picture)
{
    // Of the picture as it is, which another region may have made. docs/compatibility.md: regions-add-up.
    const PixelSize whole = extentOf(picture);
    const PixelRect part = regionInPixels(region.thousandths, whole);
    if (isEmptyRegion(part)) {
        return std::nullopt;
    }
    const PixelSize extent = extentOf(part);
    PictureChange change;
    change.nOffsetX = wrappingSubtract(0, part.left);
    change.fScaleX = quotient(whole.width, extent.width);
    if (region.wOriginPos == 2) {
        change.nOffsetY = wrappingSubtract(part.top, whole.height);
        // The width, not the height. docs/compatibility.md: bottom-origin-by-width.
        change.fScaleY = quotient(whole.width, wrappingSubtract(0, extent.height));
    } else {
        change.nOffsetY = wrappingSubtract(0, part.top);
        change.fScaleY = quotient(whole.height, extent.height);
    }
    // Rules scaled to nothing could never come back.
    const PixelRect changed =
        scaled(moved(picture, {change.nOffsetX, change.nOffsetY}), change.fScaleX, change.fScaleY);
    return isEmptyRegion(changed) ? std::nullopt : std::optional(change);
}

PictureChange changeToWhole(const PixelRect &picture, PixelSize pane)
{
    const PixelSize extent = extentOf(picture);
    PictureChange change;
    change.nOffsetX = wrappingSubtract(0, picture.left);
    change.nOffsetY = wrappingSubtract(0, picture.top);
    change.fScaleX = extent.width != 0 ? quotient(pane.width, extent.width) : 1.0F;
    change.fScaleY = extent.height != 0 ? quotient(pane.height, extent.height) : 1.0F;
    return change;
}

PictureChange changeToSize(PixelSize before, PixelSize after)
{
    return {0, 0, quotient(after.width, before.width), quotient(after.height, before.height)};
}

PixelRect wholePicture(PixelSize pane)
{
    return {0, 0, std::max(pane.width, 1), std::max(pane.height, 1)};
}

PixelRect pictureOf(const DisplayRegion &region, PixelSize pane)
{
    const PixelRect whole = wholePicture(pane);
    const PictureChange change = changeToRegion(region, whole).value_or(PictureChange{});
    return scaledPicture(moved(whole, {change.nOffsetX, change.nOffsetY}), change.fScaleX, change.fScaleY);
}

} // namespace pellora
