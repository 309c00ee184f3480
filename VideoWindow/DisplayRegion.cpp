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

float quotient(int nDividend, int nDivisor)
{
    return static_cast<float>(nDividend) / static_cast<float>(nDivisor);
}

} // namespace pellora
