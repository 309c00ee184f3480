#include "player/src/core/Container.h"

#include "player/src/core/Error.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace player
{

namespace
{

int refuseToOpen(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EACCES);
}

} // namespace

bool isPlayed(const AVInputFormat &input)
{
    return av_match_list(input.name, kContainers, ',') > 0;
}

bool isNamed(const AVInputFormat &input, const char *name)
{
    return av_match_list(input.name, name, ',') > 0;
}

bool isWithoutTimes(const AVInputFormat &input)
{
    return (input.flags & AVFMT_NOTIMESTAMPS) != 0;
}

IoPtr makeIo(void *pOwner, int bufferBytes, ReadFunction read, SeekFunction seek)
{
    auto *pBuffer = static_cast<std::uint8_t *>(av_malloc(static_cast<std::size_t>(bufferBytes)));
    if (!pBuffer) {
        throw OpenFailure{Error::Resources};
    }
    IoPtr pIo(avio_alloc_context(pBuffer, bufferBytes, 0, pOwner, read, nullptr, seek));
    if (!pIo) {
        av_free(pBuffer);
        throw OpenFailure{Error::Resources};
    }
    return pIo;
}

AVFormatContext *makeFormat(AVIOContext &io)
{
    AVFormatContext *pFormat = avformat_alloc_context();
    if (!pFormat) {
        throw OpenFailure{Error::Resources};
    }
    pFormat->pb = &io;
    pFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    pFormat->io_open = refuseToOpen;
    return pFormat;
}

} // namespace player
