#ifndef PLAYER_HARDWAREDECODING_H
#define PLAYER_HARDWAREDECODING_H

#include "player/src/core/Ffmpeg.h"

namespace player
{

/**
 * Decoding by the graphics card, through Direct3D 11.
 *
 * Where the system has none, or it cannot decode a stream, the processor decodes as if nobody had asked. Pictures are
 * copied into memory at once, as NV12 or, deeper ones, P010: nothing behind the decoder knows of any other.
 */

/** Decoders that are opened from now on try it, or do not, as at first. Any thread. */
void allowHardwareDecoding(bool allowed);
/** For a decoder that is not open yet. */
void useHardware(AVCodecContext &codec);
/** The next decoded picture, in memory; the answers of avcodec_receive_frame(). */
int receivePicture(AVCodecContext &codec, AVFrame &frame);

} // namespace player

#endif
