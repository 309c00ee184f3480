#include "player/src/file/FileContainer.h"

#include "ffmpeg/PictureBounds.h"
#include "player/src/core/Container.h"
#include "player/src/core/Error.h"
#include "player/src/file/ExportStartTime.h"

#include <utility>

namespace player
{

namespace
{

constexpr int kIoBufferBytes = 64 * 1024;

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

/**
 * FFmpeg's own AVI files say of G.726 how long a chunk lasts, and that each byte is one. Its demuxer (FFmpeg 7.1)
 * counts bytes then, so that every byte lasts as long as a chunk. The stream's rate tells how long it does last.
 */
void correctTick(AVStream &stream)
{
    const AVCodecParameters &parameters = *stream.codecpar;
    if (parameters.codec_id != AV_CODEC_ID_ADPCM_G726 || parameters.bit_rate <= 0 || parameters.bit_rate > INT32_MAX ||
        parameters.block_align != 1) {
        return;
    }
    const AVRational byte{8, static_cast<int>(parameters.bit_rate)};
    if (av_cmp_q(stream.time_base, av_mul_q(byte, {2, 1})) > 0) {
        av_reduce(&stream.time_base.num, &stream.time_base.den, byte.num, byte.den, INT32_MAX);
    }
}

} // namespace

FileContainer::FileContainer(std::unique_ptr<ByteSource> pBytes) : m_pBytes(std::move(pBytes)) {}

FileContainer::~FileContainer() = default;

int FileContainer::readBytes(void *pSelf, std::uint8_t *pBuffer, int size)
{
    auto &self = *static_cast<FileContainer *>(pSelf);
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

std::int64_t FileContainer::seekBytes(void *pSelf, std::int64_t offset, int whence)
{
    auto &self = *static_cast<FileContainer *>(pSelf);
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

int FileContainer::isInterrupted(void *pSelf)
{
    return static_cast<FileContainer *>(pSelf)->m_bInterrupted ? 1 : 0;
}

void FileContainer::interrupt()
{
    m_bInterrupted = true;
    m_pBytes->interrupt();
}

FileContainer::Opened FileContainer::open()
{
    Opened opened;
    m_nBytePosition = 0;
    if (m_opened.pFormat && !m_pBytes->seek(0)) {
        throw OpenFailure{Error::Corrupt};
    }
    opened.pIo = ffmpeg::makeIo(kIoBufferBytes, this, readBytes, nullptr, m_pBytes->size() >= 0 ? seekBytes : nullptr);
    if (m_pBytes->size() == 0) {
        throw OpenFailure{Error::Corrupt};
    }
    const AVInputFormat *pInput = nullptr;
    if (av_probe_input_buffer2(opened.pIo.get(), &pInput, "", nullptr, 0, 0) < 0 || !pInput ||
        !isAmong(*pInput, kContainers)) {
        throw OpenFailure{Error::Unsupported};
    }
    AVFormatContext *pFormat = makeFormat(*opened.pIo, kContainers, {isInterrupted, this});
    // On failure the context is freed by the function itself.
    const int result = avformat_open_input(&pFormat, "", pInput, nullptr);
    if (result < 0) {
        throw OpenFailure{errorOfOpening(result)};
    }
    opened.pFormat.reset(pFormat);
    for (unsigned i = 0; isNamed(*pInput, "avi") && i < pFormat->nb_streams; ++i) {
        correctTick(*pFormat->streams[i]);
    }
    if (ffmpeg::findStreamInfo(*opened.pFormat) < 0) {
        throw OpenFailure{Error::Corrupt};
    }
    return opened;
}

std::optional<std::int64_t> FileContainer::startTime(std::uint32_t track)
{
    const auto time = exportStartTime(*m_pBytes, track);
    // FFmpeg believes that the bytes go on where it stopped.
    m_pBytes->seek(m_nBytePosition);
    return time;
}

std::optional<std::int64_t> FileContainer::referenceTime()
{
    const auto time = firstReferenceTime(*m_pBytes);
    m_pBytes->seek(m_nBytePosition);
    return time;
}

void FileContainer::use(Opened opened)
{
    m_opened.pFormat = std::move(opened.pFormat);
    m_opened.pIo = std::move(opened.pIo);
}

} // namespace player
