#include "device/src/RtpTrack.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"
#include "device/src/Failure.h"
#include "device/src/LiveMuxer.h"

namespace selvik
{

namespace
{

constexpr std::size_t kRtpHead = 12;
constexpr std::size_t kMaxPicture = 32 << 20;
// Only AAC puts several units into one packet.
constexpr int kSamplesOfAacUnit = 1024;

/** The payload, without header, contributing sources, extension and padding; empty where the packet ends before it. */
ByteView payloadOf(ByteView packet)
{
    std::size_t begin = kRtpHead + 4U * (packet.pData[0] & 0x0F);
    std::size_t end = packet.size;
    if ((packet.pData[0] & 0x20) != 0) {
        end -= std::min<std::size_t>(end, packet.pData[packet.size - 1]);
    }
    if ((packet.pData[0] & 0x10) != 0 && begin + 4 <= end) {
        begin += 4 + 4U * read16(packet.pData + begin + 2);
    }
    return begin < end ? ByteView{packet.pData + begin, end - begin} : ByteView{};
}

} // namespace

RtpTrack::RtpTrack(const SdpMedia &media) : m_media(media), m_parameters(required(avcodec_parameters_alloc()))
{
    if (media.kind == SdpMedia::Kind::Metadata) {
        m_parameters->codec_type = AVMEDIA_TYPE_SUBTITLE;
        m_parameters->codec_id = AV_CODEC_ID_TEXT;
        return;
    }
    m_depacketizer = std::make_unique<RtpDepacketizer>(media);
    if (avcodec_parameters_copy(m_parameters.get(), &m_depacketizer->parameters()) < 0) {
        throw std::bad_alloc();
    }
    const bool bSilent = m_parameters->codec_type == AVMEDIA_TYPE_AUDIO && m_parameters->sample_rate <= 0;
    if (!LiveMuxer::canCarry(*m_parameters) || bSilent) {
        throw Failure(SELVIK_ERROR_MEDIA);
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

void RtpTrack::feed(ByteView packet, std::vector<MediaUnit> &units)
{
    if (packet.size <= kRtpHead || packet.pData[0] >> 6 != 2) {
        return;
    }
    const std::uint32_t timestamp = read32(packet.pData + 4);
    const std::uint32_t source = read32(packet.pData + 8);
    if (m_bStarted && source != m_nSource) {
        // Another source identifier: the camera started over, with new sequence numbers and time stamps.
        m_bStarted = false;
        m_bDamaged = true;
        m_picture.clear();
        m_report.reset();
    }
    bool bOld = false;
    const bool bFollows = follow(read16(packet.pData + 2), bOld);
    if (bOld) {
        return;
    }
    if (!m_bStarted) {
        m_nTicks = timestamp;
        m_nFirstTicks = timestamp;
        m_nSource = source;
        m_bStarted = true;
    }
    if (!bFollows) {
        m_bDamaged = true;
        m_picture.clear();
    }
    m_nTicks = unwrap(timestamp);
    const bool bMarker = (packet.pData[1] & 0x80) != 0;
    if (m_media.kind == SdpMedia::Kind::Video) {
        feedVideo(packet, bMarker, units);
    } else if (m_media.kind == SdpMedia::Kind::Audio) {
        feedSound(packet, units);
    } else {
        feedMetadata(packet, bMarker, units);
    }
}

void RtpTrack::feedVideo(ByteView packet, bool bMarker, std::vector<MediaUnit> &units)
{
    if (!m_picture.empty() && m_nPictureTicks != m_nTicks) {
        // A new time stamp: the picture before it is complete, though no marker said so.
        finishPicture(units);
    }
    const bool bMoreOfTheLast = m_nLastPictureTicks == m_nTicks;
    if (bMoreOfTheLast || (bMarker && isUnfinishedPayload(m_parameters->codec_id, payloadOf(packet)))) {
        // This camera sets the marker inside pictures. From now on only the next time stamp ends a picture.
        m_bMarkerTrusted = false;
        m_bDamaged = m_bDamaged || bMoreOfTheLast;
    }
    std::vector<PacketPtr> pieces;
    m_depacketizer->feed(packet, pieces);
    m_nPictureTicks = m_nTicks;
    for (const PacketPtr &piece : pieces) {
        m_picture.insert(m_picture.end(), piece->data, piece->data + piece->size);
    }
    if (m_picture.size() > kMaxPicture) {
        m_picture.clear();
        m_bDamaged = true;
    }
    if (bMarker && m_bMarkerTrusted) {
        finishPicture(units);
    }
}

void RtpTrack::finishPicture(std::vector<MediaUnit> &units)
{
    if (m_picture.empty()) {
        return;
    }
    Bytes picture = m_picture;
    const PictureFacts facts = inspectPicture(m_parameters->codec_id, picture);
    if (!facts.bPicture && m_nPictureTicks == m_nTicks) {
        // Parameter sets alone, with a marker. The picture that they belong to follows with the same time stamp.
        return;
    }
    m_picture.clear();
    if (!facts.bPicture) {
        m_picture.swap(picture);
        return;
    }
    m_nLastPictureTicks = m_nPictureTicks;
    if (facts.bKey) {
        m_bDamaged = false;
    }
    if (!m_bDamaged) {
        emit({picture.data(), picture.size()}, m_nPictureTicks, facts.bKey, units);
    }
}

void RtpTrack::feedSound(ByteView packet, std::vector<MediaUnit> &units)
{
    std::vector<PacketPtr> pieces;
    m_depacketizer->feed(packet, pieces);
    std::int64_t nTicks = m_nTicks;
    for (const PacketPtr &piece : pieces) {
        emit({piece->data, static_cast<std::size_t>(piece->size)}, nTicks, true, units);
        nTicks += kSamplesOfAacUnit;
    }
}

void RtpTrack::feedMetadata(ByteView packet, bool bMarker, std::vector<MediaUnit> &units)
{
    if (m_nPictureTicks != m_nTicks) {
        m_picture.clear();
    }
    m_nPictureTicks = m_nTicks;
    const ByteView payload = payloadOf(packet);
    m_picture.insert(m_picture.end(), payload.begin(), payload.end());
    // After a loss the beginning of the document may be missing.
    const bool bWhole = !m_bDamaged;
    if (bMarker) {
        if (bWhole && !m_picture.empty()) {
            emit({m_picture.data(), m_picture.size()}, m_nTicks, true, units);
        }
        m_picture.clear();
        m_bDamaged = false;
    }
}

void RtpTrack::emit(ByteView bytes, std::int64_t ticks, bool bKey, std::vector<MediaUnit> &units) const
{
    const AVRational tick = {1, m_media.nClockRate};
    MediaUnit unit;
    unit.packet = makePacket(bytes);
    unit.packet->pts = av_rescale_q(ticks - m_nFirstTicks, tick, AV_TIME_BASE_Q);
    unit.packet->flags = bKey ? AV_PKT_FLAG_KEY : 0;
    if (m_report) {
        const auto nSince = static_cast<std::int32_t>(static_cast<std::uint32_t>(ticks) - m_report->timestamp);
        unit.captureTime = m_report->utc + av_rescale_q(nSince, tick, AV_TIME_BASE_Q);
    }
    units.push_back(std::move(unit));
}

void RtpTrack::feedReport(ByteView packet)
{
    constexpr int kSenderReport = 200;
    constexpr std::size_t kReportSize = 28;
    constexpr std::int64_t kSecondsFrom1900To1970 = 2208988800;
    while (packet.size >= 4 && packet.pData[0] >> 6 == 2) {
        const std::size_t size = 4U * (read16(packet.pData + 2) + 1U);
        if (size > packet.size) {
            return;
        }
        if (packet.pData[1] == kSenderReport && size >= kReportSize) {
            const std::int64_t nSeconds = read32(packet.pData + 8) - kSecondsFrom1900To1970;
            const std::int64_t nFraction = (static_cast<std::int64_t>(read32(packet.pData + 12)) * 1000000) >> 32;
            // A camera whose clock was never set counts from its start, or sends zero. Neither is a time of day.
            if (nSeconds > 0) {
                m_report = SenderReport{nSeconds * 1000000 + nFraction, read32(packet.pData + 16)};
            }
        }
        packet = {packet.pData + size, packet.size - size};
    }
}

} // namespace selvik
