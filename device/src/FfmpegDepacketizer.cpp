#include "device/src/FfmpegDepacketizer.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"
#include "device/src/G726Packing.h"

#include <algorithm>
#include <cstring>

namespace selvik
{

namespace
{

// Larger than any datagram, so that each read gets a whole packet.
constexpr int kBufferSize = 80 * 1024;

} // namespace

FfmpegDepacketizer::FfmpegDepacketizer(const SdpMedia &media)
    : m_nPayloadType(media.nPayloadType), m_parameters(required(avcodec_parameters_alloc())), m_jpegSize(media)
{
    // Some cameras write format parameters that FFmpeg cannot read. Without them the medium can still be read, since
    // cameras repeat the parameter sets between the pictures.
    if (!open(media.description(true)) && !open(media.description(false))) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    if (avcodec_parameters_copy(m_parameters.get(), m_format->streams[0]->codecpar) < 0) {
        throw std::bad_alloc();
    }
    m_bTurnsG726 = m_parameters->codec_id == AV_CODEC_ID_ADPCM_G726LE;
    if (m_bTurnsG726) {
        m_parameters->codec_id = AV_CODEC_ID_ADPCM_G726;
    }
}

bool FfmpegDepacketizer::open(const std::string &description)
{
    m_format.reset();
    m_bOpen = false;
    m_io = makeIo(kBufferSize, this, &FfmpegDepacketizer::read, &FfmpegDepacketizer::drop, nullptr);
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

int FfmpegDepacketizer::read(void *pSelf, std::uint8_t *pBuffer, int size)
{
    auto &self = *static_cast<FfmpegDepacketizer *>(pSelf);
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

int FfmpegDepacketizer::drop(void * /*pSelf*/, const std::uint8_t * /*pBuffer*/, int size)
{
    return size;
}

void FfmpegDepacketizer::feed(const RtpPacket &packet, CodedSink &sink)
{
    if (packet.payload.empty() || packet.raw.size > kBufferSize) {
        return;
    }
    m_input.assign(packet.raw.begin(), packet.raw.end());
    // Some cameras send another payload type than they described. FFmpeg would drop the packet, so it gets the type of
    // the description, which holds this medium alone.
    m_input[1] = static_cast<std::uint8_t>((m_input[1] & 0x80) | m_nPayloadType);
    const bool bJpeg = m_parameters->codec_id == AV_CODEC_ID_MJPEG;
    if (bJpeg) {
        m_jpegSize.note(packet);
    }
    const PacketPtr piece(required(av_packet_alloc()));
    while (av_read_frame(m_format.get(), piece.get()) >= 0) {
        const ByteView bytes = {piece->data, static_cast<std::size_t>(std::max(0, piece->size))};
        if (!bytes.empty()) {
            if (bJpeg) {
                m_jpegSize.complete(piece->data, bytes.size);
            } else if (m_bTurnsG726) {
                packFromHighestBits(piece->data, bytes.size, m_parameters->bits_per_coded_sample);
            }
            sink.begin(bytes);
            sink.append(bytes);
        }
        av_packet_unref(piece.get());
    }
}

} // namespace selvik
