#ifndef DEVICE_FFMPEGDEPACKETIZER_H
#define DEVICE_FFMPEGDEPACKETIZER_H

#include "device/src/JpegSize.h"
#include "device/src/RtpDepacketizer.h"

#include <string>

namespace selvik
{

/**
 * The payloads that the library does not take apart itself. FFmpeg's reader of session descriptions does the work and
 * gets the packets from memory.
 *
 * What a packet holds comes out at once. FFmpeg's RTSP client would hold a picture back until the next one begins.
 */
class FfmpegDepacketizer : public RtpDepacketizer
{
public:
    explicit FfmpegDepacketizer(const SdpMedia &media);

    [[nodiscard]] const AVCodecParameters &parameters() const override
    {
        return *m_parameters;
    }
    void feed(const RtpPacket &packet, CodedSink &sink) override;

private:
    [[nodiscard]] bool open(const std::string &description);
    static int read(void *pSelf, std::uint8_t *pBuffer, int size);
    static int drop(void *pSelf, const std::uint8_t *pBuffer, int size);

    // Declared before the format, which uses it until it is destroyed.
    IoPtr m_io;
    FormatPtr m_format;
    Bytes m_input;        /**< what the next read gets: the description, then one packet after the other */
    bool m_bOpen = false; /**< the description was read */
    int m_nPayloadType;
    ParametersPtr m_parameters;
    JpegSize m_jpegSize;
    bool m_bTurnsG726 = false; /**< the container knows the other order of codes alone */
};

} // namespace selvik

#endif
