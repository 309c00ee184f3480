#include "device/src/H264Depacketizer.h"

#include "device/src/PictureParameters.h"
#include "device/src/UnitScanner.h"

#include <algorithm>
#include <array>

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
// What the beginning of a slice needs that is looked at before the rest comes.
constexpr std::size_t kHead = 24;

void feedUnit(ByteView unit, CodedSink &sink)
{
    const int nType = unit.empty() ? 0 : unit.pData[0] & 0x1F;
    if (nType == 1 || nType == 5) {
        sink.begin(unit);
        sink.append(unit);
        return;
    }
    // A start code in front makes the type 0. Behind parameter sets and the like there may be further units.
    visitUnits(unit, Leading::IsUnit, [&sink](ByteView inner) {
        sink.begin(inner);
        sink.append(inner);
    });
}

/** Units with their sizes before them; `between` bytes of each are numbers of no use here. */
void feedAggregate(ByteView payload, std::size_t between, CodedSink &sink)
{
    while (payload.size > 2) {
        const std::size_t size = std::min<std::size_t>(read16(payload.pData), payload.size - 2);
        if (size > between) {
            feedUnit({payload.pData + 2 + between, size - between}, sink);
        }
        payload = {payload.pData + 2 + size, payload.size - 2 - size};
    }
}

} // namespace

H264Depacketizer::H264Depacketizer(const SdpMedia &media)
    : m_parameters(describedPictures(AV_CODEC_ID_H264, media, {"sprop-parameter-sets"}))
{
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
        feedFragment(payload, bNumber ? 4 : 2, sink);
        return;
    }
    m_bInside = false;
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

void H264Depacketizer::feedFragment(ByteView payload, std::size_t head, CodedSink &sink)
{
    if (payload.size <= head) {
        return;
    }
    const std::uint8_t nFlags = payload.pData[1];
    const ByteView fragment = payload.from(head);
    if ((nFlags & 0x80) != 0) {
        std::array<std::uint8_t, kHead> begin = {
            static_cast<std::uint8_t>((payload.pData[0] & 0xE0) | (nFlags & 0x1F))};
        const std::size_t size = std::min(fragment.size, begin.size() - 1);
        std::copy_n(fragment.begin(), size, begin.begin() + 1);
        sink.begin({begin.data(), size + 1});
        sink.append({begin.data(), 1});
        m_bInside = true;
    }
    if (m_bInside) {
        sink.append(fragment);
        m_bInside = (nFlags & 0x40) == 0;
    }
}

} // namespace selvik
