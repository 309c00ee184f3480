#include "player/src/live/LiveDemuxer.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace player
{

namespace
{

// Reading far ahead of the pictures would hide how long they have been waiting.
constexpr int kIoBufferBytes = 32 * 1024;
/** What a broken length asks for must not swallow everything that has come before anybody can notice. */
constexpr std::size_t kMostAtOnce = 64 * 1024;
/** Looked at for a container that is not recognised sooner … */
constexpr std::size_t kMostProbeBytes = 64 * 1024;
/** … or, where there are coded pictures, until one of them tells what they are. */
constexpr std::size_t kMostRawProbeBytes = 2 * 1024 * 1024;
/** What FFmpeg believes in files of any length; with less to look at, a guess has to be a good one. */
constexpr int kLikely = AVPROBE_SCORE_RETRY;
constexpr std::size_t kEnoughToGuess = 2048;
/** MPEG-TS is looked through for its tables before it is read; these few packets only tell its packet size. */
constexpr std::int64_t kTransportProbeBytes = 1024;
/**
 * So much without a single packet means that the container has lost its way: as a rule a broken length makes it skip
 * what comes. Nothing is known yet of how large packets are …
 */
constexpr std::int64_t kMostSilentBytes = 8 * 1024 * 1024;
/** … while it is being opened, less is enough for every header … */
constexpr std::int64_t kMostOpeningBytes = 1024 * 1024;
/** … and later, as many times the largest so far and so much at least; with time gone by, less is enough. */
constexpr std::int64_t kManyTimes = 8;
constexpr std::int64_t kManyBytes = 256 * 1024;
constexpr std::int64_t kSomeTimes = 2;
constexpr std::int64_t kSomeBytes = 64 * 1024;
constexpr std::chrono::seconds kMostSilence{2};
/** Between two blocks that follow each other stand a few dozen bytes. */
constexpr std::int64_t kMostBetweenBlocks = 1024;

int refuseToOpen(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EACCES);
}

bool isNamed(const AVInputFormat &input, const char *name)
{
    return std::strstr(input.name, name) != nullptr;
}

/** Containers whose later parts mean nothing without their beginning. */
bool needsItsHeader(const AVInputFormat &input)
{
    return isNamed(input, "matroska") || isNamed(input, "mov") || isNamed(input, "flv");
}

bool hasStartCode(const std::vector<std::uint8_t> &bytes)
{
    constexpr std::uint8_t kCode[] = {0, 0, 1};
    return std::search(bytes.begin(), bytes.end(), std::begin(kCode), std::end(kCode)) != bytes.end();
}

} // namespace

LiveDemuxer::LiveDemuxer(std::vector<std::uint8_t> header, LiveBuffer &buffer, std::function<void()> onIdle)
    : m_header(std::move(header)),
      m_buffer(buffer),
      m_onIdle(std::move(onIdle)),
      m_found(LiveBuffer::Moment::clock::now())
{
}

LiveDemuxer::~LiveDemuxer() = default;

int LiveDemuxer::readBytes(void *pSelf, std::uint8_t *pBuffer, int size)
{
    try {
        return static_cast<LiveDemuxer *>(pSelf)->readBytes(pBuffer, size);
    } catch (...) {
        // FFmpeg's frames lie above this one: nothing may be thrown through them.
        return AVERROR(ENOMEM);
    }
}

int LiveDemuxer::readBytes(std::uint8_t *pBuffer, int size)
{
    if (m_nHeaderRead < m_header.size()) {
        const std::size_t count = std::min(static_cast<std::size_t>(size), m_header.size() - m_nHeaderRead);
        std::copy_n(m_header.begin() + static_cast<std::ptrdiff_t>(m_nHeaderRead), count, pBuffer);
        m_nHeaderRead += count;
        return static_cast<int>(count);
    }
    for (;;) {
        if (m_bInterrupted || hasLostItsWay()) {
            return AVERROR_EXIT;
        }
        if (m_buffer.available() == 0) {
            m_onIdle();
        }
        const auto result = m_buffer.read(pBuffer, std::min(static_cast<std::size_t>(size), kMostAtOnce));
        switch (result.outcome) {
        case LiveBuffer::Outcome::Bytes:
            return static_cast<int>(result.count);
        case LiveBuffer::Outcome::Woken:
            break;
        case LiveBuffer::Outcome::Interrupted:
            m_bInterrupted = true;
            break;
        }
    }
}

