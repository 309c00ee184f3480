#ifndef PLAYER_FFMPEG_H
#define PLAYER_FFMPEG_H

#include "ffmpeg/FfmpegHandles.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/mathematics.h>
#include <libavutil/parseutils.h>
}

namespace player
{

using ffmpeg::CodecPtr;
using ffmpeg::FormatPtr;
using ffmpeg::FramePtr;
using ffmpeg::IoPtr;
using ffmpeg::PacketPtr;

} // namespace player

#endif
