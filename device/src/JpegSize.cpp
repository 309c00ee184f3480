#include "device/src/JpegSize.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"
#include "device/src/Notice.h"
#include "device/src/PictureParameters.h"

namespace selvik
{

namespace
{

/** Where the height stands in the frame's head among the segments at `at`, the width behind it; 0 for nowhere. */
std::size_t findSize(ByteView bytes, std::size_t at)
{
    while (at + 9 <= bytes.size && bytes.pData[at] == 0xFF) {
        const std::uint8_t nMarker = bytes.pData[at + 1];
        // Frames of all kinds but for the tables that lie between their numbers.
        const bool bFrame = nMarker >= 0xC0 && nMarker <= 0xCF && nMarker != 0xC4 && nMarker != 0xC8 && nMarker != 0xCC;
        if (bFrame) {
            return at + 5;
        }
        const bool bBare = nMarker == 0xFF || nMarker == 0xD8;
        at += nMarker == 0xFF ? 1 : (bBare ? 2 : 2U + read16(bytes.pData + at + 2));
    }
    return 0;
}

void write16(std::uint8_t *p, int value)
{
    p[0] = static_cast<std::uint8_t>(value >> 8);
    p[1] = static_cast<std::uint8_t>(value);
}

} // namespace

void JpegSize::note(const RtpPacket &packet)
{
    constexpr std::uint16_t kJpegExtension = 0xFFD8;
    if (packet.extension.size < 4 || read16(packet.extension.pData) != kJpegExtension) {
        return;
    }
    if (const std::size_t at = findSize(packet.extension, 4)) {
        m_nHeight = read16(packet.extension.pData + at);
        m_nWidth = read16(packet.extension.pData + at + 2);
    }
}

void JpegSize::complete(std::uint8_t *pPicture, std::size_t size) const
{
    const std::size_t at = findSize({pPicture, size}, 0);
    if (at == 0) {
        return;
    }
    const int nHeight = read16(pPicture + at) != 0 ? read16(pPicture + at) : m_nHeight;
    const int nWidth = read16(pPicture + at + 2) != 0 ? read16(pPicture + at + 2) : m_nWidth;
    if (nWidth <= 0 || nHeight <= 0) {
        notice("The camera's JPEG pictures have more than 2040 pixels on a side, and it does not say how many.");
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    requireSizeAllowed(nWidth, nHeight);
    write16(pPicture + at, nHeight);
    write16(pPicture + at + 2, nWidth);
}

} // namespace selvik
