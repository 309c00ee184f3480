#include "device/src/ContainerInput.h"

#include "Selvikdcm.h"
#include "device/src/LiveMuxer.h"
#include "ffmpeg/AllocationLimit.h"
#include "ffmpeg/PictureBounds.h"

#include <atomic>
#include <cstdlib>

namespace selvik
{

namespace
{

// FFmpeg's names of the containers that are opened, and of nothing else that it is built with: a description or a
// playlist would make it open other addresses.
constexpr char kContainers[] =
    "mov,matroska,avi,mpegts,mpeg,mpegvideo,flv,h264,hevc,m4v,mjpeg,mpjpeg,ivf,obu,wav,aac,mp3";
constexpr int kBufferSize = 32 * 1024;
// Microseconds: how long a packet lasts that does not say so, and the largest step that is no break in the source's
// time.
constexpr std::int64_t kAssumedDuration = 40000;
constexpr std::int64_t kLargestStep = 10000000;

const std::atomic<bool> kNever{false};

unsigned long errorOf(int result)
{
    switch (result) {
    case AVERROR(ENOENT):
    case AVERROR(EACCES):
        return SELVIK_ERROR_CHANNEL;
    case AVERROR_EXIT:
    case AVERROR(ETIMEDOUT):
        return SELVIK_ERROR_TIMEOUT;
    case AVERROR_INVALIDDATA:
    case AVERROR_DEMUXER_NOT_FOUND:
    case AVERROR_PROTOCOL_NOT_FOUND:
    case AVERROR(EINVAL):
        return SELVIK_ERROR_MEDIA;
    case AVERROR(ENOMEM):
        return SELVIK_ERROR_RESOURCES;
    default:
        return SELVIK_ERROR_HOST;
    }
}

std::int64_t microseconds(std::int64_t time, AVRational base)
{
    return time == AV_NOPTS_VALUE ? AV_NOPTS_VALUE : av_rescale_q(time, base, AV_TIME_BASE_Q);
}

} // namespace

ContainerInput::ContainerInput(Address address, TimeSource &time)
    : m_address(std::move(address)), m_time(time), m_patience(time, kNever, TimeSource::kNoDeadline)
{
}

ContainerInput::~ContainerInput() = default;

void ContainerInput::open(const Patience &patience)
{
    m_patience = patience;
    openFormat();
    probe();
    chooseTracks();
    m_begin = m_time.now();
}

int ContainerInput::readHttp(void *pSelf, std::uint8_t *pBuffer, int size)
{
    auto &self = *static_cast<ContainerInput *>(pSelf);
    try {
        const std::size_t read = self.m_http->read(pBuffer, static_cast<std::size_t>(size), self.m_patience);
        return read == 0 ? AVERROR_EOF : static_cast<int>(read);
    } catch (const Failure &failure) {
        // No exception may pass through FFmpeg.
        self.m_nReadError = failure.error();
    } catch (const Stopped &) {
        self.m_nReadError = SELVIK_ERROR_HANDLE;
    } catch (...) {
        self.m_nReadError = SELVIK_ERROR_RESOURCES;
    }
    return AVERROR_EXIT;
}

void ContainerInput::openHttp()
{
    m_http = std::make_unique<HttpStream>(m_address);
    m_http->open(m_patience);
    m_io = makeIo(kBufferSize, this, &ContainerInput::readHttp, nullptr, nullptr);
}

void ContainerInput::openFormat()
{
    Options options;
    options.set("format_whitelist", kContainers);
    if (isFile()) {
        options.set("protocol_whitelist", "file");
    } else {
        openHttp();
        // There is no protocol of that name.
        options.set("protocol_whitelist", "none");
        // Live streams are recognised by their first packets, not by seconds of them.
        options.set("fpsprobesize", "0");
        options.set("analyzeduration", "500000");
    }
    ffmpeg::limitAllocations();
    AVFormatContext *pFormat = required(avformat_alloc_context());
    pFormat->interrupt_callback = {&Patience::interrupts, &m_patience};
    pFormat->pb = m_io.get();
    const std::string url = isFile() ? "file:" + m_address.fileName() : std::string();
    // Frees the context itself when it fails.
    const int result = avformat_open_input(&pFormat, url.c_str(), nullptr, options.get());
    if (result < 0) {
        fail(result);
    }
    m_format.reset(pFormat);
}

void ContainerInput::probe()
{
    const int result = ffmpeg::findStreamInfo(*m_format);
    if (result < 0) {
        fail(result);
    }
}

void ContainerInput::fail(int result)
{
    if (m_patience.isStopped()) {
        throw Stopped();
    }
    m_patience.check();
    throw Failure(m_nReadError != SELVIK_ERROR_NONE ? m_nReadError : errorOf(result));
}

void ContainerInput::chooseTracks()
{
    m_trackOfStream.assign(m_format->nb_streams, -1);
    for (const AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
        const int nStream = av_find_best_stream(m_format.get(), type, -1, -1, nullptr, 0);
        if (nStream < 0) {
            continue;
        }
        const AVCodecParameters &found = *m_format->streams[nStream]->codecpar;
        if (ffmpeg::isTooLarge(found.width, found.height) || !LiveMuxer::canCarry(found)) {
            continue;
        }
        m_trackOfStream[static_cast<std::size_t>(nStream)] = static_cast<int>(m_parameters.size());
        m_parameters.emplace_back(required(avcodec_parameters_alloc()));
        if (avcodec_parameters_copy(m_parameters.back().get(), m_format->streams[nStream]->codecpar) < 0) {
            throw std::bad_alloc();
        }
    }
    for (unsigned int i = 0; i < m_format->nb_streams; ++i) {
        if (m_trackOfStream[i] < 0) {
            m_format->streams[i]->discard = AVDISCARD_ALL;
        }
    }
    if (m_parameters.empty()) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

int ContainerInput::trackOf(const AVPacket &packet) const
{
    // Streams may appear that were not there when the tracks were chosen: the header does not have them.
    const auto nStream = static_cast<std::size_t>(packet.stream_index);
    return nStream < m_trackOfStream.size() ? m_trackOfStream[nStream] : -1;
}

void ContainerInput::read(const Patience &patience)
{
    m_patience = patience;
    for (;;) {
        PacketPtr packet(required(av_packet_alloc()));
        const int result = av_read_frame(m_format.get(), packet.get());
        if (patience.isStopped()) {
            throw Stopped();
        }
        if (result >= 0 && trackOf(*packet) >= 0 && packet->size > 0) {
            m_packet = std::move(packet);
            return;
        }
        if (result == AVERROR_EOF && isFile() && m_bAny) {
            startOver();
        } else if (result == AVERROR(EAGAIN) || result >= 0) {
            patience.check();
        } else {
            fail(result);
        }
    }
}

void ContainerInput::startOver()
{
    const std::int64_t start = m_format->start_time == AV_NOPTS_VALUE ? 0 : m_format->start_time;
    // First a second before the start: the first time stamp of a program stream stands behind the beginning of its
    // first key picture, so that a search for it would miss that picture. Containers with an index refuse a time before
    // their start: for those the start itself. Whatever has no times is set back by bytes.
    if (av_seek_frame(m_format.get(), -1, start - AV_TIME_BASE, AVSEEK_FLAG_BACKWARD) < 0 &&
        av_seek_frame(m_format.get(), -1, start, AVSEEK_FLAG_BACKWARD) < 0 &&
        avformat_seek_file(m_format.get(), -1, INT64_MIN, 0, INT64_MAX, AVSEEK_FLAG_BYTE) < 0) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    m_bAny = false;
    m_bStarted = false;
}

void ContainerInput::placeInTime()
{
    const AVRational base = m_format->streams[m_packet->stream_index]->time_base;
    const std::int64_t pts = microseconds(m_packet->pts, base);
    const std::int64_t dts = microseconds(m_packet->dts, base);
    std::int64_t due = dts != AV_NOPTS_VALUE ? dts : pts;
    const std::int64_t duration =
        m_packet->duration > 0 ? av_rescale_q(m_packet->duration, base, AV_TIME_BASE_Q) : kAssumedDuration;
    if (due == AV_NOPTS_VALUE) {
        due = m_nEnd - m_nOffset;
    }
    if (!m_bStarted || std::abs(due + m_nOffset - m_nDue) > kLargestStep) {
        // The first packet, the first one after the file started over, or a break in the source's time: it follows
        // where the last one ended.
        m_nOffset = m_nEnd - due;
        m_bStarted = true;
    }
    m_bAny = true;
    m_nDue = due + m_nOffset;
    m_packet->pts = (pts != AV_NOPTS_VALUE ? pts : due) + m_nOffset;
    m_packet->duration = duration;
    m_nEnd = std::max(m_nEnd, std::max(m_nDue, m_packet->pts) + duration);
}

bool ContainerInput::next(MediaUnit &unit, const Patience &patience)
{
    if (m_packet == nullptr) {
        read(patience);
        placeInTime();
    }
    if (isFile()) {
        const Clock::time_point due = m_begin + std::chrono::microseconds(m_nDue);
        patience.sleepUntil(due);
        if (patience.isStopped()) {
            throw Stopped();
        }
        if (m_time.now() < due) {
            return false;
        }
    }
    unit.track = static_cast<std::size_t>(trackOf(*m_packet));
    unit.captureTime = AV_NOPTS_VALUE;
    unit.packet = std::move(m_packet);
    unit.packet->pts = std::max<std::int64_t>(0, unit.packet->pts);
    return true;
}

void ContainerInput::close(const Patience &patience) noexcept
{
    m_patience = patience;
    m_format.reset();
    m_io.reset();
    m_http.reset();
}

} // namespace selvik
