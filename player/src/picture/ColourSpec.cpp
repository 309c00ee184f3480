#include "player/src/picture/ColourSpec.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace player
{

namespace
{

constexpr int kHighDefinitionWidth = 1280;
constexpr int kHighDefinitionHeight = 720;

ColourMatrix matrixOf(const AVFrame &frame)
{
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
    case AVCOL_SPC_SMPTE240M: // differs from BT.709 by less than one can see
        return ColourMatrix::Bt709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
        return ColourMatrix::Bt601;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return ColourMatrix::Bt2020;
    default:
        return frame.width >= kHighDefinitionWidth || frame.height >= kHighDefinitionHeight ? ColourMatrix::Bt709
                                                                                            : ColourMatrix::Bt601;
    }
}

bool isJpegFormat(int format)
{
    return format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_YUVJ422P || format == AV_PIX_FMT_YUVJ444P ||
           format == AV_PIX_FMT_YUVJ440P || format == AV_PIX_FMT_YUVJ411P;
}

} // namespace

ColourSpec colourSpecOf(const AVFrame &frame)
{
    return {matrixOf(frame), frame.color_range == AVCOL_RANGE_JPEG || isJpegFormat(frame.format)};
}

} // namespace player
