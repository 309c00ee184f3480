#include "device/src/H264Depacketizer.h"

#include "device/src/PictureParameters.h"

#include <algorithm>

namespace selvik
{

namespace
{

constexpr int kStapA = 24;
constexpr int kStapB = 25;
constexpr int kMtap16 = 26;
constexpr int kMtap24 = 27;
constexpr int kFuA = 28;
constexpr int kFuB = 29;

} // namespace

H264Depacketizer::H264Depacketizer(const SdpMedia &media)
    : UnitDepacketizer(describedPictures(AV_CODEC_ID_H264, media, {"sprop-parameter-sets"}))
{
}

void H264Depacketizer::feedUnit(ByteView unit, CodedSink &sink)
{
    const int nType = unit.empty() ? 0 : unit.pData[0] & 0x1F;
    if (nType == 1 || nType == 5) {
        feedWhole(unit, sink);
        return;
    }
    // A start code in front makes the type 0. Behind parameter sets and the like there may be further units.
    feedEach(unit, sink);
}

void H264Depacketizer::feedAggregate(ByteView payload, std::size_t between, CodedSink &sink)
{
    while (payload.size > 2) {
        const std::size_t size = std::min<std::size_t>(read16(payload.pData), payload.size - 2);
        if (size > between) {
            feedUnit({payload.pData + 2 + between, size - between}, sink);
        }
        payload = {payload.pData + 2 + size, payload.size - 2 - size};
    }
}

void H264Depacketizer::feed(const RtpPacket &packet, CodedSink &sink)
{
    const ByteView payload = packet.payload;
    if (payload.empty()) {
        return;
    }
    const int nType = payload.pData[0] & 0x1F;
    if (nType == kFuA || nType == kFuB) {
        // FU-B has the number of its unit's place behind the head, in the first fragment alone.
        const bool bNumber = nType == kFuB && payload.size > 1 && (payload.pData[1] & 0x80) != 0;
        const std::size_t size = bNumber ? 4 : 2;
        if (payload.size > size) {
            const std::uint8_t flags = payload.pData[1];
            const auto head = static_cast<std::uint8_t>((payload.pData[0] & 0xE0) | (flags & 0x1F));
            feedFragment(flags, {&head, 1}, payload.from(size), sink);
        }
        return;
    }
    endFragments();
    switch (nType) {
    case kStapA:
        feedAggregate(payload.from(1), 0, sink);
        break;
    case kStapB:
        feedAggregate(payload.from(3), 0, sink);
        break;
    case kMtap16:
        feedAggregate(payload.from(3), 3, sink);
        break;
    case kMtap24:
        feedAggregate(payload.from(3), 4, sink);
        break;
    default:
        feedUnit(payload, sink);
        break;
    }
}

} // namespace selvik
