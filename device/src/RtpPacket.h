#ifndef DEVICE_RTPPACKET_H
#define DEVICE_RTPPACKET_H

#include "device/src/Bytes.h"

#include <optional>

namespace selvik
{

/** A packet of RTP (RFC 3550, 5.1), taken apart. Borrows the bytes. */
struct RtpPacket {
    ByteView raw;
    ByteView extension; /**< with its own head of four bytes; empty where there is none */
    ByteView payload;   /**< without padding; may be empty */
    int nType = 0;
    bool bMarker = false;
    std::uint16_t sequence = 0;
    std::uint32_t timestamp = 0;
    std::uint32_t source = 0;

    /** Nothing for what is no such packet. */
    [[nodiscard]] static std::optional<RtpPacket> parse(ByteView bytes);
};

/** Whether these are RTCP, which some cameras send among the media (RFC 5761, 4: packet types that RTP leaves free). */
[[nodiscard]] bool isControlPacket(ByteView bytes);

} // namespace selvik

#endif
