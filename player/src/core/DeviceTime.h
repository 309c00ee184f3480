#ifndef PLAYER_DEVICETIME_H
#define PLAYER_DEVICETIME_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <optional>

namespace player
{

/**
 * When a picture was taken, as the device library says in its live Matroska stream, pushed or saved: microseconds since
 * 1970, UTC, of any number; empty where the packet does not tell. Each block has it as eight bytes added to it under
 * the identifier 1, most significant byte first.
 */
[[nodiscard]] std::optional<std::int64_t> deviceTimeOf(const AVPacket &packet);

} // namespace player

#endif
