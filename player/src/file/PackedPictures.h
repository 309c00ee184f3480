#ifndef PLAYER_PACKEDPICTURES_H
#define PLAYER_PACKEDPICTURES_H

#include "player/src/core/Ffmpeg.h"

namespace player
{

/**
 * MPEG-4 in AVI: one packet may hold a picture and the one that is shown before it. FFmpeg's decoder gives the latter
 * out for the next packet, which is as good as empty, or holds a picture that stands for the one after it in turn.
 *
 * Whether such a picture stands for the packet behind this one. `stoodIn`: one stood for this packet. Threads: any.
 */
[[nodiscard]] bool isNextPacked(const AVPacket &packet, bool stoodIn);

} // namespace player

#endif
