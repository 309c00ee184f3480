#ifndef DEVICE_JPEGSIZE_H
#define DEVICE_JPEGSIZE_H

#include "device/src/RtpPacket.h"
#include "device/src/Sdp.h"

namespace selvik
{

/**
 * The size of JPEG pictures that have more than 2040 pixels on a side. RTP cannot tell it in its own head (RFC 2435,
 * 3.1.5): there is zero. Cameras tell it in their description (a=framesize, a=x-dimensions), or send the heads of the
 * JPEG file in an extension of the packet (ONVIF's, of the profile 0xFFD8).
 *
 * Threads: one.
 */
class JpegSize
{
public:
    explicit JpegSize(const SdpMedia &media) : m_nWidth(media.nWidth), m_nHeight(media.nHeight) {}

    /** Looks for the size in the packet's extension. */
    void note(const RtpPacket &packet);
    /** Writes the size into the picture's own head where that has none. Throws Failure(SELVIK_ERROR_MEDIA), and says
     *  why, where nobody knows it or the picture is too large. */
    void complete(std::uint8_t *pPicture, std::size_t size) const;

private:
    int m_nWidth;
    int m_nHeight;
};

} // namespace selvik

#endif
