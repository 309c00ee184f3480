#ifndef DEVICE_TCPSTREAM_H
#define DEVICE_TCPSTREAM_H

#include "device/src/ByteStream.h"

#include <utility>

namespace selvik
{

/** A plain connection; see ByteStream. Owns: its socket. */
class TcpStream : public ByteStream
{
public:
    explicit TcpStream(Socket socket) : m_socket(std::move(socket)) {}

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience) override
    {
        // Where the last read did not fill its buffer there was no more, and asking again would only cost a call.
        bool bMayHaveMore = std::exchange(m_bMayHaveMore, true) || patience.isOver();
        for (;;) {
            const std::size_t received = bMayHaveMore ? m_socket.receive(pBuffer, capacity) : 0;
            if (received > 0 || (bMayHaveMore && patience.isOver())) {
                m_bMayHaveMore = received == capacity;
                return received;
            }
            (void)Socket::waitReadable({&m_socket}, patience);
            bMayHaveMore = true;
        }
    }

    void send(const std::uint8_t *pData, std::size_t size, const Patience &patience) override
    {
        m_socket.sendAll(pData, size, patience);
    }

    [[nodiscard]] const Socket *socket() const override
    {
        return &m_socket;
    }

private:
    Socket m_socket;
    bool m_bMayHaveMore = true;
};

} // namespace selvik

#endif
