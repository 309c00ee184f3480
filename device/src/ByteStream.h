#ifndef DEVICE_BYTESTREAM_H
#define DEVICE_BYTESTREAM_H

#include "device/src/Bytes.h"
#include "device/src/Patience.h"
#include "device/src/Socket.h"

namespace selvik
{

/**
 * A connection to a device, plain or encrypted.
 *
 * Threads: one at a time.
 * Errors:  Failure(SELVIK_ERROR_HOST) when the other side is gone; Stopped.
 */
class ByteStream
{
public:
    ByteStream() = default;
    virtual ~ByteStream() = default;
    ByteStream(const ByteStream &) = delete;
    ByteStream &operator=(const ByteStream &) = delete;

    /** What is there, after at most the patience; 0 when its time is up. */
    [[nodiscard]] virtual std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity,
                                              const Patience &patience) = 0;
    virtual void send(const std::uint8_t *pData, std::size_t size, const Patience &patience) = 0;
    /** The socket to wait on beside others; null where there is none to be seen. */
    [[nodiscard]] virtual const Socket *socket() const = 0;
};

} // namespace selvik

#endif
