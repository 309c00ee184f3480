#ifndef PLAYER_PLANARCONVERTER_H
#define PLAYER_PLANARCONVERTER_H

#include "player/src/picture/BgraImage.h"
#include "player/src/picture/PixelRect.h"
#include "player/src/picture/PlaneScaler.h"
#include "player/src/picture/ScratchBuffer.h"

struct AVFrame;

namespace player
{

/**
 * Converts pictures in planes (4:2:0, 4:2:2, 4:4:4 of 8 and 10 bits, NV12, grey) with libyuv, which is many times as
 * fast as swscale. Planes are scaled before they are converted: finished pictures would
 * lose up to two levels each time, since libyuv's scaler for them rounds down.
 *
 * Threads: one thread at a time. Owns the scaled planes, as large as the largest target.
 */
class PlanarConverter
{
public:
    /** Whether it can make this of a region of the frame; pictures of 10 bits are not scaled. */
    [[nodiscard]] static bool accepts(const AVFrame &frame, const PixelRect &region, const BgraImage &target);

    /** The region in coded pixels, inside the picture. Where it starts between two chroma samples, colours move by
     *  half a sample. */
    [[nodiscard]] bool convert(const AVFrame &frame, const PixelRect &region, const BgraImage &target);

    void trim() noexcept
    {
        m_scaled.free();
        m_apart.free();
        m_scaler.trim();
    }

private:
    ScratchBuffer m_scaled;
    ScratchBuffer m_apart;
    PlaneScaler m_scaler;
};

} // namespace player

#endif