bool LiveDemuxer::hasLostItsWay() const
{
    const std::int64_t silent = m_buffer.readPosition() - m_nFoundAt;
    if (!m_pFormat) {
        return silent > kMostOpeningBytes;
    }
    if (m_nLargest == 0) {
        return silent > kMostSilentBytes;
    }
    return silent > std::max(kManyBytes, kManyTimes * m_nLargest) ||
           (silent > std::max(kSomeBytes, kSomeTimes * m_nLargest) &&
            LiveBuffer::Moment::clock::now() - m_found > kMostSilence);
}

const AVInputFormat *LiveDemuxer::recognise()
{
    std::vector<std::uint8_t> data;
    for (;;) {
        std::vector<std::uint8_t> bytes = m_header;
        bytes.insert(bytes.end(), data.begin(), data.end());
        const std::size_t size = bytes.size();
        bytes.resize(size + AVPROBE_PADDING_SIZE);
        const AVProbeData probe{"", bytes.data(), static_cast<int>(size), nullptr};
        int score = 0;
        const AVInputFormat *pInput = av_probe_input_format3(&probe, 1, &score);
        if (pInput && score > (size < kEnoughToGuess ? AVPROBE_SCORE_EXTENSION : kLikely)) {
            return pInput;
        }
        if (size >= std::min(kMostRawProbeBytes, m_header.size() + m_buffer.capacity() / 2) ||
            (size >= kMostProbeBytes && !hasStartCode(bytes))) {
            // Motion JPEG by itself never convinces FFmpeg more than that.
            if (pInput && score > 0) {
                return pInput;
            }
            throw OpenFailure{Error::Corrupt};
        }
        if (m_buffer.peek(data.size(), kMostRawProbeBytes, data) == LiveBuffer::Outcome::Interrupted) {
            m_bInterrupted = true;
            return nullptr;
        }
    }
}

bool LiveDemuxer::open()
{
    m_pInput = recognise();
    if (!m_pInput) {
        return false;
    }
    m_nPositionShift = -static_cast<std::int64_t>(m_header.size());
    try {
        openFormat();
    } catch (const OpenFailure &) {
        if (m_bInterrupted) {
            return false;
        }
        throw;
    }
    return true;
}

void LiveDemuxer::openFormat()
{
    auto *pBuffer = static_cast<std::uint8_t *>(av_malloc(kIoBufferBytes));
    if (!pBuffer) {
        throw OpenFailure{Error::Resources};
    }
    m_pIo.reset(avio_alloc_context(pBuffer, kIoBufferBytes, 0, this, readBytes, nullptr, nullptr));
    if (!m_pIo) {
        av_free(pBuffer);
        throw OpenFailure{Error::Resources};
    }
    AVFormatContext *pFormat = avformat_alloc_context();
    if (!pFormat) {
        throw OpenFailure{Error::Resources};
    }
    pFormat->pb = m_pIo.get();
    pFormat->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_NOBUFFER;
    pFormat->io_open = refuseToOpen;
    const bool bTransport = isNamed(*m_pInput, "mpegts");
    const std::int64_t usualProbeBytes = pFormat->probesize;
    pFormat->probesize = bTransport ? kTransportProbeBytes : usualProbeBytes;
    // On failure the context is freed by the function itself.
    const int result = avformat_open_input(&pFormat, "", m_pInput, nullptr);
    if (result < 0) {
        throw OpenFailure{result == AVERROR(ENOMEM) ? Error::Resources : Error::Corrupt};
    }
    pFormat->probesize = usualProbeBytes;
    m_pFormat.reset(pFormat);
    m_pStream = nullptr;
    if ((pFormat->ctx_flags & AVFMTCTX_NOHEADER) == 0 &&
        av_find_best_stream(pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0) < 0) {
        throw OpenFailure{Error::Unsupported};
    }
    if (!isNamed(*m_pInput, "matroska")) {
        return;
    }
    const AVDictionaryEntry *pEntry = av_dict_get(m_pFormat->metadata, "creation_time", nullptr, 0);
    std::int64_t time = 0;
    if (pEntry && av_parse_time(&time, pEntry->value, 0) >= 0) {
        m_utcOfZero = time;
    }
}

