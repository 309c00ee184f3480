#ifndef PLAYER_CODEDREGION_H
#define PLAYER_CODEDREGION_H

#include "player/src/picture/PictureShape.h"
#include "player/src/picture/PixelRect.h"

namespace player
{

/** The displayed rectangle without what lies outside the picture; empty where nothing is left. */
[[nodiscard]] PixelRect clampToPicture(const PixelRect &region, const PictureShape &shape);

/**
 * The coded pixels behind a rectangle of displayed ones: mirroring, rotation and pixel aspect undone.
 *
 * The rectangle lies inside the picture and is not empty; neither is the result.
 */
[[nodiscard]] PixelRect codedRegion(const PixelRect &region, const PictureShape &shape, int codedWidth,
                                    int codedHeight);

} // namespace player

#endif
