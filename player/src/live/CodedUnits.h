#ifndef PLAYER_CODEDUNITS_H
#define PLAYER_CODEDUNITS_H

#include "player/src/core/Ffmpeg.h"

#include <optional>

namespace player
{

/**
 * What a coded picture of H.264 or H.265 is made of, as far as nobody else tells it.
 *
 * Threads: any; nothing is kept.
 */
struct CodedUnits {
    /** There is a picture in it, not just parameter sets or supplementary information. Other codecs: always. */
    bool picture = true;
    /** H.265: joined here, the pictures are whole after so many more of them (a recovery point). */
    std::optional<int> recoversAfter;

    [[nodiscard]] static CodedUnits of(const AVPacket &packet, const AVCodecParameters &parameters);
};

} // namespace player

#endif
