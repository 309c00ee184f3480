#ifndef DEVICE_H265DEPACKETIZER_H
#define DEVICE_H265DEPACKETIZER_H

#include "device/src/RtpDepacketizer.h"

namespace selvik
{

/**
 * Units of H.265 out of RTP packets (RFC 7798): single, in aggregates and in fragments, with the numbers of their place
 * in decoding where the description says that there are some.
 *
 * Units go on in the order of their coming, whatever these numbers say. Cameras that put several units with start codes
 * into one packet are understood.
 */
class H265Depacketizer : public RtpDepacketizer
{
public:
    explicit H265Depacketizer(const SdpMedia &media);

    [[nodiscard]] const AVCodecParameters &parameters() const override
    {
        return *m_parameters;
    }
    void feed(const RtpPacket &packet, CodedSink &sink) override;
    void lose() override
    {
        m_bInside = false;
    }
    [[nodiscard]] bool isInsideUnit() const override
    {
        return m_bInside;
    }

private:
    void feedSingle(ByteView payload, CodedSink &sink) const;
    void feedAggregate(ByteView payload, CodedSink &sink) const;
    void feedFragment(ByteView payload, CodedSink &sink);

    ParametersPtr m_parameters;
    bool m_bNumbered;
    bool m_bInside = false; /**< between the first and the last fragment of a unit */
};

} // namespace selvik

#endif
