#ifndef DEVICE_SOCKET_H
#define DEVICE_SOCKET_H

#include "device/src/Bytes.h"
#include "device/src/Patience.h"

#include <string>
#include <vector>

namespace selvik
{

/** A numeric address and a port. */
struct Endpoint {
    std::string host;
    unsigned short port = 0;
};

/**
 * One socket that never blocks by itself: each wait ends with its caller's patience.
 *
 * Threads: one at a time. Owns: the system's socket, closed with it.
 * Errors:  Failure(SELVIK_ERROR_HOST) when the other side is not there or gone.
 */
class Socket
{
public:
    Socket() = default;
    ~Socket();
    Socket(Socket &&other) noexcept;
    Socket &operator=(Socket &&other) noexcept;
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    [[nodiscard]] static Socket connectTcp(const Endpoint &remote, const Patience &patience);
    /** A datagram socket on a port of its own choice (0) or a given one; invalid when that port is taken. */
    [[nodiscard]] static Socket bindUdp(bool bIpv6, unsigned short port);

    /**
     * A datagram socket that receives what an IPv4 multicast group is sent, on the interface that leads to a host;
     * invalid for what is no such group, and where it cannot be joined.
     */
    [[nodiscard]] static Socket joinGroup(const Endpoint &group, const std::string &remoteHost);

    [[nodiscard]] bool isValid() const
    {
        return m_handle != kInvalid;
    }
    [[nodiscard]] unsigned short localPort() const;

    /** What is there, up to `capacity` bytes; 0 when nothing is. Throws when the other side has closed. */
    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity);
    void sendAll(const std::uint8_t *pData, std::size_t size, const Patience &patience);
    /** A datagram that is lost here is lost on the network: no error. */
    void sendTo(const Endpoint &remote, const Bytes &data);

    /** Whether one of them can be read, before the patience is over. */
    [[nodiscard]] static bool waitReadable(const std::vector<const Socket *> &sockets, const Patience &patience);

private:
    using Handle = unsigned long long;
    static constexpr Handle kInvalid = ~Handle(0);

    explicit Socket(Handle handle) : m_handle(handle) {}
    void close();

    Handle m_handle = kInvalid;
};

} // namespace selvik

#endif
