#ifndef PLAYER_SOUNDPACKET_H
#define PLAYER_SOUNDPACKET_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <memory>

namespace player
{

/** Coded sound on its way to the decoder. Units: microseconds of the source. */
struct SoundPacket {
    PacketPtr pPacket;
    /** Of its stream; another pointer is another stream. */
    std::shared_ptr<const AVCodecParameters> pParameters;
    /** AV_NOPTS_VALUE where nobody tells. */
    std::int64_t time = AV_NOPTS_VALUE;
};

} // namespace player

#endif
