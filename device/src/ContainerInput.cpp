#include "device/src/ContainerInput.h"

#include "Selvikdcm.h"
#include "device/src/LiveMuxer.h"
#include "device/src/Resolver.h"
#include "device/src/Settings.h"

#include <array>
#include <atomic>
#include <cstdlib>

namespace selvik
{

namespace
{

// A server that sends nothing for so long is lost.
constexpr Milliseconds kLossTime{4500};
// Microseconds: how long a packet lasts that does not say so, and the largest step that is no break in the source's
// time.
constexpr std::int64_t kAssumedDuration = 40000;
constexpr std::int64_t kLargestStep = 10000000;

const std::atomic<bool> kNever{false};

unsigned long errorOf(int result)
{
    switch (result) {
    case AVERROR_HTTP_UNAUTHORIZED:
    case AVERROR_HTTP_FORBIDDEN:
        return SELVIK_ERROR_REFUSED;
    case AVERROR_HTTP_BAD_REQUEST:
    case AVERROR_HTTP_NOT_FOUND:
    case AVERROR_HTTP_OTHER_4XX:
    case AVERROR(ENOENT):
    case AVERROR(EACCES):
        return SELVIK_ERROR_CHANNEL;
    case AVERROR_EXIT:
    case AVERROR(ETIMEDOUT):
        return SELVIK_ERROR_TIMEOUT;
    case AVERROR_INVALIDDATA:
    case AVERROR_DEMUXER_NOT_FOUND:
    case AVERROR_PROTOCOL_NOT_FOUND:
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
    openFormat(patience);
    // Live streams are recognised by their first packets, not by seconds of them.
    const int result = avformat_find_stream_info(m_format.get(), nullptr);
    if (result < 0) {
        m_patience.check();
        throw Failure(errorOf(result));
    }
    chooseTracks();
    m_begin = m_time.now();
}

void ContainerInput::openFormat(const Patience &patience)
{
    int result = AVERROR(ENOENT);
    if (isFile()) {
        result = tryToOpen("file:" + m_address.fileName());
    } else {
        for (const std::string &host : resolveHost(m_address.host(), patience)) {
            result = tryToOpen(m_address.urlForHost(host));
            const bool bNobodyThere = result < 0 && errorOf(result) == SELVIK_ERROR_HOST;
            if (!bNobodyThere) {
                break;
            }
        }
    }
    if (result < 0) {
        m_patience.check();
        throw Failure(errorOf(result));
    }
}

int ContainerInput::tryToOpen(const std::string &url)
{
    AVFormatContext *pFormat = required(avformat_alloc_context());
    pFormat->interrupt_callback = {&Patience::interrupts, &m_patience};
    Options options;
    if (!isFile()) {
        pFormat->flags |= AVFMT_FLAG_NOBUFFER;
        options.set("fpsprobesize", "0");
        options.set("analyzeduration", "500000");
        options.set("headers", ("Host: " + m_address.hostAndPort() + "\r\n").c_str());
        if (m_address.scheme() == Address::Scheme::Https) {
            options.set("verifyhost", m_address.host().c_str());
            options.set("tls_verify", verifyCertificates() ? "1" : "0");
        }
    }
    // Frees the context itself when it fails.
    const int result = avformat_open_input(&pFormat, url.c_str(), nullptr, options.get());
    if (result >= 0) {
        m_format.reset(pFormat);
    }
    return result;
}

void ContainerInput::chooseTracks()
{
    m_trackOfStream.assign(m_format->nb_streams, -1);
    for (const AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
        const int nStream = av_find_best_stream(m_format.get(), type, -1, -1, nullptr, 0);
        if (nStream < 0 || !LiveMuxer::canCarry(*m_format->streams[nStream]->codecpar)) {
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

bool ContainerInput::read(const Patience &patience)
{
    const Clock::time_point lost = m_time.now() + kLossTime;
    for (;;) {
        m_patience = patience.atMost(kLossTime);
        PacketPtr packet(required(av_packet_alloc()));
        const int result = av_read_frame(m_format.get(), packet.get());
        if (patience.isStopped()) {
            throw Stopped();
        }
        if (result >= 0 && m_trackOfStream[static_cast<std::size_t>(packet->stream_index)] >= 0 && packet->size > 0) {
            m_packet = std::move(packet);
            return true;
        }
        if (result == AVERROR_EOF && isFile() && m_bAny) {
            startOver();
        } else if (result < 0 && result != AVERROR(EAGAIN)) {
            throw Failure(m_time.now() >= lost ? errorOf(AVERROR(ETIMEDOUT)) : errorOf(result));
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
        if (!read(patience)) {
            return false;
        }
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
    unit.track = static_cast<std::size_t>(m_trackOfStream[static_cast<std::size_t>(m_packet->stream_index)]);
    unit.captureTime = AV_NOPTS_VALUE;
    unit.packet = std::move(m_packet);
    unit.packet->pts = std::max<std::int64_t>(0, unit.packet->pts);
    return true;
}

void ContainerInput::close(const Patience &patience) noexcept
{
    m_patience = patience;
    m_format.reset();
}

} // namespace selvik
