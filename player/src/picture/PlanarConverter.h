#pragma once

#include "player/src/picture/BgraImage.h"
#include "player/src/picture/PixelRect.h"
#include "player/src/picture/ScratchBuffer.h"

struct AVFrame;

namespace player
{

/**
 * Converts 8-bit pictures in planes (4:2:0, 4:2:2, 4:4:4, NV12, grey) with libyuv, scaling the planes first.
 *
 * Threads: one thread at a time. Owns the scaled planes, as large as the largest target.
 */
class PlanarConverter
{
public:
    [[nodiscard]] static bool accepts(const AVFrame &frame);

    /** The region in coded pixels, inside the picture. Where it starts between two chroma samples, colours move by
     *  half a sample. */
    [[nodiscard]] bool convert(const AVFrame &frame, const PixelRect &region, const BgraImage &target);

    void trim() noexcept
    {
        m_scaled.free();
    }

private:
    ScratchBuffer m_scaled;
};

} // namespace player
