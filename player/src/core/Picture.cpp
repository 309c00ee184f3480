#include "player/src/core/Picture.h"

#include "player/src/core/Ffmpeg.h"

namespace player
{

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
