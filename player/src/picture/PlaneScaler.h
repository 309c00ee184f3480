#ifndef PLAYER_PLANESCALER_H
#define PLAYER_PLANESCALER_H

#include "player/src/picture/RowShrinker.h"
#include "player/src/picture/ScratchBuffer.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace player
{

/** One plane of 8-bit samples, or a rectangle of it; borrowed. */
struct Plane {
    const std::uint8_t *pBytes = nullptr;
    int stride = 0;
    int width = 0;
    int height = 0;
};

/**
 * Scales planes so that every sample counts: halved again and again while more than twice too large, then bilinear.
 *
 * libyuv's box filter for other ratios takes one pass, but rounds down (one level in each plane is three in the
 * colour), divides to zero for boxes of more than 65,536 samples, and is not used where only one side shrinks.
 *
 * Threads: one thread at a time. Owns two halved planes, a row and two tables.
 */
class PlaneScaler
{
public:
    /** False for lack of memory. */
    [[nodiscard]] bool scale(const Plane &source, std::uint8_t *pTarget, int stride, int width, int height);

    void trim() noexcept
    {
        m_halved[0].free();
        m_halved[1].free();
        m_row.free();
    }

private:
    /** Prepared for such rows; null for lack of memory. */
    [[nodiscard]] const RowShrinker *shrinkerFor(int from, int to);
    [[nodiscard]] bool shrink(const Plane &source, std::uint8_t *pTarget, int stride, int width, int height);

    ScratchBuffer m_halved[2];
    ScratchBuffer m_row;
    // Luma and chroma take turns.
    std::array<RowShrinker, 2> m_shrinkers;
    std::size_t m_nLatest = 0;
};

} // namespace player

#endif
