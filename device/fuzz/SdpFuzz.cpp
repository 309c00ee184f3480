// A camera's description of its stream, and what each of the media in it is read by.
#include "device/src/Failure.h"
#include "device/src/RtpTrack.h"
#include "device/src/Sdp.h"
#include "tests/support/FuzzTarget.h"

#include <string>

void pellora::test::fuzz(FuzzInput &input)
{
    if (input.choose() == 0xFF) {
        input.repeatUpTo(16 * 1024);
    }
    const FuzzTime time(1500);
    const selvik::Sdp sdp = selvik::Sdp::parse({input.bytes().begin(), input.bytes().end()});
    int nTracks = 0;
    for (const selvik::SdpMedia &media : sdp.media) {
        mustHold(!selvik::resolveControl("rtsp://camera/live", media.control).empty(), "a medium has an address");
        if (++nTracks > 3) {
            continue;
        }
        try {
            const selvik::RtpTrack track(media);
            mustHold(media.nClockRate > 0, "a medium that is read has a clock");
        } catch (const selvik::Failure &) {
            // Nothing that can be carried.
        }
    }
}
