#ifndef DEVICE_SOCKET_H
#define DEVICE_SOCKET_H

#include "device/src/Bytes.h"
#include "device/src/Patience.h"
#include "device/src/SocketAddress.h"

#include <vector>

namespace selvik
{

/**
 * One socket that never blocks by itself: each wait ends with its caller's patience.
 *
 * Threads: one at a time. Owns: the system's socket, closed with it.
 * Errors:  Failure(SELVIK_ERROR_HOST) when the other side is not there or gone; as SocketAddress for an endpoint.
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

    /** A datagram socket on loopback that gets what it sends; invalid when there is none to be had. */
    [[nodiscard]] static Socket toItself();
    /** Makes such a socket readable, for good. */
    void sendToItself() const;
    /** Whether such a socket is readable within that time. */
    [[nodiscard]] bool awaitItself(Milliseconds duration) const;
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

    /** Which of this machine's IPv4 addresses datagrams to groups leave by; false where it has no such one. */
    [[nodiscard]] bool sendGroupsThrough(const std::string &localAddress);

    /** What is there, up to `capacity` bytes; 0 when nothing is. Throws when the other side has closed. */
    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity);
    /** As receive(), of a datagram socket; tells who has sent the datagram. */
    [[nodiscard]] std::size_t receiveFrom(std::uint8_t *pBuffer, std::size_t capacity, Endpoint &from);
    void sendAll(const std::uint8_t *pData, std::size_t size, const Patience &patience);
    /** A datagram that is lost here is lost on the network: no error. */
    void sendTo(const SocketAddress &remote, const Bytes &data);
    void sendTo(const Endpoint &remote, const Bytes &data)
    {
        sendTo(SocketAddress(remote), data);
    }

    /** Whether one of them can be read, before the patience is over. */
    [[nodiscard]] static bool waitReadable(const std::vector<const Socket *> &sockets, const Patience &patience);

    using Handle = unsigned long long;
    /** The system's, for SocketReader. */
    [[nodiscard]] Handle handle() const
    {
        return m_handle;
    }

private:
    static constexpr Handle kInvalid = ~Handle(0);

    explicit Socket(Handle handle) : m_handle(handle) {}
    void close();
    /** What the result of a receiving call means. */
    [[nodiscard]] std::size_t received(long long result);

    Handle m_handle = kInvalid;
};

} // namespace selvik

#endif
