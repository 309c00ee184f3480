#ifndef DEVICE_MEDIAUNIT_H
#define DEVICE_MEDIAUNIT_H

#include "device/src/Bytes.h"
#include "device/src/Ffmpeg.h"

#include <algorithm>
#include <memory>
#include <utility>

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

/** A packet that owns these bytes; they are not copied. */
[[nodiscard]] inline PacketPtr makePacket(Bytes &&bytes)
{
    PacketPtr packet(required(av_packet_alloc()));
    const std::size_t size = bytes.size();
    // Decoders read beyond the end.
    bytes.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);
    auto owner = std::make_unique<Bytes>(std::move(bytes));
    const auto giveBack = [](void *pOwner, std::uint8_t *) { delete static_cast<Bytes *>(pOwner); };
    packet->buf = required(av_buffer_create(owner->data(), owner->size(), giveBack, owner.get(), 0));
    packet->data = owner->data();
    packet->size = static_cast<int>(size);
    // From here on the buffer owns it.
    (void)owner.release();
    return packet;
}

} // namespace selvik

#endif
