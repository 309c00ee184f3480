#ifndef DEVICE_FFMPEG_H
#define DEVICE_FFMPEG_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/hash.h>
#include <libavutil/intreadwrite.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
}

#include <memory>

namespace selvik
{

/** Gives FFmpeg's objects back by the function that each of them asks for. */
struct FfmpegDeleter {
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
        // The buffer may have been exchanged since it was handed over; the context knows the present one.
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

using FormatPtr = std::unique_ptr<AVFormatContext, FfmpegDeleter>;
using IoPtr = std::unique_ptr<AVIOContext, FfmpegDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, FfmpegDeleter>;
using ParametersPtr = std::unique_ptr<AVCodecParameters, FfmpegDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, FfmpegDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FfmpegDeleter>;

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

} // namespace selvik

#endif
