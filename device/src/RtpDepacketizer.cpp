#include "device/src/RtpDepacketizer.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"

#include <cstring>

namespace selvik
{

namespace
{

// Larger than any datagram, so that each read gets a packet whole.
constexpr int bufferSize = 80 * 1024;

} // namespace

RtpDepacketizer::RtpDepacketizer(const SdpMedia &media) : m_nPayloadType(media.nPayloadType)
{
    // Cameras write parameters that cannot be read; what these should tell then comes with the pictures.
    if (!open(media.description(true)) && !open(media.description(false))) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

bool RtpDepacketizer::open(const std::string &description)
{
    m_format.reset();
    m_io.reset(required(avio_alloc_context(static_cast<unsigned char *>(required(av_malloc(bufferSize))), bufferSize, 0,
                                           this, &RtpDepacketizer::read, nullptr, nullptr)));
    m_input.assign(description.begin(), description.end());
    AVFormatContext *pFormat = required(avformat_alloc_context());
    pFormat->pb = m_io.get();
    pFormat->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    Options options;
    options.set("sdp_flags", "custom_io");
    options.set("reorder_queue_size", "0");
    // Frees the context itself when it fails.
    if (avformat_open_input(&pFormat, "", av_find_input_format("sdp"), options.get()) < 0) {
        return false;
    }
    m_format.reset(pFormat);
    return m_format->nb_streams == 1 && m_format->streams[0]->codecpar->codec_id != AV_CODEC_ID_NONE;
}

int RtpDepacketizer::read(void *pSelf, std::uint8_t *pBuffer, int size)
{
    Bytes &input = static_cast<RtpDepacketizer *>(pSelf)->m_input;
    if (input.empty()) {
        return AVERROR_EOF;
    }
    const std::size_t count = std::min(input.size(), static_cast<std::size_t>(size));
    std::memcpy(pBuffer, input.data(), count);
    input.erase(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(count));
    return static_cast<int>(count);
}

void RtpDepacketizer::feed(ByteView packet, std::vector<PacketPtr> &output)
{
    constexpr std::size_t headSize = 12;
    if (packet.size <= headSize || packet.size > bufferSize) {
        return;
    }
    m_input.assign(packet.begin(), packet.end());
    // Some cameras number the payload otherwise than they described it; there is one medium here, so it is meant.
    m_input[1] = static_cast<std::uint8_t>((m_input[1] & 0x80) | m_nPayloadType);
    // The end that the last read met is over.
    m_io->eof_reached = 0;
    m_io->error = 0;
    for (;;) {
        PacketPtr piece(required(av_packet_alloc()));
        if (av_read_frame(m_format.get(), piece.get()) < 0) {
            return;
        }
        if (piece->size > 0) {
            output.push_back(std::move(piece));
        }
    }
}

} // namespace selvik
