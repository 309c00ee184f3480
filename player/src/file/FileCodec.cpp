#include "player/src/file/FileCodec.h"

#include "player/src/core/Codec.h"
#include "player/src/core/Error.h"
#include "player/src/core/HardwareDecoding.h"

#include <algorithm>

namespace player
{

void FileCodec::open(const AVStream &stream, DecoderThreads threads)
{
    m_pStream = &stream;
    m_threads = threads;
    m_codecs[Playing] = openDecoder(threads.playing);
    if (m_codecs[Playing]->hw_device_ctx) {
        // The card has its own threads.
        m_threads.hurried = threads.playing;
    }
}

CodecPtr FileCodec::openDecoder(int threads) const
{
    return player::openDecoder(*m_pStream, [threads](AVCodecContext &codec) {
        codec.thread_count = threads;
        codec.flags |= AV_CODEC_FLAG_COPY_OPAQUE;
    });
}

void FileCodec::restart()
{
    flushDecoder(*m_codecs[m_nDecoding]);
    if (wantsChange()) {
        change();
    }
}

void FileCodec::change()
{
    const int next = 1 - m_nDecoding;
    try {
        if (!m_codecs[next]) {
            m_codecs[next] = openDecoder(next == Hurried ? m_threads.hurried : m_threads.playing);
            static_cast<void>(avcodec_send_packet(m_codecs[next].get(), m_pFirst.get()));
            flushDecoder(*m_codecs[next]);
        }
    } catch (const OpenFailure &) {
        m_threads.hurried = m_threads.playing;
    }
    // A drained decoder takes nothing before it was flushed.
    flushDecoder(*m_codecs[m_nDecoding]);
    if (!m_codecs[next]) {
        return;
    }
    // How far pictures overtake each other is learned from the pictures, and too late for the first ones.
    m_codecs[next]->has_b_frames = std::max(m_codecs[next]->has_b_frames, m_codecs[m_nDecoding]->has_b_frames);
    m_nDecoding = next;
    m_bTellParameters = !m_parameters.empty();
}

void FileCodec::noteParameters(const AVPacket &packet)
{
    std::size_t size = 0;
    const std::uint8_t *pData = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &size);
    if (pData) {
        m_parameters.assign(pData, pData + size);
        m_bTellParameters = false;
    }
}

int FileCodec::send(AVPacket *pPacket)
{
    if (pPacket) {
        if (!m_pFirst) {
            m_pFirst.reset(av_packet_clone(pPacket));
        }
        noteParameters(*pPacket);
        if (m_bTellParameters) {
            std::uint8_t *pData = av_packet_new_side_data(pPacket, AV_PKT_DATA_NEW_EXTRADATA, m_parameters.size());
            if (!pData) {
                return AVERROR(ENOMEM);
            }
            std::copy(m_parameters.begin(), m_parameters.end(), pData);
            m_bTellParameters = false;
        }
    }
    return avcodec_send_packet(m_codecs[m_nDecoding].get(), pPacket);
}

int FileCodec::receive(AVFrame &frame)
{
    return receivePicture(*m_codecs[m_nDecoding], frame);
}

} // namespace player
