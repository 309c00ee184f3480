#include "player/src/picture/PictureConverter.h"

#include "player/src/picture/CodedRegion.h"
#include "player/src/picture/PlanarConverter.h"
#include "player/src/picture/ScratchBuffer.h"
#include "player/src/picture/SwscaleConverter.h"

#include <libyuv/planar_functions.h>
#include <libyuv/rotate_argb.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace player
{

namespace
{

BgraImage imageIn(ScratchBuffer &scratch, int width, int height)
{
    const int stride = width * 4;
    return {scratch.take(static_cast<std::size_t>(stride) * height), stride, width, height};
}

/** Pixels that cannot be had apart: those which share a chroma sample or a byte. */
struct Grid {
    int x = 1;
    int y = 1;
};

Grid gridOf(int format)
{
    const AVPixFmtDescriptor *pDescriptor = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if ((pDescriptor->flags & AV_PIX_FMT_FLAG_BITSTREAM) != 0) {
        return {8, 1};
    }
    return {1 << pDescriptor->log2_chroma_w, 1 << pDescriptor->log2_chroma_h};
}

/** The smallest rectangle on the grid around the region. */
PixelRect grownToGrid(const PixelRect &region, const Grid &grid, int width, int height)
{
    return {region.left / grid.x * grid.x, region.top / grid.y * grid.y,
            std::min((region.right + grid.x - 1) / grid.x * grid.x, width),
            std::min((region.bottom + grid.y - 1) / grid.y * grid.y, height)};
}

bool isSame(const PixelRect &one, const PixelRect &other)
{
    return one.left == other.left && one.top == other.top && one.right == other.right && one.bottom == other.bottom;
}

libyuv::RotationMode rotationMode(int degrees)
{
    return degrees == 90    ? libyuv::kRotate90
           : degrees == 180 ? libyuv::kRotate180
           : degrees == 270 ? libyuv::kRotate270
                            : libyuv::kRotate0;
}

} // namespace

/** The steps from a frame to the target, and what they keep. */
class PictureConverter::Work
{
public:
    [[nodiscard]] bool convert(const AVFrame &frame, const PictureShape &shape, const PixelRect &region,
                               const BgraImage &target);

    void trim() noexcept
    {
        m_planar.trim();
        m_swscale.trim();
        m_whole.free();
        m_unturned.free();
        m_mirrored.free();
    }

private:
    [[nodiscard]] bool convertOnGrid(const AVFrame &frame, const PixelRect &region, const BgraImage &target);
    [[nodiscard]] bool convertUnturned(const AVFrame &frame, const PixelRect &region, const BgraImage &target);
    [[nodiscard]] bool turn(const BgraImage &picture, const PictureShape &shape, const BgraImage &target);

    PlanarConverter m_planar;
    SwscaleConverter m_swscale;
    ScratchBuffer m_whole;
    ScratchBuffer m_unturned;
    ScratchBuffer m_mirrored;
};

bool PictureConverter::Work::convertOnGrid(const AVFrame &frame, const PixelRect &region, const BgraImage &target)
{
    return PlanarConverter::accepts(frame, region, target) ? m_planar.convert(frame, region, target)
                                                           : m_swscale.convert(frame, region, target);
}

bool PictureConverter::Work::convertUnturned(const AVFrame &frame, const PixelRect &region, const BgraImage &target)
{
    const PixelRect grown = grownToGrid(region, gridOf(frame.format), frame.width, frame.height);
    const bool isMuchSmaller = 2 * target.width <= region.width() && 2 * target.height <= region.height();
    if (isSame(grown, region)) {
        return convertOnGrid(frame, region, target);
    }
    if (isMuchSmaller) {
        // Planes of a region between two chroma samples are less than one target pixel apart then.
        return PlanarConverter::accepts(frame, region, target) ? m_planar.convert(frame, region, target)
                                                               : m_swscale.convert(frame, grown, target);
    }
    // Elsewhere colours would be seen beside their shapes: convert at full size and scale exactly the region.
    const BgraImage whole = imageIn(m_whole, grown.width(), grown.height());
    if (whole.pPixels == nullptr || !convertOnGrid(frame, grown, whole)) {
        return false;
    }
    const std::uint8_t *pRegion = whole.pPixels + std::ptrdiff_t{region.top - grown.top} * whole.stride +
                                  std::ptrdiff_t{4} * (region.left - grown.left);
    return libyuv::ARGBScale(pRegion, whole.stride, region.width(), region.height(), target.pPixels, target.stride,
                             target.width, target.height, libyuv::kFilterBox) == 0;
}

bool PictureConverter::Work::turn(const BgraImage &picture, const PictureShape &shape, const BgraImage &target)
{
    if (!shape.mirrored) {
        return libyuv::ARGBRotate(picture.pPixels, picture.stride, target.pPixels, target.stride, picture.width,
                                  picture.height, rotationMode(shape.rotation)) == 0;
    }
    if (shape.rotation == 0) {
        return libyuv::ARGBMirror(picture.pPixels, picture.stride, target.pPixels, target.stride, picture.width,
                                  picture.height) == 0;
    }
    const BgraImage mirrored = imageIn(m_mirrored, picture.width, picture.height);
    return mirrored.pPixels != nullptr &&
           libyuv::ARGBMirror(picture.pPixels, picture.stride, mirrored.pPixels, mirrored.stride, picture.width,
                              picture.height) == 0 &&
           libyuv::ARGBRotate(mirrored.pPixels, mirrored.stride, target.pPixels, target.stride, picture.width,
                              picture.height, rotationMode(shape.rotation)) == 0;
}

bool PictureConverter::Work::convert(const AVFrame &frame, const PictureShape &shape, const PixelRect &region,
                                     const BgraImage &target)
{
    const PixelRect shown = clampToPicture(region, shape);
    if (shown.isEmpty() || target.pPixels == nullptr || target.width <= 0 || target.height <= 0 || frame.width <= 0 ||
        frame.height <= 0 || frame.data[0] == nullptr) {
        return false;
    }
    if (!SwscaleConverter::accepts(frame)) { // the wider of the two
        return false;
    }
    const PixelRect coded = codedRegion(shown, shape, frame.width, frame.height);
    if (shape.rotation == 0 && !shape.mirrored) {
        return convertUnturned(frame, coded, target);
    }
    // Turned after scaling, when there are fewer pixels to move.
    const bool isSideways = shape.rotation % 180 != 0;
    const BgraImage unturned =
        imageIn(m_unturned, isSideways ? target.height : target.width, isSideways ? target.width : target.height);
    return unturned.pPixels != nullptr && convertUnturned(frame, coded, unturned) && turn(unturned, shape, target);
}

PictureConverter::PictureConverter() : m_pWork(std::make_unique<Work>()) {}

PictureConverter::~PictureConverter() = default;

bool PictureConverter::convert(const AVFrame &frame, const PictureShape &shape, const PixelRect &region,
                               const BgraImage &target) noexcept
{
    return m_pWork->convert(frame, shape, region, target);
}

void PictureConverter::trim() noexcept
{
    m_pWork->trim();
}

} // namespace player
