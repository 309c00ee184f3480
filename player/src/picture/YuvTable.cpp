#include "player/src/picture/YuvTable.h"

#include <libyuv.h>
#include <libyuv/row.h>

namespace player
{

namespace
{

constexpr int rounded(double value)
{
    return static_cast<int>(value < 0 ? value - 0.5 : value + 0.5);
}

/** Factors in 64ths, as libyuv's rows read them: chroma in pairs of one for U and one for V. */
constexpr libyuv::YuvConstants tableOf(double redShare, double blueShare, bool fullRange)
{
    const double greenShare = 1 - redShare - blueShare;
    const double lumaGain = fullRange ? 1 : 255.0 / 219;
    const double chromaGain = fullRange ? 1 : 255.0 / 224;
    const double blue = 2 * (1 - blueShare) * chromaGain * 64;
    const double red = 2 * (1 - redShare) * chromaGain * 64;

    libyuv::YuvConstants table{};
    for (int index = 0; index < 32; index += 2) {
        table.kUVToB[index] = static_cast<uint8_t>(rounded(blue));
        table.kUVToG[index] = static_cast<uint8_t>(rounded(blue * blueShare / greenShare));
        table.kUVToG[index + 1] = static_cast<uint8_t>(rounded(red * redShare / greenShare));
        table.kUVToR[index + 1] = static_cast<uint8_t>(rounded(red));
    }
    for (int index = 0; index < 16; ++index) {
        // The rows widen luma from Y to Y * 257, and the half rounds.
        table.kYToRgb[index] = static_cast<int16_t>(rounded(lumaGain * 64 * 65536 / 257));
        table.kYBiasToRgb[index] = static_cast<int16_t>(rounded(fullRange ? 32 : 32 - lumaGain * 64 * 16));
    }
    return table;
}

// The vector instructions want 32 bytes.
alignas(32) constexpr libyuv::YuvConstants kBt601Limited = tableOf(0.299, 0.114, false);
alignas(32) constexpr libyuv::YuvConstants kBt601Full = tableOf(0.299, 0.114, true);
alignas(32) constexpr libyuv::YuvConstants kBt709Limited = tableOf(0.2126, 0.0722, false);
alignas(32) constexpr libyuv::YuvConstants kBt709Full = tableOf(0.2126, 0.0722, true);
alignas(32) constexpr libyuv::YuvConstants kBt2020Limited = tableOf(0.2627, 0.0593, false);
alignas(32) constexpr libyuv::YuvConstants kBt2020Full = tableOf(0.2627, 0.0593, true);

} // namespace

const libyuv::YuvConstants &yuvTable(const ColourSpec &spec)
{
    switch (spec.matrix) {
    case ColourMatrix::Bt709:
        return spec.fullRange ? kBt709Full : kBt709Limited;
    case ColourMatrix::Bt2020:
        return spec.fullRange ? kBt2020Full : kBt2020Limited;
    default:
        return spec.fullRange ? kBt601Full : kBt601Limited;
    }
}

} // namespace player
