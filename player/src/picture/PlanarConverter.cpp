#include "player/src/picture/PlanarConverter.h"

#include "player/src/picture/ColourSpec.h"

#include <libyuv.h>

#include <array>
#include <cstddef>

extern "C" {
#include <libavutil/frame.h>
}

namespace player
{

namespace
{

enum class Chroma { None, Planes, Interleaved };

/** How a pixel format lays its chroma out; a shift of 1 means half the luma's resolution. */
struct Layout {
    Chroma chroma = Chroma::None;
    int shiftX = 0;
    int shiftY = 0;
    bool isKnown = false;
};

Layout layoutOf(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVA420P:
        return {Chroma::Planes, 1, 1, true};
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVA422P:
        return {Chroma::Planes, 1, 0, true};
    case AV_PIX_FMT_YUV444P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVA444P:
        return {Chroma::Planes, 0, 0, true};
    case AV_PIX_FMT_NV12:
        return {Chroma::Interleaved, 1, 1, true};
    case AV_PIX_FMT_GRAY8:
        return {Chroma::None, 0, 0, true};
    default:
        return {};
    }
}

int halved(int length, int shift)
{
    return (length + (1 << shift) - 1) >> shift;
}

/** One plane, or a rectangle of it. */
struct Plane {
    const std::uint8_t *pBytes = nullptr;
    int stride = 0;
    int width = 0;
    int height = 0;
};

/** Luma and chroma of a picture in one of the layouts. */
struct Planes {
    Layout layout;
    int width = 0;
    int height = 0;
    std::array<Plane, 3> plane;

    [[nodiscard]] int count() const
    {
        return layout.chroma == Chroma::Planes ? 3 : layout.chroma == Chroma::Interleaved ? 2 : 1;
    }

    [[nodiscard]] int bytesPerSample(int index) const
    {
        return index > 0 && layout.chroma == Chroma::Interleaved ? 2 : 1;
    }
};

Planes regionOf(const AVFrame &frame, const PixelRect &region)
{
    Planes planes;
    planes.layout = layoutOf(frame.format);
    planes.width = region.width();
    planes.height = region.height();
    for (int index = 0; index < planes.count(); ++index) {
        const int shiftX = index > 0 ? planes.layout.shiftX : 0;
        const int shiftY = index > 0 ? planes.layout.shiftY : 0;
        const int left = region.left >> shiftX;
        const int top = region.top >> shiftY;
        Plane &plane = planes.plane.at(index);
        plane.stride = frame.linesize[index];
        plane.pBytes = frame.data[index] + std::ptrdiff_t{top} * plane.stride +
                       std::ptrdiff_t{left} * planes.bytesPerSample(index);
        plane.width = halved(region.right, shiftX) - left;
        plane.height = halved(region.bottom, shiftY) - top;
    }
    return planes;
}

/** Scales every plane; a box is averaged where the picture becomes less than half as large. Null scratch: false. */
bool scale(const Planes &source, int width, int height, ScratchBuffer &scratch, Planes &scaled)
{
    scaled.layout = source.layout;
    scaled.width = width;
    scaled.height = height;
    std::array<std::size_t, 3> offset{};
    std::size_t size = 0;
    for (int index = 0; index < source.count(); ++index) {
        Plane &plane = scaled.plane.at(index);
        plane.width = halved(width, index > 0 ? source.layout.shiftX : 0);
        plane.height = halved(height, index > 0 ? source.layout.shiftY : 0);
        // Rows start where vector instructions like them to.
        plane.stride = (plane.width * source.bytesPerSample(index) + 63) / 64 * 64;
        offset.at(index) = size;
        size += static_cast<std::size_t>(plane.stride) * plane.height;
    }
    std::uint8_t *pBytes = scratch.take(size);
    if (pBytes == nullptr) {
        return false;
    }
    for (int index = 0; index < source.count(); ++index) {
        const Plane &from = source.plane.at(index);
        Plane &to = scaled.plane.at(index);
        std::uint8_t *pTarget = pBytes + offset.at(index);
        to.pBytes = pTarget;
        if (source.bytesPerSample(index) == 2) {
            libyuv::UVScale(from.pBytes, from.stride, from.width, from.height, pTarget, to.stride, to.width, to.height,
                            libyuv::kFilterBox);
        } else {
            libyuv::ScalePlane(from.pBytes, from.stride, from.width, from.height, pTarget, to.stride, to.width,
                               to.height, libyuv::kFilterBox);
        }
    }
    return true;
}

const libyuv::YuvConstants *constantsOf(const ColourSpec &spec)
{
    switch (spec.matrix) {
    case ColourMatrix::Bt709:
        return spec.fullRange ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
    case ColourMatrix::Bt2020:
        return spec.fullRange ? &libyuv::kYuvV2020Constants : &libyuv::kYuv2020Constants;
    default:
        return spec.fullRange ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
    }
}

bool toBgra(const Planes &source, const ColourSpec &spec, const BgraImage &target)
{
    const libyuv::YuvConstants *pConstants = constantsOf(spec);
    const auto &[luma, u, v] = source.plane;
    // What libyuv calls ARGB is blue, green, red, alpha in memory.
    if (source.layout.chroma == Chroma::None) {
        return libyuv::I400ToARGBMatrix(luma.pBytes, luma.stride, target.pPixels, target.stride, pConstants,
                                        target.width, target.height) == 0;
    }
    if (source.layout.chroma == Chroma::Interleaved) {
        return libyuv::NV12ToARGBMatrix(luma.pBytes, luma.stride, u.pBytes, u.stride, target.pPixels, target.stride,
                                        pConstants, target.width, target.height) == 0;
    }
    const auto convert = source.layout.shiftY == 1   ? libyuv::I420ToARGBMatrix
                         : source.layout.shiftX == 1 ? libyuv::I422ToARGBMatrix
                                                     : libyuv::I444ToARGBMatrix;
    return convert(luma.pBytes, luma.stride, u.pBytes, u.stride, v.pBytes, v.stride, target.pPixels, target.stride,
                   pConstants, target.width, target.height) == 0;
}

} // namespace

bool PlanarConverter::accepts(const AVFrame &frame)
{
    return layoutOf(frame.format).isKnown;
}

bool PlanarConverter::convert(const AVFrame &frame, const PixelRect &region, const BgraImage &target)
{
    const Planes source = regionOf(frame, region);
    const ColourSpec spec = colourSpecOf(frame);
    if (source.width == target.width && source.height == target.height) {
        return toBgra(source, spec, target);
    }
    Planes scaled;
    return scale(source, target.width, target.height, m_scaled, scaled) && toBgra(scaled, spec, target);
}

} // namespace player
