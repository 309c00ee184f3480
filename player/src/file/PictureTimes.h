#ifndef PLAYER_PICTURETIMES_H
#define PLAYER_PICTURETIMES_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <optional>

namespace player
{

/** What a packet says of when it is shown or, where it does not, decoded; AV_NOPTS_VALUE where it says neither. */
[[nodiscard]] inline std::int64_t stampOfPacket(const AVPacket &packet)
{
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

// When pictures are shown, and for how long. Decoder and index go by these, so that both tell the same of a picture.
// Units: microseconds. Threads: any.

/**
 * The time of a picture behind the latest one, if there is one: what its own stamp says, counted from the first
 * picture, else a usual duration later. Times always rise.
 */
[[nodiscard]] std::int64_t nextPictureTime(const std::optional<std::int64_t> &latest,
                                           const std::optional<std::int64_t> &fromFirst, std::int64_t usualDuration);
/** How long a picture lasts that says so, in ticks: an hour at most. */
[[nodiscard]] std::int64_t toldDuration(std::int64_t ticks, AVRational tick);

} // namespace player

#endif
