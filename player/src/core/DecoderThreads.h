#ifndef PLAYER_DECODERTHREADS_H
#define PLAYER_DECODERTHREADS_H

#include "player/src/core/Codec.h"

#include <cstdint>

namespace player
{

/**
 * How many threads decode a source. A decoder that is spread over threads takes a tenth more of the processors in all
 * and keeps a picture for each thread, so that it is for where somebody waits, for a seek or a step back, and for
 * pictures for which a single thread is too slow. Threads: a value.
 */
struct DecoderThreads {
    int playing = 1;
    int hurried = 1;

    /** For coded pictures of that size on this machine. */
    static DecoderThreads forPictures(int width, int height)
    {
        constexpr std::int64_t kLarge = 1920 * 1088;
        // Nine panes share the machine.
        constexpr int kMost = 4;
        const std::int64_t size = std::int64_t{width} * height;
        const int most = processorThreads(kMost);
        return {size > kLarge ? most : 1, most};
    }
};

} // namespace player

#endif
