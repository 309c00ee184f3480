#include "VideoWindow/DisplayRegion.h"

#include "rules/RuleArithmetic.h"

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

} // namespace

PixelRect regionInPixels(const RECT &region, PixelSize extent)
{
    return {pixels(region.left, extent.width), pixels(region.top, extent.height), pixels(region.right, extent.width),
            pixels(region.bottom, extent.height)};
}

PixelSize extentOf(const PixelRect &rect)
{
    return {wrappingSubtract(rect.right, rect.left), wrappingSubtract(rect.bottom, rect.top)};
}

bool isEmptyRegion(const PixelRect &rect)
{
    return rect.left == rect.right || rect.top == rect.bottom;
}

PictureChange changeToRegion(const PixelRect &part, PixelSize picture, unsigned short wOriginPos)
{
    const PixelSize extent = extentOf(part);
    PictureChange change;
    change.nOffsetX = wrappingSubtract(0, part.left);
    change.fScaleX = quotient(picture.width, extent.width);
    if (wOriginPos == 2) {
        change.nOffsetY = wrappingSubtract(part.top, picture.height);
        // The width, not the height: hosts that count from the bottom have always had their rules scaled so.
        change.fScaleY = quotient(picture.width, wrappingSubtract(0, extent.height));
    } else {
        change.nOffsetY = wrappingSubtract(0, part.top);
        change.fScaleY = quotient(picture.height, extent.height);
    }
    return change;
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

PixelRect changedPicture(const PixelRect &picture, const PictureChange &change)
{
    return scaledPicture(moved(picture, {change.nOffsetX, change.nOffsetY}), change.fScaleX, change.fScaleY);
}

} // namespace pellora
