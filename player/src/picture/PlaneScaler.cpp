#include "player/src/picture/PlaneScaler.h"

#include <libyuv/scale.h>

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
    scaleOnce(current, pTarget, stride, width, height);
    return true;
}

} // namespace player
