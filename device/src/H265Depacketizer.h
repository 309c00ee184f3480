#ifndef DEVICE_H265DEPACKETIZER_H
#define DEVICE_H265DEPACKETIZER_H

#include "device/src/UnitDepacketizer.h"

namespace selvik
{

/**
 * Units of H.265 out of RTP packets (RFC 7798): single, in aggregates and in fragments, with the numbers of their place
 * in decoding where the description says that there are some.
 *
 * Units go on in the order of their coming, whatever these numbers say. Cameras that put several units with start codes
 * into one packet are understood.
 */
class H265Depacketizer : public UnitDepacketizer
{
public:
    explicit H265Depacketizer(const SdpMedia &media);

    void feed(const RtpPacket &packet, CodedSink &sink) override;

private:
    static void feedUnit(ByteView unit, CodedSink &sink);
    void feedSingle(ByteView payload, CodedSink &sink) const;
    void feedAggregate(ByteView payload, CodedSink &sink) const;
    void takeFragment(ByteView payload, CodedSink &sink);

    bool m_bNumbered;
};

} // namespace selvik

#endif
