#ifndef DEVICE_TCPSTREAM_H
#define DEVICE_TCPSTREAM_H

#include "device/src/ByteStream.h"
#include "device/src/SocketReader.h"

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
        return m_reader.receive(m_socket, pBuffer, capacity, patience);
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
    SocketReader m_reader;
};

} // namespace selvik

#endif
