#include "player/src/picture/PictureShape.h"

#include <cmath>
#include <cstdint>
#include <utility>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/frame.h>
}

namespace player
{

namespace
{

constexpr int kGreatestAspect = 16;
constexpr std::size_t kDisplayMatrixSize = 9 * sizeof(std::int32_t);

/** Null where neither the frame nor the stream has one. */
const std::int32_t *displayMatrixOf(const AVFrame &frame, const AVStream *pStream)
{
    const AVFrameSideData *pOfFrame = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    if (pOfFrame != nullptr && pOfFrame->size >= kDisplayMatrixSize) {
        return reinterpret_cast<const std::int32_t *>(pOfFrame->data);
    }
    if (pStream == nullptr) {
        return nullptr;
    }
    const AVPacketSideData *pOfStream = av_packet_side_data_get(
        pStream->codecpar->coded_side_data, pStream->codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    return pOfStream != nullptr && pOfStream->size >= kDisplayMatrixSize
               ? reinterpret_cast<const std::int32_t *>(pOfStream->data)
               : nullptr;
}

/** Sets rotation and mirroring: x' = m[0] x + m[3] y, y' = m[1] x + m[4] y, y pointing down. */
void applyMatrix(const std::int32_t *pMatrix, PictureShape &shape)
{
    double xToX = pMatrix[0];
    double xToY = pMatrix[1];
    shape.mirrored = xToX * pMatrix[4] - xToY * pMatrix[3] < 0;
    if (shape.mirrored) {
        xToX = -xToX;
        xToY = -xToY;
    }
    const double quarterTurns = std::atan2(xToY, xToX) / std::acos(0.0);
    shape.rotation = (static_cast<int>(std::lround(quarterTurns)) + 4) % 4 * 90;
}

AVRational pixelAspectOf(const AVFrame &frame, const AVStream *pStream)
{
    AVRational aspect = frame.sample_aspect_ratio;
    if (pStream != nullptr) {
        // The container's word goes before the coder's; the function takes the two only to read them.
        aspect = av_guess_sample_aspect_ratio(nullptr, const_cast<AVStream *>(pStream), const_cast<AVFrame *>(&frame));
    }
    const bool isSensible = aspect.num > 0 && aspect.den > 0 && aspect.num / aspect.den < kGreatestAspect &&
                            aspect.den / aspect.num < kGreatestAspect;
    return isSensible ? aspect : AVRational{1, 1};
}

int scaled(int length, int numerator, int denominator)
{
    return static_cast<int>(std::lround(static_cast<double>(length) * numerator / denominator));
}

} // namespace

PictureShape shapeOf(const AVFrame &frame, const AVStream *pStream)
{
    PictureShape shape;
    shape.width = frame.width;
    shape.height = frame.height;

    const AVRational aspect = pixelAspectOf(frame, pStream);
    if (aspect.num > aspect.den) {
        shape.width = scaled(frame.width, aspect.num, aspect.den);
    } else if (aspect.num < aspect.den) {
        shape.height = scaled(frame.height, aspect.den, aspect.num);
    }

    if (const std::int32_t *pMatrix = displayMatrixOf(frame, pStream)) {
        applyMatrix(pMatrix, shape);
    }
    if (shape.rotation % 180 != 0) {
        std::swap(shape.width, shape.height);
    }
    return shape;
}

} // namespace player
