// The packets of one medium: RTP on the even channels, RTCP on the odd ones, jumps of the camera's numbers from 4 on.
#include "device/fuzz/FramedPackets.h"
#include "device/fuzz/FuzzedTrack.h"
#include "device/src/Failure.h"
#include "tests/support/FuzzTarget.h"

void pellora::test::fuzz(FuzzInput &input)
{
    const selvik::SdpMedia media = selvik::fuzzedMedium(input.choose());
    const std::uint8_t how = input.choose();
    const bool bInOrder = (how & 1) == 0;
    if ((how & 6) == 6) {
        // Jumps add up.
        input.repeatUpTo(128 * 1024);
    }
    const FuzzTime time(2000);
    try {
        selvik::FuzzedTrack track(media, bInOrder);
        if ((how & 8) != 0) {
            track.useDatagrams();
        }
        selvik::Clock::time_point now{std::chrono::hours(1)};
        selvik::FramedPackets packets(input.bytes());
        std::vector<selvik::MediaUnit> units;
        int nChannel = 0;
        for (selvik::ByteView packet; packets.next(nChannel, packet);) {
            if (nChannel >= 4) {
                track.jump(packet);
            } else if (nChannel % 2 != 0) {
                track.feedReport(packet);
            } else {
                now += selvik::Milliseconds(20);
                track.feed(packet, now, units);
                track.wait(now, units);
            }
        }
        for (const selvik::MediaUnit &unit : units) {
            mustHold(unit.packet->size > 0, "a unit holds something");
            mustHold(unit.packet->pts != AV_NOPTS_VALUE, "a unit has a time");
        }
    } catch (const selvik::Failure &) {
        // A medium that is not carried.
    }
}
