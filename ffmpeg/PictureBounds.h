#ifndef FFMPEG_PICTUREBOUNDS_H
#define FFMPEG_PICTUREBOUNDS_H

#include "ffmpeg/FfmpegHandles.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ffmpeg
{

/** Rows and columns of the largest picture that is played, and its pixels: memory is asked for none that is larger. */
inline constexpr int kMostSide = 16384;
inline constexpr std::int64_t kMostPixels = std::int64_t{64} << 20;

[[nodiscard]] constexpr bool isTooLarge(std::int64_t width, std::int64_t height)
{
    return width > kMostSide || height > kMostSide || width * height > kMostPixels;
}

/**
 * FFmpeg's analysis of a container, in which decoders of its own look at the first pictures, within these bounds.
 *
 * Returns what avformat_find_stream_info() does. Throws std::bad_alloc.
 */
[[nodiscard]] inline int findStreamInfo(AVFormatContext &format)
{
    // For each stream that is known so far.
    std::vector<Options> options(format.nb_streams);
    std::vector<AVDictionary *> pointers;
    for (Options &ofStream : options) {
        ofStream.set("max_pixels", std::to_string(kMostPixels).c_str());
        pointers.push_back(*ofStream.get());
    }
    const int result = avformat_find_stream_info(&format, pointers.empty() ? nullptr : pointers.data());
    // FFmpeg takes out what it has used.
    for (std::size_t i = 0; i < pointers.size(); ++i) {
        *options[i].get() = pointers[i];
    }
    return result;
}

} // namespace ffmpeg

#endif
