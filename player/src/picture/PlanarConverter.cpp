#include "player/src/picture/PlanarConverter.h"

#include "player/src/picture/ColourSpec.h"
#include "player/src/picture/YuvTable.h"

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
    bool isDeep = false; // two bytes a sample
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
    case AV_PIX_FMT_YUV420P10LE:
        return {Chroma::Planes, 1, 1, true, true};
    case AV_PIX_FMT_YUV422P10LE:
        return {Chroma::Planes, 1, 0, true, true};
    case AV_PIX_FMT_YUV444P10LE:
        return {Chroma::Planes, 0, 0, true, true};
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
        return layout.isDeep || (index > 0 && layout.chroma == Chroma::Interleaved) ? 2 : 1;
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

/** Planes in memory of one's own, and where each of them may be written. */
struct OwnPlanes {
    Planes planes;
    std::array<std::uint8_t *, 3> pBytes{};
};

/** Null bytes for lack of memory. */
OwnPlanes planesIn(ScratchBuffer &scratch, const Layout &layout, int width, int height)
{
    OwnPlanes own;
    own.planes.layout = layout;
    own.planes.width = width;
    own.planes.height = height;
    std::array<std::size_t, 3> offset{};
    std::size_t size = 0;
    for (int index = 0; index < own.planes.count(); ++index) {
        Plane &plane = own.planes.plane.at(index);
        plane.width = halved(width, index > 0 ? layout.shiftX : 0);
        plane.height = halved(height, index > 0 ? layout.shiftY : 0);
        // Rows start where vector instructions like them to.
        plane.stride = (plane.width + 63) / 64 * 64;
        offset.at(index) = size;
        size += static_cast<std::size_t>(plane.stride) * plane.height;
    }
    if (std::uint8_t *pBytes = scratch.take(size)) {
        for (int index = 0; index < own.planes.count(); ++index) {
            own.pBytes.at(index) = pBytes + offset.at(index);
            own.planes.plane.at(index).pBytes = own.pBytes.at(index);
        }
    }
    return own;
}

/** Interleaved chroma becomes two planes, since each is scaled by itself. False for lack of memory. */
bool separateChroma(Planes &planes, ScratchBuffer &scratch)
{
    const Plane both = planes.plane[1];
    Plane u = both;
    u.stride = (both.width + 63) / 64 * 64;
    Plane v = u;
    const std::size_t size = static_cast<std::size_t>(u.stride) * u.height;
    std::uint8_t *pBytes = scratch.take(2 * size);
    if (pBytes == nullptr) {
        return false;
    }
    libyuv::SplitUVPlane(both.pBytes, both.stride, pBytes, u.stride, pBytes + size, v.stride, both.width, both.height);
    u.pBytes = pBytes;
    v.pBytes = pBytes + size;
    planes.plane[1] = u;
    planes.plane[2] = v;
    planes.layout.chroma = Chroma::Planes;
    return true;
}

/** Ten bits, in words of two bytes; strides are counted in words. */
bool deepToBgra(const Planes &source, const ColourSpec &spec, const BgraImage &target)
{
    const auto words = [](const Plane &plane) { return reinterpret_cast<const std::uint16_t *>(plane.pBytes); };
    const auto convert = source.layout.shiftY == 1   ? libyuv::I010ToARGBMatrix
                         : source.layout.shiftX == 1 ? libyuv::I210ToARGBMatrix
                                                     : libyuv::I410ToARGBMatrix;
    const auto &[luma, u, v] = source.plane;
    return convert(words(luma), luma.stride / 2, words(u), u.stride / 2, words(v), v.stride / 2, target.pPixels,
                   target.stride, &yuvTable(spec), target.width, target.height) == 0;
}

bool toBgra(const Planes &source, const ColourSpec &spec, const BgraImage &target)
{
    const libyuv::YuvConstants *pConstants = &yuvTable(spec);
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

bool PlanarConverter::accepts(const AVFrame &frame, const PixelRect &region, const BgraImage &target)
{
    const Layout layout = layoutOf(frame.format);
    const bool isSameSize = region.width() == target.width && region.height() == target.height;
    return layout.isKnown && (isSameSize || !layout.isDeep);
}

bool PlanarConverter::convert(const AVFrame &frame, const PixelRect &region, const BgraImage &target)
{
    Planes source = regionOf(frame, region);
    const ColourSpec spec = colourSpecOf(frame);
    if (source.layout.isDeep) {
        return deepToBgra(source, spec, target);
    }
    if (source.width == target.width && source.height == target.height) {
        return toBgra(source, spec, target);
    }
    if (source.layout.chroma == Chroma::Interleaved && !separateChroma(source, m_apart)) {
        return false;
    }
    const OwnPlanes scaled = planesIn(m_scaled, source.layout, target.width, target.height);
    for (int index = 0; index < source.count(); ++index) {
        const Plane &plane = scaled.planes.plane.at(index);
        std::uint8_t *pBytes = scaled.pBytes.at(index);
        if (pBytes == nullptr ||
            !m_scaler.scale(source.plane.at(index), pBytes, plane.stride, plane.width, plane.height)) {
            return false;
        }
    }
    return toBgra(scaled.planes, spec, target);
}

} // namespace player
