#ifndef PLAYER_YUVTABLE_H
#define PLAYER_YUVTABLE_H

#include "player/src/picture/ColourSpec.h"

namespace libyuv
{
struct YuvConstants;
}

namespace player
{

/**
 * libyuv's conversion factors for a matrix and range, computed from its definition.
 *
 * libyuv's own tables of BT.709 and BT.2020 in limited range hold 128 / 64 for the factor of blue, where 135 and 137
 * are due: saturated blues come out darker by up to 12 levels. Its code takes the right values without overflow.
 */
[[nodiscard]] const libyuv::YuvConstants &yuvTable(const ColourSpec &spec);

} // namespace player

#endif
