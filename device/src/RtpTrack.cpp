#include "device/src/RtpTrack.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"
#include "device/src/Failure.h"
#include "device/src/LiveMuxer.h"

#include <algorithm>

namespace selvik
{

namespace
{

constexpr std::size_t kMaxDocument = 1 << 20;
// Only AAC puts several units into one packet.
constexpr int kSamplesOfAacUnit = 1024;
// Microseconds; some 36,000 years. Whatever stamps and clock rates a camera names, sums of such times do not overflow.
constexpr std::int64_t kLongest = std::int64_t(1) << 60;

} // namespace

RtpTrack::RtpTrack(const SdpMedia &media)
    : m_media(media), m_parameters(required(avcodec_parameters_alloc())), m_filter(media)
{
    if (media.kind == SdpMedia::Kind::Metadata) {
        m_parameters->codec_type = AVMEDIA_TYPE_SUBTITLE;
        m_parameters->codec_id = AV_CODEC_ID_TEXT;
        return;
    }
    m_depacketizer = makeDepacketizer(media);
    if (avcodec_parameters_copy(m_parameters.get(), &m_depacketizer->parameters()) < 0) {
        throw std::bad_alloc();
    }
    const bool bSilent = m_parameters->codec_type == AVMEDIA_TYPE_AUDIO && m_parameters->sample_rate <= 0;
    if (!LiveMuxer::canCarry(*m_parameters) || bSilent) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    if (media.kind == SdpMedia::Kind::Video) {
        m_assembler.emplace(*m_parameters);
        if (m_parameters->extradata_size > 0) {
            m_entry.knowSets();
        }
    }
}

bool RtpTrack::feed(ByteView bytes, Clock::time_point arrival, std::vector<MediaUnit> &units)
{
    const std::optional<RtpPacket> packet = RtpPacket::parse(bytes);
    const bool bDescribed = packet && packet->nType == m_media.nPayloadType;
    if (!bDescribed && isControlPacket(bytes)) {
        feedReport(bytes);
        return true;
    }
    if (!packet) {
        return false;
    }
    switch (m_filter.judge(*packet, arrival)) {
    case SourceFilter::Verdict::Foreign:
        return false;
    case SourceFilter::Verdict::Adopted:
        restart();
        for (const SourceFilter::Held &held : m_filter.takeHeld()) {
            sortIn({held.bytes.data(), held.bytes.size()}, held.arrival, units);
        }
        break;
    case SourceFilter::Verdict::Own:
        sortIn(bytes, arrival, units);
        break;
    }
    return true;
}

void RtpTrack::restart()
{
    // The camera started over, with new sequence numbers and time stamps.
    m_bStarted = false;
    m_bEnded = false;
    m_report.reset();
    if (m_reorder) {
        m_reorder.emplace();
    }
    if (m_assembler) {
        m_assembler->lose();
    }
    if (m_depacketizer) {
        m_depacketizer->lose();
    }
    m_entry.lose();
    m_document.clear();
    m_bDocumentTorn = true;
}

void RtpTrack::sortIn(ByteView bytes, Clock::time_point arrival, std::vector<MediaUnit> &units)
{
    const std::optional<RtpPacket> packet = RtpPacket::parse(bytes);
    if (!packet) {
        return;
    }
    if (!m_reorder || m_reorder->passes(packet->sequence)) {
        take(*packet, arrival, units);
    } else {
        m_reorder->push(Bytes(bytes.begin(), bytes.end()), arrival);
    }
    wait(arrival, units);
}

void RtpTrack::wait(Clock::time_point now, std::vector<MediaUnit> &units)
{
    while (m_reorder) {
        const std::optional<Bytes> next = m_reorder->pop(now);
        if (!next) {
            return;
        }
        if (const std::optional<RtpPacket> packet = RtpPacket::parse({next->data(), next->size()})) {
            take(*packet, now, units);
        }
    }
}

bool RtpTrack::follow(std::uint16_t sequence, bool &bOld)
{
    constexpr int kFarAway = 1000;
    const auto nStep = static_cast<std::int16_t>(sequence - m_nSequence);
    bOld = m_bStarted && nStep <= 0 && nStep > -kFarAway;
    const bool bFollows = !m_bStarted || nStep == 1;
    if (!bOld) {
        m_nSequence = sequence;
    }
    return bFollows;
}

std::int64_t RtpTrack::unwrap(std::uint32_t timestamp) const
{
    return m_nTicks + static_cast<std::int32_t>(timestamp - static_cast<std::uint32_t>(m_nTicks));
}

void RtpTrack::take(const RtpPacket &packet, Clock::time_point arrival, std::vector<MediaUnit> &units)
{
    bool bOld = false;
    const bool bFollows = follow(packet.sequence, bOld);
    if (bOld) {
        return;
    }
    if (!m_bStarted) {
        m_nTicks = packet.timestamp;
        m_nFirstTicks = packet.timestamp;
        m_bStarted = true;
    }
    if (!bFollows) {
        m_entry.lose();
        m_bDocumentTorn = true;
        if (m_assembler) {
            m_assembler->lose();
        }
        if (m_depacketizer) {
            m_depacketizer->lose();
        }
    }
    m_nTicks = unwrap(packet.timestamp);
    if (m_media.kind == SdpMedia::Kind::Video) {
        feedVideo(packet, arrival, units);
    } else if (m_media.kind == SdpMedia::Kind::Audio) {
        feedSound(packet, units);
    } else {
        feedMetadata(packet, units);
    }
}

void RtpTrack::feedVideo(const RtpPacket &packet, Clock::time_point arrival, std::vector<MediaUnit> &units)
{
    PictureAssembler &assembler = *m_assembler;
    assembler.beginPacket(m_nTicks);
    m_depacketizer->feed(packet, assembler);
    assembler.endPacket(packet.bMarker, m_depacketizer->isInsideUnit());
    for (PictureAssembler::Picture &picture : assembler.ready()) {
        if (picture.bBehindTorn) {
            m_entry.lose();
        }
        emitPicture(picture, arrival, units);
    }
    assembler.ready().clear();
    if (assembler.takeTorn()) {
        m_entry.lose();
    }
}

void RtpTrack::emitPicture(PictureAssembler::Picture &picture, Clock::time_point arrival, std::vector<MediaUnit> &units)
{
    const PictureFacts facts = inspectPicture(m_parameters->codec_id, picture.bytes);
    if (!facts.bPicture) {
        return;
    }
    const PictureEntry::Answer answer = m_entry.judge(facts, arrival);
    if (answer == PictureEntry::Answer::LeftOut) {
        return;
    }
    m_firstArrival = m_firstArrival.value_or(arrival);
    const auto nArrival = std::chrono::duration_cast<std::chrono::microseconds>(arrival - *m_firstArrival).count();
    const PictureClock::Time time = m_clock.place(mediaTime(picture.ticks), nArrival);
    MediaUnit unit;
    unit.packet = makePacket(std::move(picture.bytes));
    unit.packet->pts = time.media;
    unit.packet->flags = answer == PictureEntry::Answer::Key ? AV_PKT_FLAG_KEY : 0;
    unit.captureTime = time.bStamped ? captureTime(picture.ticks) : AV_NOPTS_VALUE;
    units.push_back(std::move(unit));
}

std::int64_t RtpTrack::mediaTime(std::int64_t ticks) const
{
    const std::int64_t time = av_rescale_q(ticks - m_nFirstTicks, {1, m_media.nClockRate}, AV_TIME_BASE_Q);
    return std::clamp(time, -kLongest, kLongest);
}

std::int64_t RtpTrack::captureTime(std::int64_t ticks) const
{
    if (!m_report) {
        return AV_NOPTS_VALUE;
    }
    const auto nSince = static_cast<std::int32_t>(static_cast<std::uint32_t>(ticks) - m_report->timestamp);
    return m_report->utc + av_rescale_q(nSince, {1, m_media.nClockRate}, AV_TIME_BASE_Q);
}

void RtpTrack::feedSound(const RtpPacket &packet, std::vector<MediaUnit> &units)
{
    SoundSink sink;
    m_depacketizer->feed(packet, sink);
    std::int64_t nTicks = m_nTicks;
    for (Bytes &piece : sink.pieces) {
        MediaUnit unit;
        unit.packet = makePacket(std::move(piece));
        unit.packet->pts = mediaTime(nTicks);
        unit.packet->flags = AV_PKT_FLAG_KEY;
        unit.captureTime = captureTime(nTicks);
        units.push_back(std::move(unit));
        nTicks += kSamplesOfAacUnit;
    }
}

void RtpTrack::feedMetadata(const RtpPacket &packet, std::vector<MediaUnit> &units)
{
    if (m_nDocumentTicks != m_nTicks) {
        // A new time stamp: the document before it is complete, though no marker said so.
        emitDocument(units);
        m_nDocumentTicks = m_nTicks;
    }
    if (m_document.size() + packet.payload.size > kMaxDocument) {
        m_bDocumentTorn = true;
    }
    if (!m_bDocumentTorn) {
        m_document.insert(m_document.end(), packet.payload.begin(), packet.payload.end());
    }
    if (packet.bMarker) {
        emitDocument(units);
    }
}

void RtpTrack::emitDocument(std::vector<MediaUnit> &units)
{
    // After a loss the beginning of the document may be missing.
    if (!m_bDocumentTorn && !m_document.empty()) {
        MediaUnit unit;
        unit.packet = makePacket(std::move(m_document));
        unit.packet->pts = mediaTime(m_nDocumentTicks);
        unit.packet->flags = AV_PKT_FLAG_KEY;
        unit.captureTime = captureTime(m_nDocumentTicks);
        units.push_back(std::move(unit));
    }
    m_document.clear();
    m_bDocumentTorn = false;
}

void RtpTrack::feedReport(ByteView packet)
{
    constexpr int kSenderReport = 200;
    constexpr int kLeave = 203;
    constexpr std::size_t kReportSize = 28;
    while (packet.size >= 4 && packet.pData[0] >> 6 == 2) {
        const std::size_t size = 4U * (read16(packet.pData + 2) + 1U);
        if (size > packet.size) {
            return;
        }
        if (packet.pData[1] == kSenderReport && size >= kReportSize) {
            noteSenderReport(packet.pData);
        } else if (packet.pData[1] == kLeave) {
            noteLeave({packet.pData, size});
        }
        packet = packet.from(size);
    }
}

void RtpTrack::noteSenderReport(const std::uint8_t *pReport)
{
    constexpr std::int64_t kSecondsFrom1900To1970 = 2208988800;
    // Cameras are met whose reports name another source than their packets. Once one names the right source, only such
    // reports count.
    const std::uint32_t source = read32(pReport + 4);
    const bool bOfSource = m_filter.isPresent(source);
    if (!bOfSource && (m_bShared || (m_report && m_filter.isPresent(m_report->source)))) {
        return;
    }
    const std::int64_t nSeconds = read32(pReport + 8) - kSecondsFrom1900To1970;
    const std::int64_t nFraction = (static_cast<std::int64_t>(read32(pReport + 12)) * 1000000) >> 32;
    // A camera whose clock was never set counts from its start, or sends zero. Neither is a time of day.
    if (nSeconds > 0) {
        m_report = SenderReport{nSeconds * 1000000 + nFraction, read32(pReport + 16), source};
    }
}

void RtpTrack::noteLeave(ByteView report)
{
    const std::size_t sources = report.pData[0] & 0x1F;
    for (std::size_t i = 0; i < sources && 8 + 4 * i <= report.size; ++i) {
        if (m_filter.isPresent(read32(report.pData + 4 + 4 * i))) {
            m_bEnded = true;
            m_filter.leave();
        }
    }
}

} // namespace selvik
