#ifndef VIDEOWINDOW_DISPLAYREGION_H
#define VIDEOWINDOW_DISPLAYREGION_H

#include "rules/RuleTypes.h"

#include <windows.h>

#include <optional>

namespace pellora
{

// Arithmetic of display regions, defined for whatever a host passes.

/** A part of the picture, and the origin that its rows are counted from. */
struct DisplayRegion {
    RECT thousandths = {};
    unsigned short wOriginPos = 1;
};

/** Thousandths of an extent as pixels, truncated towards zero. */
[[nodiscard]] PixelRect regionInPixels(const RECT &region, PixelSize extent);

/** Without width or without height; a rectangle that is turned round has both. */
[[nodiscard]] bool isEmptyRegion(const PixelRect &rect);

/** How rules and picture change when something else is shown: they are moved first, then scaled. */
struct PictureChange {
    int nOffsetX = 0;
    int nOffsetY = 0;
    float fScaleX = 1.0F;
    float fScaleY = 1.0F;
};

/** The region is shown in the picture's place. None for one that is empty in pixels or leaves nothing of the picture.
 */
[[nodiscard]] std::optional<PictureChange> changeToRegion(const DisplayRegion &region, const PixelRect &picture);

/** The picture fills a pane of this size again. A picture of no width or height keeps it. */
[[nodiscard]] PictureChange changeToWhole(const PixelRect &picture, PixelSize pane);

/** The pane is resized; neither width nor height was 0. */
[[nodiscard]] PictureChange changeToSize(PixelSize before, PixelSize after);

/** Where the whole picture lies in a pane of this size; it has at least one pixel. */
[[nodiscard]] PixelRect wholePicture(PixelSize pane);

/** Where the picture lies when the region of it fills a pane of this size; a region that cannot be shown changes
 * nothing. */
[[nodiscard]] PixelRect pictureOf(const DisplayRegion &region, PixelSize pane);

} // namespace pellora

#endif
