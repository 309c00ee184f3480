#include "device/src/RtpDepacketizer.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"

#include <cstring>

namespace selvik
{

namespace
{

// Larger than any datagram, so that each read gets a whole packet.
constexpr int kBufferSize = 80 * 1024;

} // namespace

RtpDepacketizer::RtpDepacketizer(const SdpMedia &media) : m_nPayloadType(media.nPayloadType)
{
    // Some cameras write format parameters that FFmpeg cannot read. Without them the medium can still be read, since
    // cameras repeat the parameter sets between the pictures.
    if (!open(media.description(true)) && !open(media.description(false))) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

bool RtpDepacketizer::open(const std::string &description)
{
    m_format.reset();
    m_bOpen = false;
    m_io.reset(required(avio_alloc_context(static_cast<unsigned char *>(required(av_malloc(kBufferSize))), kBufferSize,
                                           0, this, &RtpDepacketizer::read, &RtpDepacketizer::drop, nullptr)));
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
    // FFmpeg 7.1 writes a receiver report into the context that it reads packets from every 280 KB. It hangs where that
    // context is for reading only. So the context is marked as one for both: FFmpeg then reads packet by packet, past
    // the buffer, and drop() swallows what it writes. RtspInput sends the reports itself.
    m_io->write_flag = 1;
    m_io->buf_ptr = m_io->buffer;
    m_io->buf_ptr_max = m_io->buffer;
    m_io->buf_end = m_io->buffer + m_io->buffer_size;
    m_bOpen = true;
    return m_format->nb_streams == 1 && m_format->streams[0]->codecpar->codec_id != AV_CODEC_ID_NONE;
}

int RtpDepacketizer::read(void *pSelf, std::uint8_t *pBuffer, int size)
{
    auto &self = *static_cast<RtpDepacketizer *>(pSelf);
    Bytes &input = self.m_input;
    if (input.empty()) {
        // While the description is read, its end is the end of the file; later there is no packet at the moment.
        return self.m_bOpen ? AVERROR(EAGAIN) : AVERROR_EOF;
    }
    const std::size_t count = std::min(input.size(), static_cast<std::size_t>(size));
    std::memcpy(pBuffer, input.data(), count);
    input.erase(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(count));
    return static_cast<int>(count);
}

int RtpDepacketizer::drop(void * /*pSelf*/, const std::uint8_t * /*pBuffer*/, int size)
{
    return size;
}

void RtpDepacketizer::feed(ByteView packet, std::vector<PacketPtr> &output)
{
    constexpr std::size_t kHeadSize = 12;
    if (packet.size <= kHeadSize || packet.size > kBufferSize) {
        return;
    }
    m_input.assign(packet.begin(), packet.end());
    // Some cameras send another payload type than they described. FFmpeg would drop the packet, so it gets the type of
    // the description, which holds this medium alone.
    m_input[1] = static_cast<std::uint8_t>((m_input[1] & 0x80) | m_nPayloadType);
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
