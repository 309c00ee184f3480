#ifndef DEVICE_SOCKETREADER_H
#define DEVICE_SOCKETREADER_H

#include "device/src/Socket.h"

#include <cstddef>
#include <cstdint>

namespace selvik
{

/**
 * Reads what comes on a connection, with as few calls of the system as it can be done.
 *
 * On Windows a read is begun before there is anything to read, and waited for together with the stop flag: one call to
 * begin it and one to wait, which brings the bytes as well. Elsewhere a poll and then a read, and after a read that has
 * taken all there was no other one without a poll.
 *
 * Threads: one at a time. Owns: the event of its reads. Errors: as Socket::receive().
 */
class SocketReader
{
public:
    SocketReader();
    ~SocketReader();
    SocketReader(const SocketReader &) = delete;
    SocketReader &operator=(const SocketReader &) = delete;

    /** Up to `capacity` bytes; 0 when the patience is over before any has come. The buffer is not used afterwards. */
    [[nodiscard]] std::size_t receive(Socket &socket, std::uint8_t *pBuffer, std::size_t capacity,
                                      const Patience &patience);

private:
    [[nodiscard]] std::size_t receiveByPolling(Socket &socket, std::uint8_t *pBuffer, std::size_t capacity,
                                               const Patience &patience);

    [[maybe_unused]] void *m_hEvent = nullptr; /**< Windows; null where there is none to be had */
    bool m_bMayHaveMore = true;
};

} // namespace selvik

#endif
