#ifndef PLAYER_CODEC_H
#define PLAYER_CODEC_H

#include "player/src/core/Ffmpeg.h"

#include <functional>

namespace player
{

/**
 * A decoder for the stream's pictures. `configure` sets it up before it is opened. Throws OpenFailure: Unsupported
 * where FFmpeg has no decoder for it.
 */
[[nodiscard]] CodecPtr openDecoder(const AVStream &stream, const std::function<void(AVCodecContext &codec)> &configure);
/** Forgets everything that was fed. */
void flushDecoder(AVCodecContext &codec);
/** The processor's threads, but no more than these. */
[[nodiscard]] int processorThreads(int most);

/** Throw OpenFailure without memory. */
[[nodiscard]] FramePtr makeFrame();
[[nodiscard]] PacketPtr makePacket();

} // namespace player

#endif
