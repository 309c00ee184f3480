#include "device/src/H265Depacketizer.h"

#include "device/src/PictureParameters.h"
#include "device/src/Text.h"
#include "device/src/UnitScanner.h"

#include <algorithm>
#include <array>

namespace selvik
{

namespace
{

constexpr int kAggregate = 48;
constexpr int kFragment = 49;
constexpr int kPaci = 50;
constexpr std::size_t kUnitHead = 2;

int typeOf(ByteView unit)
{
    return (unit.pData[0] >> 1) & 0x3F;
}

} // namespace

H265Depacketizer::H265Depacketizer(const SdpMedia &media)
    : UnitDepacketizer(describedPictures(AV_CODEC_ID_HEVC, media, {"sprop-vps", "sprop-sps", "sprop-pps"})),
      m_bNumbered(leadingNumber(media.parameter("sprop-max-don-diff")) > 0)
{
}

void H265Depacketizer::feedUnit(ByteView unit, CodedSink &sink)
{
    constexpr int kFirstOfParameterSets = 32;
    if (unit.size < kUnitHead) {
        return;
    }
    if (!beginsWithStartCode(unit) && typeOf(unit) < kFirstOfParameterSets) {
        feedWhole(unit, sink);
        return;
    }
    feedEach(unit, sink);
}

void H265Depacketizer::feed(const RtpPacket &packet, CodedSink &sink)
{
    const ByteView payload = packet.payload;
    if (payload.size <= kUnitHead) {
        return;
    }
    const int nType = typeOf(payload);
    if (nType == kFragment) {
        takeFragment(payload, sink);
        return;
    }
    endFragments();
    if (nType == kAggregate) {
        feedAggregate(payload.from(kUnitHead), sink);
    } else if (nType != kPaci) {
        feedSingle(payload, sink);
    }
}

void H265Depacketizer::feedSingle(ByteView payload, CodedSink &sink) const
{
    if (!m_bNumbered) {
        feedUnit(payload, sink);
        return;
    }
    if (payload.size <= kUnitHead + 2) {
        return;
    }
    // The number stands behind the unit's own head.
    const ByteView body = payload.from(kUnitHead + 2);
    begin({payload.pData, kUnitHead}, body, sink);
    sink.append(body);
}

void H265Depacketizer::feedAggregate(ByteView payload, CodedSink &sink) const
{
    // The first unit's number has two bytes, the distance to it of each further one a single byte.
    std::size_t number = m_bNumbered ? 2 : 0;
    while (payload.size > number + 2) {
        payload = payload.from(number);
        const std::size_t size = std::min<std::size_t>(read16(payload.pData), payload.size - 2);
        feedUnit({payload.pData + 2, size}, sink);
        payload = payload.from(2 + size);
        number = m_bNumbered ? 1 : 0;
    }
}

void H265Depacketizer::takeFragment(ByteView payload, CodedSink &sink)
{
    const std::uint8_t flags = payload.pData[kUnitHead];
    const bool bFirst = (flags & 0x80) != 0;
    const std::array<std::uint8_t, kUnitHead> head = {
        static_cast<std::uint8_t>((payload.pData[0] & 0x81) | (flags & 0x3F) << 1), payload.pData[1]};
    feedFragment(flags, {head.data(), head.size()}, payload.from(kUnitHead + 1 + (bFirst && m_bNumbered ? 2 : 0)),
                 sink);
}

} // namespace selvik
