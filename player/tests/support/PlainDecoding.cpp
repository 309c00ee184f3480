#include "player/tests/support/PlainDecoding.h"

#include "player/src/core/Picture.h"
#include "player/tests/support/PictureNumber.h"

#include <algorithm>
#include <stdexcept>

extern "C" {
#include <libavutil/adler32.h>
#include <libavutil/pixdesc.h>
}

namespace player::test
{

namespace
{

void require(bool holds, const char *what)
{
    if (!holds) {
        throw std::runtime_error(what);
    }
}

/** FFmpeg's own objects and nothing between them. */
class Plain
{
public:
    explicit Plain(const std::string &path)
    {
        AVFormatContext *pFormat = nullptr;
        require(avformat_open_input(&pFormat, path.c_str(), nullptr, nullptr) >= 0, "does not open");
        m_pFormat.reset(pFormat);
        require(avformat_find_stream_info(pFormat, nullptr) >= 0, "no streams");
        const AVCodec *pCodec = nullptr;
        const int index = av_find_best_stream(pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, &pCodec, 0);
        require(index >= 0, "no pictures");
        m_pStream = pFormat->streams[index];
        m_pCodec.reset(avcodec_alloc_context3(pCodec));
        avcodec_parameters_to_context(m_pCodec.get(), m_pStream->codecpar);
        m_pCodec->pkt_timebase = m_pStream->time_base;
        m_pCodec->thread_count = 1;
        require(avcodec_open2(m_pCodec.get(), pCodec, nullptr) >= 0, "no decoder");
        m_bRaw = (pFormat->iformat->flags & AVFMT_NOTIMESTAMPS) != 0;
        const std::string name = pFormat->iformat->name;
        m_bOrder = name == "avi";
    }

    std::vector<PlainPicture> decode()
    {
        const PacketPtr pPacket(av_packet_alloc());
        while (av_read_frame(m_pFormat.get(), pPacket.get()) >= 0) {
            if (pPacket->stream_index == m_pStream->index) {
                m_stamps.push_back(pPacket->dts);
                avcodec_send_packet(m_pCodec.get(), pPacket.get());
                receive();
            }
            av_packet_unref(pPacket.get());
        }
        avcodec_send_packet(m_pCodec.get(), nullptr);
        receive();
        return std::move(m_pictures);
    }

private:
    void receive()
    {
        for (;;) {
            FramePtr pFrame(av_frame_alloc());
            if (avcodec_receive_frame(m_pCodec.get(), pFrame.get()) < 0) {
                return;
            }
            PlainPicture entry;
            entry.time = timeOf(*pFrame);
            entry.checksum = checksumOf(*pFrame);
            Picture picture;
            picture.shape = shapeOf(*pFrame, m_pStream);
            picture.hold(std::move(pFrame));
            entry.number = numberOf(picture);
            m_pictures.push_back(entry);
        }
    }

    std::int64_t timeOf(const AVFrame &frame)
    {
        const AVRational rate = m_bRaw ? m_pCodec->framerate : m_pStream->avg_frame_rate;
        const std::int64_t usual = av_rescale_q(1, av_inv_q(rate), AV_TIME_BASE_Q);
        // AVI says when packets are decoded: the earliest such time belongs to the first picture shown, and so on.
        const std::int64_t stamp = m_bOrder ? m_stamps[m_pictures.size()] : frame.pts;
        if (m_bRaw || stamp == AV_NOPTS_VALUE) {
            return m_pictures.empty() ? 0 : m_pictures.back().time + usual;
        }
        if (m_pictures.empty()) {
            m_nFirst = stamp;
        }
        return av_rescale_q(stamp - m_nFirst, m_pStream->time_base, AV_TIME_BASE_Q);
    }

    FormatPtr m_pFormat;
    AVStream *m_pStream = nullptr;
    CodecPtr m_pCodec;
    bool m_bRaw = false;
    bool m_bOrder = false;
    std::int64_t m_nFirst = 0;
    std::vector<std::int64_t> m_stamps;
    std::vector<PlainPicture> m_pictures;
};

} // namespace

std::vector<PlainPicture> decodePlainly(const std::string &path)
{
    return Plain(path).decode();
}

std::size_t pictureAt(const std::vector<PlainPicture> &pictures, std::int64_t time)
{
    const auto behind = std::upper_bound(pictures.begin(), pictures.end(), time,
                                         [](std::int64_t t, const PlainPicture &picture) { return t < picture.time; });
    return behind == pictures.begin() ? 0 : static_cast<std::size_t>(behind - pictures.begin()) - 1;
}

std::uint32_t checksumOf(const AVFrame &frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor *pFormat = av_pix_fmt_desc_get(format);
    AVAdler sum = 1;
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
        const bool bChroma = plane == 1 || plane == 2;
        const int rows = bChroma ? AV_CEIL_RSHIFT(frame.height, pFormat->log2_chroma_h) : frame.height;
        const auto bytes = static_cast<std::size_t>(av_image_get_linesize(format, frame.width, plane));
        for (int row = 0; row < rows; ++row) {
            sum = av_adler32_update(sum, frame.data[plane] + std::ptrdiff_t{row} * frame.linesize[plane], bytes);
        }
    }
    return sum;
}

} // namespace player::test
