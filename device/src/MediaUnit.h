#ifndef DEVICE_MEDIAUNIT_H
#define DEVICE_MEDIAUNIT_H

#include "device/src/Bytes.h"
#include "device/src/Ffmpeg.h"

#include <algorithm>

namespace selvik
{

/**
 * One coded picture, a piece of sound, or one metadata document, as it came from a camera.
 *
 * Units: the packet's times are microseconds from the beginning of the stream, without a break; captureTime is
 *        microseconds of UTC since 1970, AV_NOPTS_VALUE where the camera has not told it.
 */
struct MediaUnit {
    std::size_t track = 0;
    PacketPtr packet;
    std::int64_t captureTime = AV_NOPTS_VALUE;

    [[nodiscard]] bool isKey() const
    {
        return (packet->flags & AV_PKT_FLAG_KEY) != 0;
    }
    [[nodiscard]] ByteView bytes() const
    {
        return {packet->data, static_cast<std::size_t>(packet->size)};
    }
};

/** A packet with a copy of these bytes. */
[[nodiscard]] inline PacketPtr makePacket(ByteView bytes)
{
    PacketPtr packet(required(av_packet_alloc()));
    if (av_new_packet(packet.get(), static_cast<int>(bytes.size)) < 0) {
        throw std::bad_alloc();
    }
    std::copy(bytes.begin(), bytes.end(), packet->data);
    return packet;
}

} // namespace selvik

#endif
