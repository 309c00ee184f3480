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

/** How rules and picture change when something else is shown: they are moved first, then scaled. */
struct PictureChange {
    int nOffsetX = 0;
    int nOffsetY = 0;
    float fScaleX = 1.0F;
    float fScaleY = 1.0F;
};

/** The part of a picture of this size, neither of them empty, is shown in its place. */
[[nodiscard]] PictureChange changeToRegion(const PixelRect &part, PixelSize picture, unsigned short wOriginPos);

/** The picture fills a pane of this size again. A picture of no width or height keeps it. */
[[nodiscard]] PictureChange changeToWhole(const PixelRect &picture, PixelSize pane);

/** The pane is resized; neither width nor height was 0. */
[[nodiscard]] PictureChange changeToSize(PixelSize before, PixelSize after);

/** Where the picture lies after the change. */
[[nodiscard]] PixelRect changedPicture(const PixelRect &picture, const PictureChange &change);

} // namespace pellora

#endif