bool LiveDemuxer::isPicture(const AVPacket &packet)
{
    const AVStream *pStream = m_pFormat->streams[packet.stream_index];
    if (pStream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO ||
        (pStream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        return false;
    }
    // Programmes of a transport stream change: the pictures go on in another stream, and the old one falls silent.
    const auto now = LiveBuffer::Moment::clock::now();
    if (!m_pStream || (now - m_pictureFound > kMostSilence && (packet.flags & AV_PKT_FLAG_KEY) != 0)) {
        m_pStream = pStream;
    }
    if (m_pStream != pStream) {
        return false;
    }
    m_pictureFound = now;
    return true;
}

bool LiveDemuxer::reopen()
{
    m_pStream = nullptr;
    m_pFormat.reset();
    m_nDataEnd = -1;
    for (;;) {
        // A container that fails on its own header, with nothing new read, would fail for ever.
        const std::int64_t position = m_buffer.readPosition();
        if (m_bReopened && position == m_nFoundAt) {
            throw OpenFailure{Error::Corrupt};
        }
        m_nHeaderRead = needsItsHeader(*m_pInput) ? 0 : m_header.size();
        m_nPositionShift = position - static_cast<std::int64_t>(m_header.size() - m_nHeaderRead);
        m_nFoundAt = position;
        m_found = LiveBuffer::Moment::clock::now();
        m_bReopened = true;
        try {
            openFormat();
            return true;
        } catch (const OpenFailure &) {
            if (m_bInterrupted) {
                return false;
            }
        }
    }
}

std::optional<LivePacket> LiveDemuxer::read()
{
    bool bLost = false;
    while (!m_bInterrupted) {
        PacketPtr pPacket(av_packet_alloc());
        if (!pPacket) {
            throw OpenFailure{Error::Resources};
        }
        const int result = av_read_frame(m_pFormat.get(), pPacket.get());
        if (m_bInterrupted) {
            break;
        }
        if (result < 0) {
            bLost = true;
            if (!reopen()) {
                break;
            }
            continue;
        }
        m_nFoundAt = m_buffer.readPosition();
        m_found = LiveBuffer::Moment::clock::now();
        m_bReopened = false;
        m_nLargest = std::max<std::int64_t>(m_nLargest, pPacket->size);
        const std::int64_t begin = pPacket->pos + m_nPositionShift;
        const bool bPlaced = pPacket->pos >= 0;
        // Matroska's demuxer says nothing about what it skipped to find the next cluster.
        bLost = bLost || (bPlaced && m_nDataEnd >= 0 && isNamed(*m_pInput, "matroska") &&
                          begin - m_nDataEnd > kMostBetweenBlocks);
        m_nDataEnd = bPlaced ? std::max(m_nDataEnd, begin + pPacket->size) : m_nDataEnd;
        if (!isPicture(*pPacket)) {
            continue;
        }
        LivePacket packet = described(std::move(pPacket));
        packet.afterGap = packet.afterGap || bLost;
        return packet;
    }
    return std::nullopt;
}

LivePacket LiveDemuxer::described(PacketPtr pPacket)
{
    LivePacket packet;
    const std::int64_t readUpTo = m_buffer.readPosition();
    const std::int64_t end = pPacket->pos < 0 ? readUpTo : pPacket->pos + m_nPositionShift + pPacket->size;
    const auto arrival = m_buffer.arrivalOf(std::min(end, readUpTo) - 1);
    packet.arrived = arrival.moment;
    packet.utc = stampedTime(*pPacket).value_or(arrival.utc);
    // The demuxer may have read past the gap while this picture still lies before it.
    const std::int64_t gap = m_buffer.latestGap();
    if (gap > m_nGapTold && (pPacket->pos < 0 || end > gap)) {
        m_nGapTold = gap;
        packet.afterGap = true;
    }
    packet.pPacket = std::move(pPacket);
    return packet;
}

std::optional<std::int64_t> LiveDemuxer::stampedTime(const AVPacket &packet) const
{
    // Our device library's: additional data of the codec's own meaning, the microseconds as they are.
    constexpr std::uint64_t kCodecsOwn = 1;
    std::size_t size = 0;
    const std::uint8_t *pSide = av_packet_get_side_data(&packet, AV_PKT_DATA_MATROSKA_BLOCKADDITIONAL, &size);
    if (pSide && size == 16 && AV_RB64(pSide) == kCodecsOwn) {
        return static_cast<std::int64_t>(AV_RB64(pSide + 8));
    }
    if (m_utcOfZero && packet.pts != AV_NOPTS_VALUE) {
        return *m_utcOfZero + av_rescale_q(packet.pts, m_pStream->time_base, AV_TIME_BASE_Q);
    }
    return std::nullopt;
}

bool LiveDemuxer::isWithoutTimes() const
{
    return (m_pInput->flags & AVFMT_NOTIMESTAMPS) != 0;
}

} // namespace player
