#include "player/src/core/Codec.h"

#include "ffmpeg/PictureBounds.h"
#include "player/src/core/Error.h"
#include "player/src/core/HardwareDecoding.h"

#include <algorithm>
#include <thread>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

template <typename Pointer>
Pointer orFailure(Pointer p)
{
    if (!p) {
        throw OpenFailure{Error::Resources};
    }
    return p;
}

} // namespace

CodecPtr openDecoder(const AVStream &stream, const std::function<void(AVCodecContext &codec)> &configure)
{
    const AVCodec *pDecoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!pDecoder) {
        throw OpenFailure{Error::Unsupported};
    }
    if (ffmpeg::isTooLarge(stream.codecpar->width, stream.codecpar->height)) {
        throw OpenFailure{Error::Unsupported};
    }
    CodecPtr pCodec = orFailure(CodecPtr(avcodec_alloc_context3(pDecoder)));
    if (avcodec_parameters_to_context(pCodec.get(), stream.codecpar) < 0) {
        throw OpenFailure{Error::Corrupt};
    }
    pCodec->pkt_timebase = stream.time_base;
    pCodec->max_pixels = ffmpeg::kMostPixels;
    pCodec->get_buffer2 = allocatePicture;
    useHardware(*pCodec);
    configure(*pCodec);
    if (avcodec_open2(pCodec.get(), pDecoder, nullptr) < 0) {
        throw OpenFailure{Error::Unsupported};
    }
    return pCodec;
}

bool isTooLarge(const AVPacket &packet, const AVStream &stream)
{
    AVCodecParserContext *pParser = av_parser_init(stream.codecpar->codec_id);
    const CodecPtr pCodec(avcodec_alloc_context3(nullptr));
    bool bLarge = false;
    if (pParser && pCodec && avcodec_parameters_to_context(pCodec.get(), stream.codecpar) >= 0) {
        pParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
        std::uint8_t *pParsed = nullptr;
        int size = 0;
        av_parser_parse2(pParser, pCodec.get(), &pParsed, &size, packet.data, packet.size, packet.pts, packet.dts, -1);
        bLarge = ffmpeg::isTooLarge(pParser->width, pParser->height);
    }
    av_parser_close(pParser);
    return bLarge;
}

int allocatePicture(AVCodecContext *pCodec, AVFrame *pFrame, int flags)
{
    if (ffmpeg::isTooLarge(pFrame->width, pFrame->height)) {
        return AVERROR(EINVAL);
    }
    return avcodec_default_get_buffer2(pCodec, pFrame, flags);
}

std::int64_t microsecondsBetween(std::int64_t from, std::int64_t to, AVRational tick)
{
    constexpr std::int64_t kCentury = std::int64_t{36525} * 24 * 3600 * 1000000;
    if (tick.num <= 0 || tick.den <= 0) {
        return 0;
    }
    const std::int64_t ticks = av_sat_sub64(to, from);
    const std::int64_t time = av_rescale_q(ticks, tick, AV_TIME_BASE_Q);
    // FFmpeg answers its lowest number where the result is too large, whatever its sign.
    if (time == INT64_MIN) {
        return ticks < 0 ? -kCentury : kCentury;
    }
    return std::clamp(time, -kCentury, kCentury);
}

void flushDecoder(AVCodecContext &codec)
{
    avcodec_flush_buffers(&codec);
    // FFmpeg 7.1's H.265 decoder keeps pictures that were ready for output over a flush.
    const FramePtr pLeft(av_frame_alloc());
    while (pLeft && avcodec_receive_frame(&codec, pLeft.get()) >= 0) {
        av_frame_unref(pLeft.get());
    }
}

int processorThreads(int most)
{
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, most);
}

FramePtr makeFrame()
{
    return orFailure(FramePtr(av_frame_alloc()));
}

PacketPtr makePacket()
{
    return orFailure(PacketPtr(av_packet_alloc()));
}

} // namespace player
