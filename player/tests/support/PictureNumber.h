#ifndef PLAYER_PICTURENUMBER_H
#define PLAYER_PICTURENUMBER_H

#include "player/src/core/Picture.h"

namespace player::test
{

/** The number that a decoded picture of a test clip carries; -1 when it cannot be read. */
[[nodiscard]] int numberOf(const Picture &picture);

} // namespace player::test

#endif
