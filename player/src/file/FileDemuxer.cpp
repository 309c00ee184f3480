#include "player/src/file/FileDemuxer.h"

#include "player/src/core/Codec.h"
#include "player/src/core/Container.h"

#include <algorithm>
#include <vector>

namespace player
{

namespace
{

constexpr int kIoBufferBytes = 64 * 1024;
/** How far from the end a live recording is looked at for its last picture. */
constexpr std::int64_t kEndLookBytes = 4 * 1024 * 1024;

Error errorOfOpening(int result)
{
    switch (result) {
    case AVERROR(ENOMEM):
        return Error::Resources;
    case AVERROR_PATCHWELCOME:
        return Error::Unsupported;
    default:
        return Error::Corrupt;
    }
}

/** FFmpeg's analysis, in which decoders of its own look at the first pictures, within the bounds of ours. */
bool findStreamInfo(AVFormatContext &format)
{
    std::vector<AVDictionary *> options(format.nb_streams, nullptr);
    for (AVDictionary *&pOptions : options) {
        av_dict_set_int(&pOptions, "max_pixels", kMostPixels, 0);
    }
    const bool bFound = avformat_find_stream_info(&format, options.data()) >= 0;
    for (AVDictionary *&pOptions : options) {
        av_dict_free(&pOptions);
    }
    return bFound;
}

} // namespace

FileDemuxer::FileDemuxer(std::unique_ptr<ByteSource> pBytes) : m_pBytes(std::move(pBytes)) {}

FileDemuxer::~FileDemuxer() = default;

int FileDemuxer::readBytes(void *pSelf, std::uint8_t *pBuffer, int size)
{
    auto &self = *static_cast<FileDemuxer *>(pSelf);
    if (self.m_bInterrupted) {
        return AVERROR_EXIT;
    }
    const int count = self.m_pBytes->read(pBuffer, size);
    if (count < 0) {
        return AVERROR(EIO);
    }
    self.m_nBytePosition += count;
    return count == 0 ? AVERROR_EOF : count;
}

std::int64_t FileDemuxer::seekBytes(void *pSelf, std::int64_t offset, int whence)
{
    auto &self = *static_cast<FileDemuxer *>(pSelf);
    const std::int64_t size = self.m_pBytes->size();
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return size < 0 ? AVERROR(ENOSYS) : size;
    case SEEK_CUR:
        offset += self.m_nBytePosition;
        break;
    case SEEK_END:
        offset += size;
        break;
    default:
        break;
    }
    if (offset < 0 || !self.m_pBytes->seek(offset)) {
        return AVERROR(EIO);
    }
    self.m_nBytePosition = offset;
    return offset;
}

int FileDemuxer::isInterrupted(void *pSelf)
{
    return static_cast<FileDemuxer *>(pSelf)->m_bInterrupted ? 1 : 0;
}

void FileDemuxer::interrupt()
{
    m_bInterrupted = true;
    m_pBytes->interrupt();
}

void FileDemuxer::open()
{
    openFormat();
    choosePictureStream();
    useOnlyPictureStream();
}

void FileDemuxer::openFormat()
{
    m_pIo = makeIo(this, kIoBufferBytes, readBytes, m_pBytes->size() >= 0 ? seekBytes : nullptr);
    if (m_pBytes->size() == 0) {
        throw OpenFailure{Error::Corrupt};
    }
    const AVInputFormat *pInput = nullptr;
    if (av_probe_input_buffer2(m_pIo.get(), &pInput, "", nullptr, 0, 0) < 0 || !pInput ||
        !isAmong(*pInput, kContainers)) {
        throw OpenFailure{Error::Unsupported};
    }
    AVFormatContext *pFormat = makeFormat(*m_pIo, kContainers, {isInterrupted, this});
    // On failure the context is freed by the function itself.
    const int result = avformat_open_input(&pFormat, "", pInput, nullptr);
    if (result < 0) {
        throw OpenFailure{errorOfOpening(result)};
    }
    m_pFormat.reset(pFormat);
    if (!findStreamInfo(*m_pFormat)) {
        throw OpenFailure{Error::Corrupt};
    }
}

