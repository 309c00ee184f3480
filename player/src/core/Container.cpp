#include "player/src/core/Container.h"

#include "ffmpeg/AllocationLimit.h"
#include "player/src/core/Error.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace player
{

namespace
{

/** FFmpeg's own bound is a thousand; each stream may have a decoder, a parser and packets that wait. */
constexpr int kMostStreams = 64;

int refuseToOpen(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EACCES);
}

} // namespace

bool isAmong(const AVInputFormat &input, const char *containers)
{
    return av_match_list(input.name, containers, ',') > 0;
}

bool isNamed(const AVInputFormat &input, const char *name)
{
    return av_match_list(input.name, name, ',') > 0;
}

bool isWithoutTimes(const AVInputFormat &input)
{
    return (input.flags & AVFMT_NOTIMESTAMPS) != 0;
}

bool followsLengths(const AVInputFormat &input)
{
    return av_match_list(input.name, "matroska,mov,flv", ',') > 0;
}

AVFormatContext *makeFormat(AVIOContext &io, const char *containers, AVIOInterruptCB interrupt)
{
    ffmpeg::limitAllocations();
    FormatPtr pFormat(avformat_alloc_context());
    if (!pFormat) {
        throw OpenFailure{Error::Resources};
    }
    pFormat->format_whitelist = av_strdup(containers);
    pFormat->protocol_whitelist = av_strdup("");
    if (!pFormat->format_whitelist || !pFormat->protocol_whitelist) {
        throw OpenFailure{Error::Resources};
    }
    pFormat->pb = &io;
    pFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    pFormat->io_open = refuseToOpen;
    pFormat->interrupt_callback = interrupt;
    pFormat->max_streams = kMostStreams;
    return pFormat.release();
}

} // namespace player
