#ifndef DEVICE_RTPDEPACKETIZER_H
#define DEVICE_RTPDEPACKETIZER_H

#include "device/src/Ffmpeg.h"
#include "device/src/MediaUnit.h"
#include "device/src/Sdp.h"

#include <string>
#include <vector>

namespace selvik
{

/**
 * Takes the coded bytes out of the RTP packets of one medium. FFmpeg's reader of session descriptions does the work and
 * gets the packets from memory.
 *
 * What a packet holds comes out at once. FFmpeg's RTSP client would hold a picture back until the next one begins.
 *
 * Threads: one. Errors: the constructor throws Failure(SELVIK_ERROR_MEDIA) for a medium that is not understood.
 */
class RtpDepacketizer
{
public:
    explicit RtpDepacketizer(const SdpMedia &media);
    RtpDepacketizer(const RtpDepacketizer &) = delete;
    RtpDepacketizer &operator=(const RtpDepacketizer &) = delete;

    [[nodiscard]] const AVCodecParameters &parameters() const
    {
        return *m_format->streams[0]->codecpar;
    }
    /** The packets' times mean nothing; pieces of a picture may come as several. */
    void feed(ByteView packet, std::vector<PacketPtr> &output);

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
};

} // namespace selvik

#endif
