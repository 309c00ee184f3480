#include "player/src/sound/SoundDecoder.h"

#include "player/src/core/Codec.h"
#include "player/src/core/Error.h"

namespace player
{

namespace
{

constexpr AVRational kMicroseconds = {1, 1000000};

} // namespace

bool SoundDecoder::canDecode(const AVCodecParameters &parameters)
{
    return parameters.codec_type == AVMEDIA_TYPE_AUDIO && avcodec_find_decoder(parameters.codec_id) != nullptr;
}

void SoundDecoder::open(const SoundPacket &packet)
{
    m_pParameters = packet.pParameters;
    m_pCodec.reset();
    const AVCodec *pDecoder = avcodec_find_decoder(m_pParameters->codec_id);
    CodecPtr pCodec(pDecoder ? avcodec_alloc_context3(pDecoder) : nullptr);
    if (!pCodec || avcodec_parameters_to_context(pCodec.get(), m_pParameters.get()) < 0) {
        return;
    }
    pCodec->pkt_timebase = kMicroseconds;
    // A frame is a moment's work: more threads would only hand it about.
    pCodec->thread_count = 1;
    if (avcodec_open2(pCodec.get(), pDecoder, nullptr) >= 0) {
        m_pCodec = std::move(pCodec);
    }
}

void SoundDecoder::feed(const SoundPacket &packet)
{
    if (packet.pParameters != m_pParameters) {
        open(packet);
    }
    if (!m_pCodec) {
        return;
    }
    AVPacket &coded = *packet.pPacket;
    coded.pts = packet.time;
    coded.dts = AV_NOPTS_VALUE;
    coded.duration = 0;
    // One that is refused is damaged; the decoder finds its way into the next one by itself.
    avcodec_send_packet(m_pCodec.get(), &coded);
}

FramePtr SoundDecoder::take()
{
    if (!m_pCodec) {
        return nullptr;
    }
    FramePtr pFrame(ffmpeg::required(av_frame_alloc()));
    if (avcodec_receive_frame(m_pCodec.get(), pFrame.get()) < 0) {
        return nullptr;
    }
    pFrame->pts = pFrame->best_effort_timestamp;
    return pFrame;
}

void SoundDecoder::flush()
{
    if (m_pCodec) {
        avcodec_flush_buffers(m_pCodec.get());
    }
}

} // namespace player
