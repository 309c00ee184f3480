#include "player/src/picture/PlaneScaler.h"

#include <libyuv/planar_functions.h>
#include <libyuv/scale.h>

#include <algorithm>
#include <cstddef>

namespace player
{

namespace
{

void scaleOnce(const Plane &source, std::uint8_t *pTarget, int stride, int width, int height)
{
    libyuv::ScalePlane(source.pBytes, source.stride, source.width, source.height, pTarget, stride, width, height,
                       libyuv::kFilterBilinear);
}

} // namespace

bool PlaneScaler::scale(const Plane &source, std::uint8_t *pTarget, int stride, int width, int height)
{
    Plane current = source;
    for (int turn = 0; current.width > 2 * width || current.height > 2 * height; turn = 1 - turn) {
        Plane half;
        half.width = current.width > 2 * width ? (current.width + 1) / 2 : current.width;
        half.height = current.height > 2 * height ? (current.height + 1) / 2 : current.height;
        half.stride = (half.width + 63) / 64 * 64;
        std::uint8_t *pHalf = m_halved[turn].take(static_cast<std::size_t>(half.stride) * half.height);
        if (pHalf == nullptr) {
            return false;
        }
        scaleOnce(current, pHalf, half.stride, half.width, half.height);
        half.pBytes = pHalf;
        current = half;
    }
    const bool isWide = current.width > width && current.height >= height;
    if (isWide && RowShrinker::isAvailable()) {
        return shrink(current, pTarget, stride, width, height);
    }
    scaleOnce(current, pTarget, stride, width, height);
    return true;
}

const RowShrinker *PlaneScaler::shrinkerFor(int from, int to)
{
    // One table made anew for each plane would be an eighth of the time of all rows.
    if (!m_shrinkers.at(m_nLatest).isFor(from, to)) {
        m_nLatest = 1 - m_nLatest;
    }
    RowShrinker &shrinker = m_shrinkers.at(m_nLatest);
    return shrinker.prepare(from, to) ? &shrinker : nullptr;
}

bool PlaneScaler::shrink(const Plane &source, std::uint8_t *pTarget, int stride, int width, int height)
{
    std::uint8_t *pRow = m_row.take(static_cast<std::size_t>(source.width) + RowShrinker::kReadsBehind);
    const RowShrinker *const pShrinker = shrinkerFor(source.width, width);
    if (pRow == nullptr || pShrinker == nullptr) {
        return false;
    }
    for (int row = 0; row < height; ++row) {
        const int place = RowShrinker::placeOf(row, source.height, height);
        const int upper = place / 256;
        const int lower = std::min(upper + 1, source.height - 1);
        libyuv::InterpolatePlane(source.pBytes + std::ptrdiff_t{upper} * source.stride, 0,
                                 source.pBytes + std::ptrdiff_t{lower} * source.stride, 0, pRow, 0, source.width, 1,
                                 place % 256);
        pShrinker->shrink(pRow, pTarget + std::ptrdiff_t{row} * stride);
    }
    return true;
}

} // namespace player
