#ifndef FFMPEG_FFMPEGHANDLES_H
#define FFMPEG_FFMPEGHANDLES_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
}

#include <memory>
#include <new>

namespace ffmpeg
{

/** Gives FFmpeg's objects back by the function that each of them asks for. */
struct Deleter {
    void operator()(AVFormatContext *p) const
    {
        if (p->oformat != nullptr) {
            avformat_free_context(p);
        } else {
            avformat_close_input(&p);
        }
    }
    void operator()(AVIOContext *p) const
    {
        // FFmpeg may have replaced the buffer that the context was made with; the context knows the present one.
        av_freep(&p->buffer);
        avio_context_free(&p);
    }
    void operator()(AVCodecContext *p) const
    {
        avcodec_free_context(&p);
    }
    void operator()(AVCodecParameters *p) const
    {
        avcodec_parameters_free(&p);
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

using FormatPtr = std::unique_ptr<AVFormatContext, Deleter>;
using IoPtr = std::unique_ptr<AVIOContext, Deleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, Deleter>;
using ParametersPtr = std::unique_ptr<AVCodecParameters, Deleter>;
using PacketPtr = std::unique_ptr<AVPacket, Deleter>;
using FramePtr = std::unique_ptr<AVFrame, Deleter>;

/** Frees an options dictionary; FFmpeg exchanges the pointer inside. */
class Options
{
public:
    Options() = default;
    ~Options()
    {
        av_dict_free(&m_pEntries);
    }
    Options(const Options &) = delete;
    Options &operator=(const Options &) = delete;

    void set(const char *pName, const char *pValue)
    {
        av_dict_set(&m_pEntries, pName, pValue, 0);
    }
    [[nodiscard]] AVDictionary **get()
    {
        return &m_pEntries;
    }

private:
    AVDictionary *m_pEntries = nullptr;
};

/** Throws std::bad_alloc where FFmpeg answered null for lack of memory. */
template <typename T>
T *required(T *p)
{
    if (p == nullptr) {
        throw std::bad_alloc();
    }
    return p;
}

} // namespace ffmpeg

#endif
