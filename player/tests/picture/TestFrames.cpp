#include "player/tests/picture/TestFrames.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace player::test
{

namespace
{

constexpr std::uint8_t kGuard = 0xA5;
constexpr int kGuardRows = 2;
constexpr int kGuardColumns = 4;

/** Luma and both chroma values of a colour, in steps of the depth. */
std::array<double, 3> coded(const Colour &colour, const FrameKind &kind, int depth)
{
    const double luma = (kind.shares.red * colour.red + (1 - kind.shares.red - kind.shares.blue) * colour.green +
                         kind.shares.blue * colour.blue) /
                        255;
    const double u = (colour.blue / 255 - luma) / (2 - 2 * kind.shares.blue);
    const double v = (colour.red / 255 - luma) / (2 - 2 * kind.shares.red);
    const double greatest = (1 << depth) - 1;
    const double step = 1 << (depth - 8);
    const double middle = 1 << (depth - 1);
    if (kind.fullRange) {
        return {luma * greatest, middle + u * greatest, middle + v * greatest};
    }
    return {(16 + 219 * luma) * step, middle + u * 224 * step, middle + v * 224 * step};
}

void put(AVFrame &frame, const AVComponentDescriptor &component, int x, int y, double value)
{
    const int rounded = static_cast<int>(std::lround(value)) << component.shift;
    std::uint8_t *pSample = frame.data[component.plane] + std::ptrdiff_t{y} * frame.linesize[component.plane] +
                            x * component.step + component.offset;
    pSample[0] = static_cast<std::uint8_t>(rounded);
    if (component.depth > 8) {
        pSample[1] = static_cast<std::uint8_t>(rounded >> 8);
    }
}

void paint(AVFrame &frame, const FrameKind &kind, const Painter &painter)
{
    const AVPixFmtDescriptor *pFormat = av_pix_fmt_desc_get(kind.format);
    const bool isRgb = (pFormat->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    for (int index = 0; index < pFormat->nb_components; ++index) {
        const AVComponentDescriptor &component = pFormat->comp[index];
        const bool isChroma = !isRgb && (index == 1 || index == 2);
        const int shiftX = isChroma ? pFormat->log2_chroma_w : 0;
        const int shiftY = isChroma ? pFormat->log2_chroma_h : 0;
        for (int y = 0; y < (frame.height + (1 << shiftY) - 1) >> shiftY; ++y) {
            for (int x = 0; x < (frame.width + (1 << shiftX) - 1) >> shiftX; ++x) {
                const Colour colour = painter(x << shiftX, y << shiftY);
                const std::array<double, 3> rgb{colour.red, colour.green, colour.blue};
                const double value = index == 3 ? 255
                                     : isRgb    ? rgb.at(index)
                                                : coded(colour, kind, component.depth).at(index);
                put(frame, component, x, y, value);
            }
        }
    }
}

} // namespace

Frame paintedFrame(const FrameKind &kind, int width, int height, const Painter &painter)
{
    Frame frame(av_frame_alloc());
    frame->format = kind.format;
    frame->width = width;
    frame->height = height;
    frame->colorspace = kind.colourSpace;
    frame->color_range = kind.range;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::runtime_error("no memory for a test picture");
    }
    paint(*frame, kind, painter);
    return frame;
}

Colour barColour(int bar)
{
    const auto component = [bar](int bit) { return (bar & bit) != 0 ? 60.0 : 180.0; };
    return {component(2), component(4), component(1)};
}

Frame bars(const FrameKind &kind, int width, int height)
{
    return paintedFrame(kind, width, height, [=](int x, int) { return barColour(std::min(x * 8 / width, 7)); });
}

GuardedImage::GuardedImage(int width, int height)
    : m_bytes(static_cast<std::size_t>(width + kGuardColumns) * 4 * (height + 2 * kGuardRows), kGuard)
{
    m_image.stride = (width + kGuardColumns) * 4;
    m_image.pPixels = m_bytes.data() + std::ptrdiff_t{kGuardRows} * m_image.stride;
    m_image.width = width;
    m_image.height = height;
}

Colour GuardedImage::at(int x, int y) const
{
    const std::uint8_t *pPixel = m_image.pPixels + std::ptrdiff_t{y} * m_image.stride + std::ptrdiff_t{4} * x;
    return {double(pPixel[2]), double(pPixel[1]), double(pPixel[0])};
}

int GuardedImage::alphaAt(int x, int y) const
{
    return m_image.pPixels[std::ptrdiff_t{y} * m_image.stride + std::ptrdiff_t{4} * x + 3];
}

bool GuardedImage::guardsAreWhole() const
{
    for (std::size_t index = 0; index < m_bytes.size(); ++index) {
        const int row = static_cast<int>(index / m_image.stride) - kGuardRows;
        const int column = static_cast<int>(index % m_image.stride) / 4;
        const bool isInside = row >= 0 && row < m_image.height && column < m_image.width;
        if (!isInside && m_bytes.at(index) != kGuard) {
            return false;
        }
    }
    return true;
}

double distance(const Colour &one, const Colour &other)
{
    return std::max(
        {std::abs(one.red - other.red), std::abs(one.green - other.green), std::abs(one.blue - other.blue)});
}

} // namespace player::test
