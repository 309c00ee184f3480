#include "device/src/RtpPacket.h"

namespace selvik
{

std::optional<RtpPacket> RtpPacket::parse(ByteView bytes)
{
    constexpr std::size_t kHead = 12;
    if (bytes.size < kHead || bytes.pData[0] >> 6 != 2) {
        return std::nullopt;
    }
    RtpPacket packet;
    packet.raw = bytes;
    packet.nType = bytes.pData[1] & 0x7F;
    packet.bMarker = (bytes.pData[1] & 0x80) != 0;
    packet.sequence = read16(bytes.pData + 2);
    packet.timestamp = read32(bytes.pData + 4);
    packet.source = read32(bytes.pData + 8);
    std::size_t begin = kHead + 4U * (bytes.pData[0] & 0x0F);
    if ((bytes.pData[0] & 0x10) != 0 && begin + 4 <= bytes.size) {
        const std::size_t size = 4 + 4U * read16(bytes.pData + begin + 2);
        if (begin + size <= bytes.size) {
            packet.extension = {bytes.pData + begin, size};
        }
        begin += size;
    }
    const std::size_t padding = (bytes.pData[0] & 0x20) != 0 ? bytes.pData[bytes.size - 1] : 0;
    if (begin + padding > bytes.size) {
        return std::nullopt;
    }
    packet.payload = {bytes.pData + begin, bytes.size - padding - begin};
    return packet;
}

bool isControlPacket(ByteView bytes)
{
    return bytes.size >= 8 && bytes.pData[0] >> 6 == 2 && bytes.pData[1] >= 192 && bytes.pData[1] <= 223;
}

} // namespace selvik
