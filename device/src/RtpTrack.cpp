#include "device/src/RtpTrack.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"
#include "device/src/Failure.h"
#include "device/src/LiveMuxer.h"

namespace selvik
{

namespace
{

constexpr std::size_t rtpHead = 12;
constexpr std::size_t maxPicture = 32 << 20;
constexpr int samplesOfAacUnit = 1024;

/** The payload's bytes, without header, contributing sources, extension and padding; empty where that is no packet. */
ByteView payloadOf(ByteView packet)
{
    std::size_t begin = rtpHead + 4U * (packet.pData[0] & 0x0F);
    std::size_t end = packet.size;
    if ((packet.pData[0] & 0x20) != 0) {
        end -= std::min<std::size_t>(end, packet.pData[packet.size - 1]);
    }
    if ((packet.pData[0] & 0x10) != 0 && begin + 4 <= end) {
        begin += 4 + 4U * read16(packet.pData + begin + 2);
    }
    return begin < end ? ByteView{packet.pData + begin, end - begin} : ByteView{};
}

/** Whether a packet of H.264 or H.265 holds a part of a unit that is not its last one. */
bool isUnfinishedFragment(AVCodecID codec, ByteView payload)
{
    constexpr int fragmentOfH264 = 28;
    constexpr int fragmentOfH265 = 49;
    constexpr int lastFragment = 0x40;
    if (codec == AV_CODEC_ID_H264) {
        return payload.size > 1 && (payload.pData[0] & 0x1F) == fragmentOfH264 &&
               (payload.pData[1] & lastFragment) == 0;
    }
    return codec == AV_CODEC_ID_HEVC && payload.size > 2 && ((payload.pData[0] >> 1) & 0x3F) == fragmentOfH265 &&
           (payload.pData[2] & lastFragment) == 0;
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
    constexpr int farAway = 1000;
    const auto nStep = static_cast<std::int16_t>(sequence - m_nSequence);
    bOld = m_bStarted && nStep <= 0 && nStep > -farAway;
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
    if (packet.size <= rtpHead || packet.pData[0] >> 6 != 2) {
        return;
    }
    const std::uint32_t timestamp = read32(packet.pData + 4);
    const std::uint32_t source = read32(packet.pData + 8);
    if (m_bStarted && source != m_nSource) {
        // The camera began anew: its numbers have nothing to do with the former ones.
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
        // No marker told the end of the former picture.
        finishPicture(units);
    }
    const bool bMoreOfTheLast = m_nLastPictureTicks == m_nTicks;
    if (bMoreOfTheLast || (bMarker && isUnfinishedFragment(m_parameters->codec_id, payloadOf(packet)))) {
        // This camera sets markers anywhere, so that only the next picture's beginning tells the end of one.
        m_bMarkerTrusted = false;
        m_bDamaged = m_bDamaged || bMoreOfTheLast;
    }
    std::vector<PacketPtr> pieces;
    m_depacketizer->feed(packet, pieces);
    m_nPictureTicks = m_nTicks;
    for (const PacketPtr &piece : pieces) {
        m_picture.insert(m_picture.end(), piece->data, piece->data + piece->size);
    }
    if (m_picture.size() > maxPicture) {
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
        // Parameter sets in a packet of their own, with a marker: they belong to the picture that follows.
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
        nTicks += samplesOfAacUnit;
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
    // Its beginning may be lost; a document without one would be no document.
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
    constexpr int senderReport = 200;
    constexpr std::size_t reportSize = 28;
    constexpr std::int64_t secondsFrom1900To1970 = 2208988800;
    while (packet.size >= 4 && packet.pData[0] >> 6 == 2) {
        const std::size_t size = 4U * (read16(packet.pData + 2) + 1U);
        if (size > packet.size) {
            return;
        }
        if (packet.pData[1] == senderReport && size >= reportSize) {
            const std::int64_t nSeconds = read32(packet.pData + 8) - secondsFrom1900To1970;
            const std::int64_t nFraction = (static_cast<std::int64_t>(read32(packet.pData + 12)) * 1000000) >> 32;
            // A camera without a clock counts from its start, or sends zero: that is no time of day.
            if (nSeconds > 0) {
                m_report = SenderReport{nSeconds * 1000000 + nFraction, read32(packet.pData + 16)};
            }
        }
        packet = {packet.pData + size, packet.size - size};
    }
}

} // namespace selvik