void FileDemuxer::choosePictureStream()
{
    const int index = av_find_best_stream(m_pFormat.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    // The cover of a piece of music is a picture stream to FFmpeg, but nothing that plays.
    if (index < 0 || (m_pFormat->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        throw OpenFailure{Error::Unsupported};
    }
    m_pStream = m_pFormat->streams[index];
}

void FileDemuxer::useOnlyPictureStream()
{
    for (unsigned i = 0; i < m_pFormat->nb_streams; ++i) {
        AVStream *pStream = m_pFormat->streams[i];
        pStream->discard = pStream == m_pStream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

bool FileDemuxer::read(AVPacket &packet)
{
    while (av_read_frame(m_pFormat.get(), &packet) >= 0) {
        if (packet.stream_index == m_pStream->index) {
            return true;
        }
        av_packet_unref(&packet);
    }
    return false;
}

bool FileDemuxer::seek(std::int64_t tick)
{
    return av_seek_frame(m_pFormat.get(), m_pStream->index, tick, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool FileDemuxer::rewind()
{
    // Formats without an index find their first packet by its place, the others by a time before all times.
    const bool bByBytes = isWithoutTimes() || (m_pFormat->iformat->flags & AVFMT_TS_DISCONT) != 0;
    if (bByBytes && av_seek_frame(m_pFormat.get(), -1, 0, AVSEEK_FLAG_BYTE) >= 0) {
        return true;
    }
    const std::int64_t start = m_pStream->start_time == AV_NOPTS_VALUE ? 0 : m_pStream->start_time;
    if (!bByBytes && avformat_seek_file(m_pFormat.get(), m_pStream->index, INT64_MIN, start, start, 0) >= 0) {
        return true;
    }
    return reopen();
}

bool FileDemuxer::reopen()
{
    const int index = m_pStream->index;
    m_pStream = nullptr;
    m_pFormat.reset();
    m_pIo.reset();
    m_nBytePosition = 0;
    try {
        if (!m_pBytes->seek(0)) {
            return false;
        }
        openFormat();
        choosePictureStream();
    } catch (const OpenFailure &) {
        return false;
    }
    useOnlyPictureStream();
    return m_pStream->index == index;
}

bool FileDemuxer::isWithoutTimes() const
{
    return player::isWithoutTimes(*m_pFormat->iformat);
}

std::optional<bool> FileDemuxer::keyBetween(std::int64_t after, std::int64_t upTo) const
{
    const AVIndexEntry *pEntry = avformat_index_get_entry_from_timestamp(m_pStream, upTo, AVSEEK_FLAG_BACKWARD);
    const int count = avformat_index_get_entries_count(m_pStream);
    // An index that grows with reading knows nothing of what lies ahead.
    if (!pEntry || count == 0 || avformat_index_get_entry(m_pStream, count - 1)->timestamp <= after) {
        return std::nullopt;
    }
    return pEntry->timestamp > after;
}

std::optional<std::int64_t> FileDemuxer::headerEndTick() const
{
    const AVFormatContext &format = *m_pFormat;
    if (isWithoutTimes() || format.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        return std::nullopt;
    }
    const AVRational tick = m_pStream->time_base;
    // Matroska writes one length, counted from nought; FFmpeg's length of the stream is guessed from it.
    if (!isNamed(*format.iformat, "matroska") && m_pStream->duration != AV_NOPTS_VALUE && m_pStream->duration > 0) {
        const std::int64_t start = m_pStream->start_time == AV_NOPTS_VALUE ? 0 : m_pStream->start_time;
        return start + m_pStream->duration;
    }
    if (format.duration == AV_NOPTS_VALUE || format.duration <= 0) {
        return std::nullopt;
    }
    const bool bFromNought = isNamed(*format.iformat, "matroska") || format.start_time == AV_NOPTS_VALUE;
    return av_rescale_q((bFromNought ? 0 : format.start_time) + format.duration, AV_TIME_BASE_Q, tick);
}

std::optional<std::int64_t> FileDemuxer::endTick()
{
    const auto told = headerEndTick();
    return told || !isNamed(*m_pFormat->iformat, "matroska") ? told : lookAtTheEnd();
}

std::optional<std::int64_t> FileDemuxer::lookAtTheEnd()
{
    const std::int64_t size = m_pBytes->size();
    if (size <= 0) {
        return std::nullopt;
    }
    // The demuxer finds the next cluster by itself when reading goes on in the middle of one.
    if (avio_seek(m_pIo.get(), std::max<std::int64_t>(size - kEndLookBytes, 0), SEEK_SET) < 0) {
        return std::nullopt;
    }
    avformat_flush(m_pFormat.get());
    std::optional<std::int64_t> end;
    const PacketPtr pPacket(av_packet_alloc());
    while (pPacket && read(*pPacket)) {
        if (pPacket->pts != AV_NOPTS_VALUE) {
            end = std::max(end.value_or(INT64_MIN), pPacket->pts + std::max<std::int64_t>(pPacket->duration, 0));
        }
        av_packet_unref(pPacket.get());
    }
    return reopen() ? end : std::nullopt;
}

std::optional<std::int64_t> FileDemuxer::recordingTime() const
{
    for (const AVDictionary *pTags : {m_pFormat->metadata, m_pStream->metadata}) {
        const AVDictionaryEntry *pEntry = av_dict_get(pTags, "creation_time", nullptr, 0);
        std::int64_t time = 0;
        if (pEntry && av_parse_time(&time, pEntry->value, 0) >= 0) {
            return time;
        }
    }
    if (m_pFormat->start_time_realtime != AV_NOPTS_VALUE && m_pFormat->start_time_realtime > 0) {
        return m_pFormat->start_time_realtime;
    }
    return std::nullopt;
}

} // namespace player
