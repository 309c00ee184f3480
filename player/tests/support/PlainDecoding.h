#ifndef PLAYER_PLAINDECODING_H
#define PLAYER_PLAINDECODING_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <string>
#include <vector>

namespace player::test
{

/** One picture of a file, as FFmpeg gives it out when the file is decoded from its beginning to its end. */
struct PlainPicture {
    int number = -1;
    /** From the first picture, in microseconds. */
    std::int64_t time = 0;
    /** Of its decoded pixels. */
    std::uint32_t checksum = 0;
};

/**
 * Decodes a whole file by FFmpeg alone, with none of the player's own code: what everything else has to agree with.
 * Where FFmpeg has no stamp for a picture, it follows the one before it by the frame rate. Throws std::runtime_error.
 */
[[nodiscard]] std::vector<PlainPicture> decodePlainly(const std::string &path);

/** Which of them is on display at a time. */
[[nodiscard]] std::size_t pictureAt(const std::vector<PlainPicture> &pictures, std::int64_t time);

/** Of a frame's pixels, without what pads its rows. */
[[nodiscard]] std::uint32_t checksumOf(const AVFrame &frame);

} // namespace player::test

#endif
