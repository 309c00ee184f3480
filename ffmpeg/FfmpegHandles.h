#ifndef FFMPEG_FFMPEGHANDLES_H
#define FFMPEG_FFMPEGHANDLES_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
}

#include <cstddef>
#include <cstdint>
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

    /** Throws std::bad_alloc: what may be opened must not go unsaid. */
    void set(const char *pName, const char *pValue)
    {
        if (av_dict_set(&m_pEntries, pName, pValue, 0) < 0) {
            throw std::bad_alloc();
        }
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

using ReadFunction = int (*)(void *pOwner, std::uint8_t *pBuffer, int size);
using WriteFunction = int (*)(void *pOwner, const std::uint8_t *pBuffer, int size);
using SeekFunction = std::int64_t (*)(void *pOwner, std::int64_t offset, int whence);

/**
 * A context with a buffer of so many bytes whose functions are called with pOwner. It is for reading where there is a
 * function that reads; without one that seeks, forwards only. Throws std::bad_alloc.
 */
[[nodiscard]] inline IoPtr makeIo(int bufferBytes, void *pOwner, ReadFunction read, WriteFunction write,
                                  SeekFunction seek)
{
    struct Free {
        void operator()(unsigned char *p) const
        {
            av_free(p);
        }
    };
    std::unique_ptr<unsigned char, Free> pBuffer(
        static_cast<unsigned char *>(required(av_malloc(static_cast<std::size_t>(bufferBytes)))));
    const int writes = read == nullptr && write != nullptr ? 1 : 0;
    IoPtr pIo(required(avio_alloc_context(pBuffer.get(), bufferBytes, writes, pOwner, read, write, seek)));
    (void)pBuffer.release();
    return pIo;
}

} // namespace ffmpeg

#endif
