#include "device/tests/StreamRecorder.h"

#include "device/src/Ffmpeg.h"

#include <algorithm>
#include <cstring>

namespace selvik
{

namespace
{

struct MemoryReader {
    Bytes bytes;
    std::size_t at = 0;

    static int read(void *pSelf, std::uint8_t *pBuffer, int size)
    {
        auto &self = *static_cast<MemoryReader *>(pSelf);
        const std::size_t count = std::min(self.bytes.size() - self.at, static_cast<std::size_t>(size));
        std::memcpy(pBuffer, self.bytes.data() + self.at, count);
        self.at += count;
        return count == 0 ? AVERROR_EOF : static_cast<int>(count);
    }
};

/** Decodes pictures and counts what comes out. */
class PictureCounter
{
public:
    explicit PictureCounter(const AVCodecParameters &parameters)
        : m_context(avcodec_alloc_context3(avcodec_find_decoder(parameters.codec_id))), m_frame(av_frame_alloc())
    {
        avcodec_parameters_to_context(m_context.get(), &parameters);
        m_context->thread_count = 1;
        m_context->err_recognition = AV_EF_EXPLODE;
        avcodec_open2(m_context.get(), nullptr, nullptr);
    }

    void feed(const AVPacket *pPacket, StreamContents &contents)
    {
        if (avcodec_send_packet(m_context.get(), pPacket) < 0) {
            ++contents.nDecodeErrors;
        }
        while (avcodec_receive_frame(m_context.get(), m_frame.get()) >= 0) {
            const bool bBroken = m_frame->decode_error_flags != 0 || (m_frame->flags & AV_FRAME_FLAG_CORRUPT) != 0;
            contents.nDecodeErrors += bBroken ? 1 : 0;
            ++contents.nDecoded;
        }
    }

private:
    CodecPtr m_context;
    FramePtr m_frame;
};

std::string tag(const AVDictionary *pDictionary, const char *pName)
{
    const AVDictionaryEntry *pEntry = av_dict_get(pDictionary, pName, nullptr, 0);
    return pEntry == nullptr ? std::string() : pEntry->value;
}

/** Notes what the tracks are; the counter of the video track's pictures, null where there is none. */
std::unique_ptr<PictureCounter> readTracks(const AVFormatContext *pFormat, StreamContents &contents)
{
    std::unique_ptr<PictureCounter> counter;
    contents.recordingTime = tag(pFormat->metadata, "creation_time");
    for (unsigned int i = 0; i < pFormat->nb_streams; ++i) {
        const AVStream *pStream = pFormat->streams[i];
        contents.mediaTypes.push_back(pStream->codecpar->codec_type);
        if (pStream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            counter = std::make_unique<PictureCounter>(*pStream->codecpar);
            contents.codec = avcodec_get_name(pStream->codecpar->codec_id);
            contents.nWidth = pStream->codecpar->width;
            contents.nHeight = pStream->codecpar->height;
        } else if (pStream->codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE) {
            contents.metadataTitle = tag(pStream->metadata, "title");
        }
    }
    return counter;
}

} // namespace

SELVIK_DCM_PREVIEW_INFO StreamRecorder::request(const std::string &url)
{
    m_url = url;
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.channel = 1;
    info.word16 = 1;
    info.callback = &StreamRecorder::callback;
    info.user = this;
    info.url = m_url.empty() ? nullptr : m_url.c_str();
    return info;
}

void StreamRecorder::callback(long handle, const SELVIK_DCM_STREAM_DATA *pData, void *pUser)
{
    auto &self = *static_cast<StreamRecorder *>(pUser);
    {
        const std::lock_guard<std::mutex> lock(self.m_mutex);
        self.m_nOverlaps += self.m_nInside++ > 0 ? 1 : 0;
        if (pData->type == SELVIK_STREAM_HEADER) {
            self.m_connections.emplace_back();
        } else {
            ++self.m_nData;
        }
        if (self.m_connections.empty()) {
            self.m_bDataFirst = true;
        } else {
            self.m_connections.back().emplace_back(pData->bytes, pData->bytes + pData->length);
        }
    }
    self.m_changed.notify_all();
    if (self.onData) {
        self.onData(handle, pData->type);
    }
    const std::lock_guard<std::mutex> lock(self.m_mutex);
    --self.m_nInside;
}

bool StreamRecorder::waitForRecords(std::size_t headers, std::size_t data, std::chrono::milliseconds most)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_time.wait(lock, m_changed, m_time.now() + most, [&] {
        return m_connections.size() >= headers && (m_connections.empty() ? 0 : m_connections.back().size() - 1) >= data;
    });
}

std::size_t StreamRecorder::headers() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.size();
}

std::size_t StreamRecorder::dataRecords() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nData;
}

int StreamRecorder::overlaps() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nOverlaps;
}

bool StreamRecorder::beganWithHeader() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_bDataFirst && !m_connections.empty();
}

std::vector<Bytes> StreamRecorder::connection(std::size_t number) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return number < m_connections.size() ? m_connections[number] : std::vector<Bytes>();
}

StreamContents StreamRecorder::read(std::size_t number) const
{
    StreamContents contents;
    MemoryReader reader;
    for (const Bytes &record : connection(number)) {
        reader.bytes.insert(reader.bytes.end(), record.begin(), record.end());
    }
    const IoPtr io(avio_alloc_context(static_cast<unsigned char *>(av_malloc(4096)), 4096, 0, &reader,
                                      &MemoryReader::read, nullptr, nullptr));
    AVFormatContext *pFormat = avformat_alloc_context();
    pFormat->pb = io.get();
    if (avformat_open_input(&pFormat, "", av_find_input_format("matroska"), nullptr) < 0) {
        return contents;
    }
    const FormatPtr format(pFormat);
    const std::unique_ptr<PictureCounter> counter = readTracks(pFormat, contents);
    const PacketPtr packet(av_packet_alloc());
    long long nLastSound = -1;
    while (av_read_frame(pFormat, packet.get()) >= 0) {
        const AVStream *pStream = pFormat->streams[packet->stream_index];
        const long long nTime = av_rescale_q(packet->pts, pStream->time_base, {1, 1000});
        if (pStream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            contents.bFirstIsKey =
                contents.nPictures == 0 ? (packet->flags & AV_PKT_FLAG_KEY) != 0 : contents.bFirstIsKey;
            if ((packet->flags & AV_PKT_FLAG_KEY) != 0) {
                contents.keyPictures.push_back(contents.nPictures);
            }
            ++contents.nPictures;
            contents.pictureTimes.push_back(nTime);
            std::size_t size = 0;
            const std::uint8_t *pSide =
                av_packet_get_side_data(packet.get(), AV_PKT_DATA_MATROSKA_BLOCKADDITIONAL, &size);
            if (pSide != nullptr && size == 16) {
                contents.captureTimes.push_back(static_cast<long long>(AV_RB64(pSide + 8)));
            }
            counter->feed(packet.get(), contents);
        } else if (pStream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            ++contents.nSounds;
            contents.bTimesRise = contents.bTimesRise && nTime > nLastSound;
            nLastSound = nTime;
        } else {
            contents.documents.emplace_back(reinterpret_cast<const char *>(packet->data),
                                            static_cast<std::size_t>(packet->size));
        }
        av_packet_unref(packet.get());
    }
    if (counter != nullptr) {
        counter->feed(nullptr, contents);
    }
    return contents;
}

} // namespace selvik
