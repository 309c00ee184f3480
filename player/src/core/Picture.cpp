#include "player/src/core/Picture.h"

namespace player
{

void Picture::hold(FramePtr pDecoded)
{
    pFrame = std::shared_ptr<const AVFrame>(pDecoded.release(), [](const AVFrame *p) {
        auto *pOwn = const_cast<AVFrame *>(p);
        av_frame_free(&pOwn);
    });
}

std::int64_t Picture::bytes() const
{
    std::int64_t total = 0;
    if (pFrame) {
        for (const AVBufferRef *pBuffer : pFrame->buf) {
            total += pBuffer ? static_cast<std::int64_t>(pBuffer->size) : 0;
        }
    }
    return total;
}

} // namespace player
