// The payloads of RTP packets with H.264 or H.265, in order: single units, aggregates, fragments.
#include "device/fuzz/FramedPackets.h"
#include "device/fuzz/FuzzedTrack.h"
#include "device/src/RtpDepacketizer.h"
#include "tests/support/FuzzTarget.h"

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

/** Counts what comes out. */
class CountingSink : public CodedSink
{
public:
    void begin(ByteView head) override
    {
        pellora::test::mustHold(!head.empty(), "a unit has a beginning");
        m_nUnits += 1;
    }
    void append(ByteView bytes) override
    {
        pellora::test::mustHold(m_nUnits > 0, "bytes belong to a unit");
        m_nBytes += bytes.size;
    }
    std::size_t m_nUnits = 0;
    std::size_t m_nBytes = 0;
};

void depacketize(std::uint8_t choice, const Bytes &bytes)
{
    SdpMedia media = fuzzedMedium(choice % 2);
    if ((choice & 4) != 0) {
        media.fmtp = "sprop-max-don-diff=1";
    }
    const std::unique_ptr<RtpDepacketizer> depacketizer = makeDepacketizer(media);
    FramedPackets payloads(bytes);
    CountingSink sink;
    std::size_t input = 0;
    std::uint16_t sequence = 0;
    std::uint32_t time = 0;
    int nChannel = 0;
    for (ByteView payload; payloads.next(nChannel, payload);) {
        input += payload.size;
        if (nChannel >= 128) {
            depacketizer->lose();
        }
        const Bytes packet = packetOf(payload, nChannel, ++sequence, time);
        if (const std::optional<RtpPacket> parsed = RtpPacket::parse({packet.data(), packet.size()})) {
            depacketizer->feed(*parsed, sink);
        }
    }
    // A unit that was made up of fragments has a head that no packet holds as it is.
    pellora::test::mustHold(sink.m_nBytes <= 2 * input, "no more comes out than went in");
}

} // namespace
} // namespace selvik

void pellora::test::fuzz(FuzzInput &input)
{
    const std::uint8_t choice = input.choose();
    const FuzzTime time(2000);
    selvik::depacketize(choice, input.bytes());
}
