// Sockets that take part in a multicast group.

#include "device/src/NativeSocket.h"
#include "device/src/Socket.h"

namespace selvik
{

namespace
{

/** This machine's address on the way to another one; zero, the system's choice, where that is not to be found. */
in_addr localAddressTowards(const std::string &remoteHost)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(9);
    const NativeSocket handle = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    socklen_t size = sizeof address;
    // Connecting a datagram socket sends nothing.
    const bool bFound = handle != kNoSocket && inet_pton(AF_INET, remoteHost.c_str(), &address.sin_addr) == 1 &&
                        ::connect(handle, reinterpret_cast<const sockaddr *>(&address), size) == 0 &&
                        getsockname(handle, reinterpret_cast<sockaddr *>(&address), &size) == 0;
    if (handle != kNoSocket) {
        closeNative(handle);
    }
    return bFound ? address.sin_addr : in_addr{};
}

} // namespace

Socket Socket::joinGroup(const Endpoint &group, const std::string &remoteHost)
{
    ip_mreq membership = {};
    if (inet_pton(AF_INET, group.host.c_str(), &membership.imr_multiaddr) != 1 ||
        (ntohl(membership.imr_multiaddr.s_addr) >> 28) != 0xE) {
        return {};
    }
    membership.imr_interface = localAddressTowards(remoteHost);
    const NativeSocket handle = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    if (handle == kNoSocket) {
        throw Failure(SELVIK_ERROR_RESOURCES);
    }
    Socket socket(static_cast<Handle>(handle));
    makeNonBlocking(handle);
    makeRoomForBursts(handle);
    // Several previews of one camera share its port.
    int on = 1;
    setsockopt(handle, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char *>(&on), sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(group.port);
#ifndef _WIN32
    // Elsewhere than on Windows this keeps out what other groups are sent on the same port.
    address.sin_addr = membership.imr_multiaddr;
#endif
    const bool bJoined = ::bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                         setsockopt(handle, IPPROTO_IP, IP_ADD_MEMBERSHIP, reinterpret_cast<const char *>(&membership),
                                    sizeof membership) == 0;
    return bJoined ? std::move(socket) : Socket();
}

} // namespace selvik
