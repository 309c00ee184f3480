#ifndef DEVICE_H264DEPACKETIZER_H
#define DEVICE_H264DEPACKETIZER_H

#include "device/src/UnitDepacketizer.h"

namespace selvik
{

/**
 * Units of H.264 out of RTP packets (RFC 6184): single, in aggregates (STAP-A, STAP-B, MTAP16, MTAP24) and in fragments
 * (FU-A, FU-B).
 *
 * Units go on in the order of their coming: interleaved ones are not put back into the order of decoding. Cameras that
 * put several units with start codes into one packet are understood.
 */
class H264Depacketizer : public UnitDepacketizer
{
public:
    explicit H264Depacketizer(const SdpMedia &media);

    void feed(const RtpPacket &packet, CodedSink &sink) override;

private:
    static void feedUnit(ByteView unit, CodedSink &sink);
    /** Units with their sizes before them; `between` bytes of each are numbers of no use here. */
    static void feedAggregate(ByteView payload, std::size_t between, CodedSink &sink);
};

} // namespace selvik

#endif
