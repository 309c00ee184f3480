#ifndef PLAYER_SHUFFLEROW_H
#define PLAYER_SHUFFLEROW_H

#include "player/src/picture/RowShrinker.h"

namespace player
{

/** Eight samples for each entry of the table. Needs SSSE3; reads sixteen samples from each entry's first one on. */
void shuffleRow(const EightSamples *pTable, int entries, const std::uint8_t *pSource, std::uint8_t *pTarget);

} // namespace player

#endif
