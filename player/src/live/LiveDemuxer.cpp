#include "player/src/live/LiveDemuxer.h"

#include "player/src/core/Codec.h"
#include "player/src/core/Container.h"
#include "player/src/core/DeviceTime.h"

#include <algorithm>

namespace player
{

namespace
{

/** FFmpeg reads so much ahead. The pictures in there look as if they had just come, so it must not be more. */
constexpr int kIoBufferBytes = 32 * 1024;
/** Handed to FFmpeg at a time. It would skip any length at one go, and a broken length skips what is worth showing. */
constexpr std::size_t kMostAtOnce = 64 * 1024;

// Recognising the container.
/** A stream that is not recognised within this is not supported … */
constexpr std::size_t kMostProbeBytes = 64 * 1024;
/** … but one with start codes may hold parts of pictures first, and is read up to a picture that tells the codec. */
constexpr std::size_t kMostRawProbeBytes = 2 * 1024 * 1024;
/** With fewer bytes FFmpeg has to be surer of what it found than it has to be later. */
constexpr std::size_t kFewBytes = 2048;
constexpr int kSureScore = AVPROBE_SCORE_EXTENSION;
constexpr int kLikelyScore = AVPROBE_SCORE_RETRY;
/** FFmpeg reads an MPEG-TS for its tables first. Its packet size, all that is looked for here, shows in a few packets.
 */
constexpr std::int64_t kTransportProbeBytes = 1024;

/** When the programme of a transport stream changes, the pictures go on in another stream after this. */
constexpr std::chrono::seconds kMostTime{2};

/** The end of the year 9999, in microseconds: no calendar of Windows goes further. */
constexpr std::int64_t kLatestUtc = 253402300799999999;

/** The heads of a cluster and of a block take a few dozen bytes. More between two packets of Matroska was skipped. */
constexpr std::int64_t kMostBetweenBlocks = 1024;

/** Containers that cannot be read from the middle, not even with FFmpeg's help. */
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

LiveDemuxer::LiveDemuxer(Clock &clock, std::vector<std::uint8_t> header, LiveBuffer &buffer,
                         std::function<void()> onIdle, OtherStreams *pOthers)
    : m_clock(clock),
      m_header(std::move(header)),
      m_buffer(buffer),
      m_onIdle(std::move(onIdle)),
      m_pOthers(pOthers),
      m_lostWay(buffer.capacity())
{
}

LiveDemuxer::~LiveDemuxer() = default;

int LiveDemuxer::isInterrupted(void *pSelf)
{
    return static_cast<LiveDemuxer *>(pSelf)->m_buffer.isInterrupted() ? 1 : 0;
}

int LiveDemuxer::readBytes(void *pSelf, std::uint8_t *pBuffer, int size)
{
    try {
        return static_cast<LiveDemuxer *>(pSelf)->readBytes(pBuffer, size);
    } catch (...) {
        // The caller is FFmpeg, which is written in C.
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
        if (m_bInterrupted || m_bBroken || m_lostWay.isLost(position(), size, kIoBufferBytes, m_clock.now())) {
            return AVERROR_EXIT;
        }
        if (!m_held.empty()) {
            const std::size_t count = std::min(static_cast<std::size_t>(size), m_held.size());
            const auto end = m_held.begin() + static_cast<std::ptrdiff_t>(count);
            std::copy(m_held.begin(), end, pBuffer);
            m_held.erase(m_held.begin(), end);
            return static_cast<int>(count);
        }
        if (m_buffer.available() == 0) {
            m_onIdle();
        }
        const auto result = m_buffer.read(pBuffer, std::min(static_cast<std::size_t>(size), kMostAtOnce));
        switch (result.outcome) {
        case LiveBuffer::Outcome::Bytes:
            if (m_bToBeginning) {
                m_bToBeginning = !holdsBeginning(pBuffer, result.count);
                break;
            }
            if (size <= kIoBufferBytes) {
                m_tail.clear();
                return static_cast<int>(result.count);
            }
            // All of it belongs to one packet, if the packet is as long as was announced.
            if (!holdsBeginning(pBuffer, result.count)) {
                return static_cast<int>(result.count);
            }
            m_bBroken = needsBeginning(*m_pInput);
            return AVERROR_EXIT;
        case LiveBuffer::Outcome::Woken:
            break;
        case LiveBuffer::Outcome::Interrupted:
            m_bInterrupted = true;
            break;
        }
    }
}

bool LiveDemuxer::holdsBeginning(const std::uint8_t *pBytes, std::size_t count)
{
    // The mark may lie across two reads.
    const auto find = [this](const std::uint8_t *pFrom, std::size_t size) {
        return beginningIn(*m_pInput, {reinterpret_cast<const char *>(pFrom), size});
    };
    const std::size_t before = m_tail.size();
    m_tail.insert(m_tail.end(), pBytes, pBytes + std::min(count, kMostBeginningBytes));
    const auto across = find(m_tail.data(), m_tail.size());
    if (across && *across < before) {
        m_held.assign(m_tail.begin() + static_cast<std::ptrdiff_t>(*across),
                      m_tail.begin() + static_cast<std::ptrdiff_t>(before));
        m_held.insert(m_held.end(), pBytes, pBytes + count);
    } else if (const auto within = find(pBytes, count)) {
        m_held.assign(pBytes + *within, pBytes + count);
    }
    if (count >= kMostBeginningBytes) {
        m_tail.assign(pBytes + count - kMostBeginningBytes, pBytes + count);
    } else if (m_tail.size() > kMostBeginningBytes) {
        m_tail.erase(m_tail.begin(), m_tail.end() - static_cast<std::ptrdiff_t>(kMostBeginningBytes));
    }
    const bool bFound = !m_held.empty();
    if (bFound) {
        m_tail.clear();
    }
    return bFound;
}

std::int64_t LiveDemuxer::position() const
{
    return m_buffer.readPosition() - static_cast<std::int64_t>(m_held.size());
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
        const bool bLast = size >= std::min(kMostRawProbeBytes, m_header.size() + m_buffer.capacity() / 2) ||
                           (size >= kMostProbeBytes && !hasStartCode(bytes));
        // In the end any score will do: FFmpeg is never surer than that of raw motion JPEG.
        const int needed = bLast ? 0 : size < kFewBytes ? kSureScore : kLikelyScore;
        if (pInput && score > needed) {
            if (!isAmong(*pInput, kPushedContainers)) {
                throw OpenFailure{Error::Unsupported};
            }
            return pInput;
        }
        if (bLast) {
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
    m_lostWay.begin(*m_pInput, m_clock.now());
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
    m_pStream = nullptr;
    m_pIo = ffmpeg::makeIo(kIoBufferBytes, this, readBytes, nullptr, nullptr);
    AVFormatContext *pFormat = makeFormat(*m_pIo, kPushedContainers, {isInterrupted, this});
    pFormat->flags |= AVFMT_FLAG_NOBUFFER;
    const std::int64_t usualProbeBytes = pFormat->probesize;
    pFormat->probesize = isNamed(*m_pInput, "mpegts") ? kTransportProbeBytes : usualProbeBytes;
    // On failure the context is freed by the function itself.
    const int result = avformat_open_input(&pFormat, "", m_pInput, nullptr);
    if (result < 0) {
        throw OpenFailure{result == AVERROR(ENOMEM) ? Error::Resources : Error::Corrupt};
    }
    pFormat->probesize = usualProbeBytes;
    m_pFormat.reset(pFormat);
    m_lostWay.headerIsRead();
    const bool bStreamsKnown = (pFormat->ctx_flags & AVFMTCTX_NOHEADER) == 0;
    if (bStreamsKnown && av_find_best_stream(pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0) < 0) {
        throw OpenFailure{Error::Unsupported};
    }
    if (isNamed(*m_pInput, "matroska")) {
        const AVDictionaryEntry *pEntry = av_dict_get(m_pFormat->metadata, "creation_time", nullptr, 0);
        std::int64_t time = 0;
        if (pEntry && av_parse_time(&time, pEntry->value, 0) >= 0) {
            m_utcOfZero = time;
        }
    }
    if (m_pOthers) {
        m_pOthers->opened(*m_pFormat);
    }
}

bool LiveDemuxer::isOfPictureStream(const AVPacket &packet)
{
    const AVStream *pStream = m_pFormat->streams[packet.stream_index];
    if (pStream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO ||
        (pStream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        return false;
    }
    // When the programme of a transport stream changes, the pictures go on in another stream and the old one ends.
    const Moment now = m_clock.now();
    if (!m_pStream || (now - m_pictureTime > kMostTime && (packet.flags & AV_PKT_FLAG_KEY) != 0)) {
        m_pStream = pStream;
    }
    if (m_pStream != pStream) {
        return false;
    }
    m_pictureTime = now;
    return true;
}

bool LiveDemuxer::reopen()
{
    m_pFormat.reset();
    m_nDataEnd = -1;
    for (;;) {
        // A demuxer that fails twice without having read anything in between would fail for ever.
        const std::int64_t position = this->position();
        if (m_lostWay.isAtBeginning(position)) {
            throw OpenFailure{Error::Corrupt};
        }
        m_nHeaderRead = needsItsHeader(*m_pInput) ? 0 : m_header.size();
        m_nPositionShift = position - static_cast<std::int64_t>(m_header.size() - m_nHeaderRead);
        m_lostWay.beginAt(*m_pInput, position, m_clock.now());
        m_tail.clear();
        m_bBroken = false;
        // What is held begins with one.
        m_bToBeginning = needsBeginning(*m_pInput) && m_held.empty();
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

bool LiveDemuxer::isBehindGap(const AVPacket &packet)
{
    if (packet.pos < 0) {
        return false;
    }
    const std::int64_t begin = packet.pos + m_nPositionShift;
    // FFmpeg's demuxer of Matroska does not tell what it skipped on its way to the next cluster.
    const bool bSkipped = isNamed(*m_pInput, "matroska") && m_nDataEnd >= 0 && begin - m_nDataEnd > kMostBetweenBlocks;
    m_nDataEnd = std::max(m_nDataEnd, begin + packet.size);
    return bSkipped;
}

std::optional<LivePacket> LiveDemuxer::read()
{
    bool bLost = false;
    while (!m_bInterrupted) {
        PacketPtr pPacket = makePacket();
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
        m_lostWay.foundPacket(position(), m_clock.now());
        bLost = isBehindGap(*pPacket) || bLost;
        if (isOfPictureStream(*pPacket)) {
            LivePacket packet = described(std::move(pPacket));
            packet.afterGap = packet.afterGap || bLost;
            return packet;
        }
        if (m_pOthers) {
            m_pOthers->took(std::move(pPacket), *m_pFormat);
        }
    }
    return std::nullopt;
}

LivePacket LiveDemuxer::described(PacketPtr pPacket)
{
    LivePacket packet;
    const std::int64_t readUpTo = m_buffer.readPosition();
    const std::int64_t end = pPacket->pos < 0 ? readUpTo : pPacket->pos + m_nPositionShift + pPacket->size;
    const auto arrival = m_buffer.arrivalOf(std::min(end, readUpTo) - 1);
    packet.utc = std::clamp<std::int64_t>(stampedTime(*pPacket).value_or(arrival.utc), 0, kLatestUtc);
    // Where parts of the container do not end with the picture, the next one tells that this one is whole.
    const std::int64_t demuxed = std::max(end, avio_tell(m_pIo.get()) + m_nPositionShift);
    packet.whole = m_buffer.arrivalOf(std::min(demuxed, readUpTo) - 1).moment;
    // FFmpeg reads ahead: the gap that was read last may lie behind this picture.
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
    if (const auto time = deviceTimeOf(packet)) {
        return time;
    }
    if (m_utcOfZero && packet.pts != AV_NOPTS_VALUE) {
        return *m_utcOfZero + microsecondsBetween(0, packet.pts, m_pStream->time_base);
    }
    return std::nullopt;
}

bool LiveDemuxer::isWithoutTimes() const
{
    return player::isWithoutTimes(*m_pInput);
}

} // namespace player
