#ifndef DEVICE_SOCKETADDRESS_H
#define DEVICE_SOCKETADDRESS_H

#include <array>
#include <cstddef>
#include <string>

namespace selvik
{

/** A numeric address and a port. A link-local IPv6 address has its zone behind a "%": its number, or its name. */
struct Endpoint {
    std::string host;
    unsigned short port = 0;
};

/**
 * An endpoint as the system has it: made once where many datagrams go to the same place.
 *
 * Threads: a value.
 * Errors:  Failure(SELVIK_ERROR_ADDRESS) for what is no numeric address.
 */
class SocketAddress
{
public:
    explicit SocketAddress(const Endpoint &endpoint);
    /** From a sockaddr of the system's; it must be one of IPv4 or IPv6. */
    [[nodiscard]] static SocketAddress fromSystem(const void *pAddress, std::size_t size);

    [[nodiscard]] Endpoint endpoint() const;
    [[nodiscard]] unsigned short port() const;
    /** A sockaddr. */
    [[nodiscard]] const void *data() const
    {
        return m_storage.data();
    }
    [[nodiscard]] std::size_t size() const
    {
        return m_nSize;
    }

private:
    SocketAddress() = default;

    /** As large as a sockaddr_storage, without the system's headers. */
    alignas(8) std::array<unsigned char, 128> m_storage{};
    std::size_t m_nSize = 0;
};

} // namespace selvik

#endif
