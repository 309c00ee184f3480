#ifndef PLAYER_FFMPEG_H
#define PLAYER_FFMPEG_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mathematics.h>
#include <libavutil/parseutils.h>
}

#include <memory>

namespace player
{

/** Gives FFmpeg's objects back by the function that each of them asks for. */
struct FfmpegDeleter {
    void operator()(AVFormatContext *p) const
    {
        avformat_close_input(&p);
    }

    void operator()(AVIOContext *p) const
    {
        // The buffer may have been exchanged since it was handed over; the context knows the present one.
        av_freep(&p->buffer);
        avio_context_free(&p);
    }

    void operator()(AVCodecContext *p) const
    {
        avcodec_free_context(&p);
    }

    void operator()(AVPacket *p) const
    {
        av_packet_free(&p);
    }

    void operator()(AVFrame *p) const
    {
        av_frame_free(&p);
    }
};

using FormatPtr = std::unique_ptr<AVFormatContext, FfmpegDeleter>;
using IoPtr = std::unique_ptr<AVIOContext, FfmpegDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, FfmpegDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, FfmpegDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FfmpegDeleter>;

} // namespace player

#endif
