#ifndef VIDEOWINDOW_DISPLAYREGION_H
#define VIDEOWINDOW_DISPLAYREGION_H

#include "rules/RuleTypes.h"

#include <windows.h>

namespace pellora
{

// Arithmetic of display regions, defined for whatever a host passes.

/** Thousandths of an extent as pixels, truncated towards zero. */
[[nodiscard]] PixelRect regionInPixels(const RECT &region, PixelSize extent);

/** Right less left, and bottom less top; negative where the rectangle is turned round. */
[[nodiscard]] PixelSize extentOf(const PixelRect &rect);

/** Without width or without height; a rectangle that is turned round has both. */
[[nodiscard]] bool isEmptyRegion(const PixelRect &rect);

/** The divisor is not 0. */
[[nodiscard]] float quotient(int nDividend, int nDivisor);

} // namespace pellora

#endif
