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
    /** There is a picture in it, or something torn, not just parameter sets or supplementary information. Other codecs:
     *  always. */
    bool picture = true;
    /** Joined here, the pictures are whole after so many more of them (a recovery point). */
    std::optional<int> recoversAfter;
    /** The picture is made of nothing but itself. */
    bool intra = false;
    /** Nothing that is shown behind it refers to anything before it: IDR, or a random access point of H.265. Of key
     *  pictures of other codecs: always. */
    bool refresh = true;
    /** H.265: there is supplementary information in it. */
    bool information = false;

    [[nodiscard]] static CodedUnits of(const AVPacket &packet, const AVCodecParameters &parameters);
    /** Makes a decoder of H.265 pass over the supplementary information in it. The packet has to be writable. */
    static void hideInformation(AVPacket &packet, const AVCodecParameters &parameters);
};

} // namespace player

#endif
