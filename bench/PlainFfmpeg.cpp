#include "bench/PlainFfmpeg.h"

#include "ffmpeg/FfmpegHandles.h"

namespace bench
{

int decodeUntil(const std::string &address, const std::function<bool(int)> &isEnough, int nThreads)
{
    AVFormatContext *pOpened = nullptr;
    if (avformat_open_input(&pOpened, address.c_str(), nullptr, nullptr) < 0) {
        return 0;
    }
    const ffmpeg::FormatPtr pFormat(pOpened);
    avformat_find_stream_info(pFormat.get(), nullptr);
    const AVCodec *pDecoder = nullptr;
    const int stream = av_find_best_stream(pFormat.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &pDecoder, 0);
    if (stream < 0) {
        return 0;
    }
    const ffmpeg::CodecPtr pCodec(avcodec_alloc_context3(pDecoder));
    avcodec_parameters_to_context(pCodec.get(), pFormat->streams[stream]->codecpar);
    pCodec->thread_count = nThreads;
    avcodec_open2(pCodec.get(), pDecoder, nullptr);
    const ffmpeg::PacketPtr pPacket(av_packet_alloc());
    const ffmpeg::FramePtr pFrame(av_frame_alloc());
    int pictures = 0;
    for (bool more = true; more && !isEnough(pictures);) {
        more = av_read_frame(pFormat.get(), pPacket.get()) >= 0;
        if (!more || pPacket->stream_index == stream) {
            avcodec_send_packet(pCodec.get(), more ? pPacket.get() : nullptr);
        }
        av_packet_unref(pPacket.get());
        while (avcodec_receive_frame(pCodec.get(), pFrame.get()) >= 0) {
            ++pictures;
        }
    }
    return pictures;
}

} // namespace bench
