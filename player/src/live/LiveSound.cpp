#include "player/src/live/LiveSound.h"

#include "player/src/core/Codec.h"
#include "player/src/sound/SoundDecoder.h"

namespace player
{

namespace
{

/** When the programme of a transport stream changes, the sound goes on in another stream after this. */
constexpr std::chrono::seconds kMostTime{2};

} // namespace

void LiveSound::opened(const AVFormatContext &format)
{
    m_nStream = -1;
    m_bBegun = false;
    if (!m_pTrack) {
        return;
    }
    m_pTrack->flush();
    const bool bStreamsKnown = (format.ctx_flags & AVFMTCTX_NOHEADER) == 0;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVCodecParameters &parameters = *format.streams[i]->codecpar;
        if (parameters.codec_type != AVMEDIA_TYPE_AUDIO) {
            continue;
        }
        m_nStream = static_cast<int>(i);
        // Where the header is not the last word, a codec that it does not tell may still be told by the packets.
        if (bStreamsKnown || SoundDecoder::canDecode(parameters)) {
            choose(m_nStream, format);
        }
        return;
    }
    if (bStreamsKnown) {
        m_pTrack->setStream(nullptr);
    }
}

void LiveSound::failed()
{
    if (m_pTrack) {
        m_pTrack->setStream(nullptr);
    }
}

void LiveSound::choose(int index, const AVFormatContext &format)
{
    m_nStream = index;
    m_pTrack->setStream(format.streams[index]->codecpar);
}

void LiveSound::took(PacketPtr pPacket, const AVFormatContext &format)
{
    const int index = pPacket->stream_index;
    const AVStream &stream = *format.streams[index];
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO || !m_pTrack) {
        return;
    }
    const Moment now = m_clock.now();
    if (m_nStream < 0 || (m_nStream == index && !m_bBegun) || (m_nStream != index && now - m_packetTime > kMostTime)) {
        choose(index, format);
        m_bBegun = true;
    }
    if (m_nStream != index) {
        return;
    }
    m_packetTime = now;
    const std::int64_t time =
        pPacket->pts == AV_NOPTS_VALUE ? AV_NOPTS_VALUE : microsecondsBetween(0, pPacket->pts, stream.time_base);
    m_pTrack->push(std::move(pPacket), time);
}

} // namespace player
