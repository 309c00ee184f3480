#include "device/src/LiveMuxer.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <string>

namespace selvik
{

namespace
{

constexpr int kBufferSize = 64 * 1024;
// Microseconds by which a picture may be shown before one that was sent ahead of it.
constexpr std::int64_t kLongestReordering = 5000000;

/** Null-terminated, as FFmpeg wants it. */
std::array<const AVCodecTag *, 2> riffTags(AVMediaType type)
{
    return {type == AVMEDIA_TYPE_AUDIO ? avformat_get_riff_audio_tags() : avformat_get_riff_video_tags(), nullptr};
}

/** "2024-05-06T07:08:09.123456Z", the form that FFmpeg reads. */
std::string timeText(std::int64_t utc)
{
    const std::time_t seconds = static_cast<std::time_t>(utc / 1000000);
    std::tm parts = {};
#ifdef _WIN32
    gmtime_s(&parts, &seconds);
#else
    gmtime_r(&seconds, &parts);
#endif
    char text[40];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text + length, sizeof text - length, ".%06dZ", static_cast<int>(utc % 1000000));
    return text;
}

} // namespace

LiveMuxer::LiveMuxer(const std::vector<ParametersPtr> &tracks, std::int64_t utcOfZero)
{
    m_io = makeIo(kBufferSize, this, nullptr, &LiveMuxer::append, nullptr);
    m_io->seekable = 0;
    // What FFmpeg writes in one piece goes past the context's buffer.
    m_io->direct = 1;
    AVFormatContext *pFormat = nullptr;
    if (avformat_alloc_output_context2(&pFormat, nullptr, "matroska", nullptr) < 0) {
        throw std::bad_alloc();
    }
    m_format.reset(pFormat);
    m_format->pb = m_io.get();
    m_format->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
    m_format->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    for (const ParametersPtr &parameters : tracks) {
        addTrack(*parameters);
    }
    if (utcOfZero > 0) {
        av_dict_set(&m_format->metadata, "creation_time", timeText(utcOfZero).c_str(), 0);
    }
    m_lastDts.assign(tracks.size(), -kLongestReordering);
}

bool LiveMuxer::canCarry(const AVCodecParameters &parameters)
{
    const AVCodecID codec = parameters.codec_id;
    if (codec == AV_CODEC_ID_AAC && parameters.extradata_size == 0) {
        // Raw AAC cannot be decoded without the configuration that the extradata holds.
        return false;
    }
    // Matroska names some codings itself. Others are stored by their number in WAV and AVI files.
    return avformat_query_codec(av_guess_format("matroska", nullptr, nullptr), codec, FF_COMPLIANCE_NORMAL) == 1 ||
           av_codec_get_tag(riffTags(parameters.codec_type).data(), codec) != 0;
}

void LiveMuxer::addTrack(const AVCodecParameters &parameters)
{
    AVStream *pStream = required(avformat_new_stream(m_format.get(), nullptr));
    if (avcodec_parameters_copy(pStream->codecpar, &parameters) < 0) {
        throw std::bad_alloc();
    }
    // A tag of another container makes the muxer refuse the track.
    pStream->codecpar->codec_tag = 0;
    pStream->time_base = AV_TIME_BASE_Q;
    if (parameters.codec_type == AVMEDIA_TYPE_SUBTITLE) {
        av_dict_set(&pStream->metadata, "title", "application/vnd.onvif.metadata", 0);
    }
}

int LiveMuxer::append(void *pSelf, const std::uint8_t *pBuffer, int size)
{
    try {
        Bytes &output = static_cast<LiveMuxer *>(pSelf)->m_output;
        output.insert(output.end(), pBuffer, pBuffer + size);
        return size;
    } catch (...) {
        // The caller is C code, which no exception may pass through.
        return AVERROR(ENOMEM);
    }
}

Bytes LiveMuxer::take()
{
    avio_flush(m_io.get());
    if (m_io->error < 0) {
        throw std::bad_alloc();
    }
    Bytes bytes;
    bytes.swap(m_output);
    return bytes;
}

Bytes LiveMuxer::header()
{
    Options options;
    options.set("live", "1");
    if (avformat_write_header(m_format.get(), options.get()) < 0) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    return take();
}

Bytes LiveMuxer::write(const MediaUnit &unit)
{
    // The heads of cluster and block take a few dozen bytes.
    constexpr std::size_t kHeads = 256;
    m_output.reserve(unit.bytes().size + kHeads);
    const AVStream *pStream = m_format->streams[unit.track];
    const PacketPtr packet(required(av_packet_clone(unit.packet.get())));
    packet->stream_index = static_cast<int>(unit.track);
    // The muxer asks for decoding times and does not store them. They only have to rise and must not lie behind the
    // presentation time.
    std::int64_t &lastDts = m_lastDts[unit.track];
    lastDts = std::max(lastDts, unit.packet->pts - kLongestReordering);
    packet->dts = std::min(lastDts, unit.packet->pts);
    av_packet_rescale_ts(packet.get(), AV_TIME_BASE_Q, pStream->time_base);
    if (unit.captureTime != AV_NOPTS_VALUE && pStream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
        constexpr std::uint64_t kCodecsOwnMeaning = 1;
        std::uint8_t *pSide = required(av_packet_new_side_data(packet.get(), AV_PKT_DATA_MATROSKA_BLOCKADDITIONAL, 16));
        AV_WB64(pSide, kCodecsOwnMeaning);
        AV_WB64(pSide + 8, static_cast<std::uint64_t>(unit.captureTime));
    }
    writePacket(*packet);
    if (pStream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
        // The muxer holds a packet of sound back until the next one comes. An empty packet makes it write the held one.
        packet->size = 0;
        writePacket(*packet);
    }
    if (av_write_frame(m_format.get(), nullptr) < 0) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    return take();
}

void LiveMuxer::writePacket(AVPacket &packet)
{
    if (av_write_frame(m_format.get(), &packet) < 0) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

} // namespace selvik
