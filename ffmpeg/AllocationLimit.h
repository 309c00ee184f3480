#ifndef FFMPEG_ALLOCATIONLIMIT_H
#define FFMPEG_ALLOCATIONLIMIT_H

#include "ffmpeg/PictureBounds.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <cstddef>

namespace ffmpeg
{

/**
 * The largest single piece of memory that FFmpeg gets in this process: the largest picture that is played, with four
 * bytes a pixel, and what is laid around it.
 */
inline constexpr std::size_t kMostAllocation = 4 * static_cast<std::size_t>(kMostPixels) + (std::size_t{8} << 20);

/**
 * Sets that bound. Containers announce how many entries their tables have, and FFmpeg makes room for all of them before
 * it reads the first: a few bytes from a network would have it ask for gigabytes. It fails instead, as without memory.
 *
 * Threads: any, at any time.
 */
inline void limitAllocations()
{
    av_max_alloc(kMostAllocation);
}

} // namespace ffmpeg

#endif
