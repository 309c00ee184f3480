#include "player/src/picture/SwscaleConverter.h"

#include <libyuv/planar_functions.h>

#include <array>
#include <cstddef>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace player
{

namespace
{

/** The JPEG formats are the plain ones with another range, which the scaler is told separately. */
AVPixelFormat plainFormat(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    default:
        return static_cast<AVPixelFormat>(format);
    }
}

/** RGB of an odd width gets a wrong last column without these, and what is made many times smaller drifts by several
 *  levels. All else comes out right within two levels, in a third of the time. */
constexpr int kFullChroma = SWS_FULL_CHR_H_INP | SWS_FULL_CHR_H_INT;
constexpr int kMuchSmaller = 16;

bool isRgb(int format)
{
    return (av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format))->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

int swscaleMatrix(ColourMatrix matrix)
{
    switch (matrix) {
    case ColourMatrix::Bt709:
        return SWS_CS_ITU709;
    case ColourMatrix::Bt2020:
        return SWS_CS_BT2020;
    default:
        return SWS_CS_ITU601;
    }
}

/** Where the region's rows start in each plane; a palette stays where it is. */
std::array<const std::uint8_t *, 4> planesAt(const AVFrame &frame, AVPixelFormat format, int left, int top)
{
    const AVPixFmtDescriptor *pDescriptor = av_pix_fmt_desc_get(format);
    std::array<const std::uint8_t *, 4> planes{};
    for (int plane = 0; plane < 4 && frame.data[plane] != nullptr; ++plane) {
        planes.at(plane) = frame.data[plane];
        if ((pDescriptor->flags & AV_PIX_FMT_FLAG_PAL) != 0 && plane > 0) {
            continue;
        }
        const bool isChroma = plane == 1 || plane == 2;
        const int row = isChroma ? top >> pDescriptor->log2_chroma_h : top;
        planes.at(plane) += std::ptrdiff_t{row} * frame.linesize[plane];
        if (left > 0) {
            planes.at(plane) += av_image_get_linesize(format, left, plane);
        }
    }
    return planes;
}

} // namespace

void SwscaleConverter::Deleter::operator()(SwsContext *pScaler) const
{
    sws_freeContext(pScaler);
}

bool SwscaleConverter::accepts(const AVFrame &frame)
{
    return sws_isSupportedInput(plainFormat(frame.format)) > 0;
}

bool SwscaleConverter::prepare(const Key &key)
{
    if (m_pScaler && m_key == key) {
        return true;
    }
    const bool needsFullChroma = isRgb(key.sourceFormat) || key.sourceWidth > kMuchSmaller * key.targetWidth ||
                                 key.sourceHeight > kMuchSmaller * key.targetHeight;
    const int flags = SWS_BILINEAR | SWS_ACCURATE_RND | (needsFullChroma ? kFullChroma : 0);
    m_pScaler.reset(sws_getContext(key.sourceWidth, key.sourceHeight, static_cast<AVPixelFormat>(key.sourceFormat),
                                   key.targetWidth, key.targetHeight, AV_PIX_FMT_BGR0, flags, nullptr, nullptr,
                                   nullptr));
    if (!m_pScaler) {
        return false;
    }
    m_key = key;
    // Fails for formats without a matrix, such as RGB, which need none.
    sws_setColorspaceDetails(m_pScaler.get(), sws_getCoefficients(swscaleMatrix(key.spec.matrix)),
                             key.spec.fullRange ? 1 : 0, sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    return true;
}

bool SwscaleConverter::convert(const AVFrame &frame, const PixelRect &region, const BgraImage &target)
{
    const AVPixelFormat format = plainFormat(frame.format);
    if (!prepare({format, region.width(), region.height(), target.width, target.height, colourSpecOf(frame)})) {
        return false;
    }
    // The scaler may write past the end of a row, up to its vectors' size, so it gets rows of its own.
    const int stride = (target.width * 4 + 63) / 64 * 64 + 64;
    std::uint8_t *pPicture = m_picture.take(static_cast<std::size_t>(stride) * target.height);
    if (pPicture == nullptr) {
        return false;
    }
    const auto planes = planesAt(frame, format, region.left, region.top);
    std::uint8_t *const targets[4] = {pPicture, nullptr, nullptr, nullptr};
    const int strides[4] = {stride, 0, 0, 0};
    if (sws_scale(m_pScaler.get(), planes.data(), frame.linesize, 0, region.height(), targets, strides) !=
        target.height) {
        return false;
    }
    return libyuv::ARGBCopy(pPicture, stride, target.pPixels, target.stride, target.width, target.height) == 0;
}

} // namespace player
