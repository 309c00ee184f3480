#ifndef DEVICE_H264DEPACKETIZER_H
#define DEVICE_H264DEPACKETIZER_H

#include "device/src/RtpDepacketizer.h"

namespace selvik
{

/**
 * Units of H.264 out of RTP packets (RFC 6184): single, in aggregates (STAP-A, STAP-B, MTAP16, MTAP24) and in fragments
 * (FU-A, FU-B).
 *
 * Units go on in the order of their coming: interleaved ones are not put back into the order of decoding. Cameras that
 * put several units with start codes into one packet are understood.
 */
class H264Depacketizer : public RtpDepacketizer
{
public:
    explicit H264Depacketizer(const SdpMedia &media);

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
    void feedFragment(ByteView payload, std::size_t head, CodedSink &sink);

    ParametersPtr m_parameters;
    bool m_bInside = false; /**< between the first and the last fragment of a unit */
};

} // namespace selvik

#endif
