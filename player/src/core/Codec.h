#ifndef PLAYER_CODEC_H
#define PLAYER_CODEC_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <functional>

namespace player
{

/**
 * A decoder for the stream's pictures. `configure` sets it up before it is opened. Throws OpenFailure: Unsupported
 * where FFmpeg has no decoder for it, and where the container says that they are too large. Pictures come out of it by
 * receivePicture().
 */
[[nodiscard]] CodecPtr openDecoder(const AVStream &stream, const std::function<void(AVCodecContext &codec)> &configure);
/** What a coded picture itself says, where its codec has a parser that reads it; see ffmpeg::isTooLarge(). */
[[nodiscard]] bool isTooLarge(const AVPacket &packet, const AVStream &stream);
/** Memory for a picture, as every decoder asks for it. Refuses one that is too large. */
int allocatePicture(AVCodecContext *pCodec, AVFrame *pFrame, int flags);
/**
 * Microseconds from one tick to another. What is more than a hundred years ends there, so that whoever adds it to a
 * moment cannot overflow.
 */
[[nodiscard]] std::int64_t microsecondsBetween(std::int64_t from, std::int64_t to, AVRational tick);
/** Forgets everything that was fed. */
void flushDecoder(AVCodecContext &codec);
/** The processor's threads, but no more than these. */
[[nodiscard]] int processorThreads(int most);

/** Throw OpenFailure without memory. */
[[nodiscard]] FramePtr makeFrame();
[[nodiscard]] PacketPtr makePacket();

} // namespace player

#endif
