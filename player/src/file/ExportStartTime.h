#ifndef PLAYER_EXPORTSTARTTIME_H
#define PLAYER_EXPORTSTARTTIME_H

#include "player/src/core/ByteSource.h"

#include <cstdint>
#include <optional>

namespace player
{

/**
 * When an MP4 file that was exported by ONVIF's rules was recorded: its time line's beginning, in microseconds since
 * 1970, UTC; empty where nothing tells.
 *
 * That is the StartTimeBox ("cstb") which ONVIF's export file format adds: for each track its number and tenths of
 * microseconds since 1601. Boxes as in ISO/IEC 14496-12. The one of the track counts, else the first. Looks at the
 * heads of a bounded number of boxes, and leaves the source anywhere.
 */
[[nodiscard]] std::optional<std::int64_t> exportStartTime(ByteSource &bytes, std::uint32_t track);

/**
 * When the first picture of a fragmented MP4 was taken, as its producer says ("prft"), in microseconds since 1970, UTC;
 * empty where nothing tells. Of the later fragments nothing is asked. As bounded as the other.
 */
[[nodiscard]] std::optional<std::int64_t> firstReferenceTime(ByteSource &bytes);

} // namespace player

#endif
