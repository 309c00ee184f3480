#include "device/src/SocketAddress.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#endif

#include <cstring>

namespace selvik
{

SocketAddress::SocketAddress(const Endpoint &endpoint)
{
    // Unlike inet_pton, this understands zones. With these flags it asks nobody.
    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *pList = nullptr;
    if (endpoint.host.empty() ||
        getaddrinfo(endpoint.host.c_str(), std::to_string(endpoint.port).c_str(), &hints, &pList) != 0) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
    m_nSize = static_cast<std::size_t>(pList->ai_addrlen);
    const bool bFits = m_nSize <= m_storage.size();
    if (bFits) {
        std::memcpy(m_storage.data(), pList->ai_addr, m_nSize);
    }
    freeaddrinfo(pList);
    if (!bFits) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
}

SocketAddress SocketAddress::fromSystem(const void *pAddress, std::size_t size)
{
    SocketAddress address;
    if (size > address.m_storage.size()) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
    std::memcpy(address.m_storage.data(), pAddress, size);
    address.m_nSize = size;
    return address;
}

Endpoint SocketAddress::endpoint() const
{
    char text[NI_MAXHOST] = {};
    if (getnameinfo(static_cast<const sockaddr *>(data()), static_cast<socklen_t>(m_nSize), text, sizeof text, nullptr,
                    0, NI_NUMERICHOST) != 0) {
        return {};
    }
    return {text, port()};
}

unsigned short SocketAddress::port() const
{
    // IPv4 and IPv6 addresses have the port at the same offset.
    sockaddr_in address = {};
    std::memcpy(&address, m_storage.data(), sizeof address);
    return ntohs(address.sin_port);
}

} // namespace selvik
