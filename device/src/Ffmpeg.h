#ifndef DEVICE_FFMPEG_H
#define DEVICE_FFMPEG_H

#include "ffmpeg/FfmpegHandles.h"

extern "C" {
#include <libavcodec/bsf.h>
#include <libavutil/hash.h>
#include <libavutil/intreadwrite.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
}

namespace selvik
{

using ffmpeg::CodecPtr;
using ffmpeg::FormatPtr;
using ffmpeg::FramePtr;
using ffmpeg::IoPtr;
using ffmpeg::makeIo;
using ffmpeg::Options;
using ffmpeg::PacketPtr;
using ffmpeg::ParametersPtr;
using ffmpeg::required;

} // namespace selvik

#endif
