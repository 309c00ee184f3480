// The payloads of RTP packets with H.264 or H.265, in order: single units, aggregates, fragments.
#include "device/fuzz/FramedPackets.h"
#include "device/fuzz/FuzzedTrack.h"
#include "device/src/RtpDepacketizer.h"
#include "tests/support/FuzzTarget.h"

using pellora::test::mustHold;

namespace selvik
{
namespace
{

/** The payload as the next packet; even channels begin a new time stamp. */
Bytes packetOf(ByteView payload, int nChannel, std::uint16_t sequence, std::uint32_t &time)
{
    time += nChannel % 2 == 0 ? 3600 : 0;
    Bytes packet = {0x80, static_cast<std::uint8_t>(96 | ((nChannel & 2) != 0 ? 0x80 : 0)),
                    static_cast<std::uint8_t>(sequence >> 8), static_cast<std::uint8_t>(sequence)};
    packet.resize(12);
    write32(&packet[4], time);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

void depacketize(std::uint8_t choice, const Bytes &bytes)
{
    RtpDepacketizer depacketizer(fuzzedMedium(choice % 2));
    FramedPackets payloads(bytes);
    std::vector<PacketPtr> pieces;
    std::size_t input = 0;
    std::uint16_t sequence = 0;
    std::uint32_t time = 0;
    int nChannel = 0;
    for (ByteView payload; payloads.next(nChannel, payload);) {
        input += payload.size;
        // The higher channels skip a packet.
        sequence = static_cast<std::uint16_t>(sequence + (nChannel >= 128 ? 2 : 1));
        const Bytes packet = packetOf(payload, nChannel, sequence, time);
        depacketizer.feed({packet.data(), packet.size()}, pieces);
    }
    std::size_t output = 0;
    for (const PacketPtr &piece : pieces) {
        output += static_cast<std::size_t>(piece->size);
    }
    // A start code of four bytes takes the place of a length of two; each unit has a byte at least.
    mustHold(output <= 6 * input + 64, "no more comes out than went in");
}

} // namespace
} // namespace selvik

void pellora::test::fuzz(FuzzInput &input)
{
    const std::uint8_t choice = input.choose();
    const FuzzTime time(2000);
    selvik::depacketize(choice, input.bytes());
}
