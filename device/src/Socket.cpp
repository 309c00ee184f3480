#include "device/src/Socket.h"

#include "device/src/NativeSocket.h"

#ifndef _WIN32
#include <cerrno>
#include <csignal>
#include <netinet/tcp.h>
#include <poll.h>
#endif

#include <algorithm>
#include <cstring>
#include <utility>

namespace selvik
{

namespace
{

#ifdef _WIN32
constexpr int kSendFlags = 0;

bool wouldBlock()
{
    const int error = WSAGetLastError();
    return error == WSAEWOULDBLOCK || error == WSAEINPROGRESS;
}

bool isReset()
{
    // On Windows, a datagram to a closed port makes the next receive fail with this error. The socket remains usable.
    return WSAGetLastError() == WSAECONNRESET;
}

int pollNative(WSAPOLLFD *pEntries, std::size_t count, Milliseconds duration)
{
    return WSAPoll(pEntries, static_cast<ULONG>(count), static_cast<int>(duration.count()));
}

using PollEntry = WSAPOLLFD;
#else
constexpr int kSendFlags = MSG_NOSIGNAL;

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINPROGRESS || errno == EINTR;
}

bool isReset()
{
    return errno == ECONNREFUSED;
}

int pollNative(pollfd *pEntries, std::size_t count, Milliseconds duration)
{
    return poll(pEntries, static_cast<nfds_t>(count), static_cast<int>(duration.count()));
}

using PollEntry = pollfd;
#endif

NativeSocket native(unsigned long long handle)
{
    return static_cast<NativeSocket>(handle);
}

/** Starts the system's sockets once; they stay until the process ends. */
void startSockets()
{
#ifdef _WIN32
    static const int result = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (result != 0) {
        throw Failure(SELVIK_ERROR_RESOURCES);
    }
#endif
}

const sockaddr *native(const SocketAddress &address)
{
    return static_cast<const sockaddr *>(address.data());
}

/** Whether a connection that was begun has failed. */
bool hasFailed(NativeSocket handle)
{
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(handle, SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&error), &size) != 0 || error != 0;
}

bool isDatagram(NativeSocket handle)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(handle, SOL_SOCKET, SO_TYPE, reinterpret_cast<char *>(&type), &size) == 0 && type == SOCK_DGRAM;
}

bool isWritable(NativeSocket handle, Milliseconds duration)
{
    PollEntry entry = {};
    entry.fd = handle;
    entry.events = POLLOUT;
    return pollNative(&entry, 1, duration) > 0;
}

} // namespace

Socket::~Socket()
{
    close();
}

Socket::Socket(Socket &&other) noexcept : m_handle(std::exchange(other.m_handle, kInvalid)) {}

Socket &Socket::operator=(Socket &&other) noexcept
{
    if (this != &other) {
        close();
        m_handle = std::exchange(other.m_handle, kInvalid);
    }
    return *this;
}

void Socket::close()
{
    if (isValid()) {
        closeNative(native(std::exchange(m_handle, kInvalid)));
    }
}

Socket Socket::connectTcp(const Endpoint &remote, const Patience &patience)
{
    startSockets();
    const SocketAddress address(remote);
    const NativeSocket handle = ::socket(native(address)->sa_family, SOCK_STREAM, IPPROTO_TCP);
    if (handle == kNoSocket) {
        throw Failure(SELVIK_ERROR_RESOURCES);
    }
    Socket socket(static_cast<Handle>(handle));
    makeNonBlocking(handle);
    int noDelay = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&noDelay), sizeof noDelay);
    if (::connect(handle, native(address), static_cast<socklen_t>(address.size())) != 0) {
        if (!wouldBlock()) {
            throw Failure(SELVIK_ERROR_HOST);
        }
        // Windows tells a refused connection by the error alone. Asking for the error clears it.
        bool bRefused = false;
        const bool bDecided = patience.poll([&](Milliseconds duration) {
            const bool bWritable = isWritable(handle, duration);
            bRefused = hasFailed(handle);
            return bWritable || bRefused;
        });
        if (bRefused) {
            throw Failure(SELVIK_ERROR_HOST);
        }
        if (!bDecided) {
            patience.check();
            throw Failure(SELVIK_ERROR_TIMEOUT);
        }
    }
    return socket;
}

Socket Socket::bindUdp(bool bIpv6, unsigned short port)
{
    startSockets();
    const SocketAddress address(Endpoint{bIpv6 ? "::" : "0.0.0.0", port});
    const NativeSocket handle = ::socket(native(address)->sa_family, SOCK_DGRAM, IPPROTO_UDP);
    if (handle == kNoSocket) {
        throw Failure(SELVIK_ERROR_RESOURCES);
    }
    Socket socket(static_cast<Handle>(handle));
    makeNonBlocking(handle);
    makeRoomForBursts(handle);
    return ::bind(handle, native(address), static_cast<socklen_t>(address.size())) == 0 ? std::move(socket) : Socket();
}

Socket Socket::toItself()
{
    startSockets();
    const NativeSocket handle = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    if (handle == kNoSocket) {
        return {};
    }
    Socket socket(static_cast<Handle>(handle));
    makeNonBlocking(handle);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *const pAddress = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof address;
    const bool bDone = ::bind(handle, pAddress, size) == 0 && getsockname(handle, pAddress, &size) == 0 &&
                       ::connect(handle, pAddress, size) == 0;
    return bDone ? std::move(socket) : Socket();
}

void Socket::sendToItself() const
{
    const char byte = 1;
    (void)::send(native(m_handle), &byte, 1, kSendFlags);
}

bool Socket::awaitItself(Milliseconds duration) const
{
    PollEntry entry = {};
    entry.fd = native(m_handle);
    entry.events = POLLIN;
    return pollNative(&entry, 1, duration) > 0;
}

unsigned short Socket::localPort() const
{
    sockaddr_storage storage = {};
    socklen_t size = sizeof storage;
    if (getsockname(native(m_handle), reinterpret_cast<sockaddr *>(&storage), &size) != 0) {
        return 0;
    }
    return SocketAddress::fromSystem(&storage, static_cast<std::size_t>(size)).port();
}

bool Socket::sendGroupsThrough(const std::string &localAddress)
{
    in_addr address = {};
    return inet_pton(AF_INET, localAddress.c_str(), &address) == 1 &&
           setsockopt(native(m_handle), IPPROTO_IP, IP_MULTICAST_IF, reinterpret_cast<const char *>(&address),
                      sizeof address) == 0;
}

std::size_t Socket::receive(std::uint8_t *pBuffer, std::size_t capacity)
{
    return received(::recv(native(m_handle), reinterpret_cast<char *>(pBuffer), static_cast<int>(capacity), 0));
}

std::size_t Socket::receiveFrom(std::uint8_t *pBuffer, std::size_t capacity, Endpoint &from)
{
    sockaddr_storage storage = {};
    socklen_t size = sizeof storage;
    const std::size_t count =
        received(::recvfrom(native(m_handle), reinterpret_cast<char *>(pBuffer), static_cast<int>(capacity), 0,
                            reinterpret_cast<sockaddr *>(&storage), &size));
    if (count > 0) {
        from = SocketAddress::fromSystem(&storage, static_cast<std::size_t>(size)).endpoint();
    }
    return count;
}

std::size_t Socket::received(long long result)
{
    if (result > 0) {
        return static_cast<std::size_t>(result);
    }
    if (result < 0 && wouldBlock()) {
        return 0;
    }
    const bool bHarmlessForDatagrams = result == 0 || isReset();
    if (bHarmlessForDatagrams && isDatagram(native(m_handle))) {
        return 0;
    }
    throw Failure(SELVIK_ERROR_HOST);
}

void Socket::sendAll(const std::uint8_t *pData, std::size_t size, const Patience &patience)
{
    while (size > 0) {
        const auto sent =
            ::send(native(m_handle), reinterpret_cast<const char *>(pData), static_cast<int>(size), kSendFlags);
        if (sent > 0) {
            pData += sent;
            size -= static_cast<std::size_t>(sent);
        } else if (wouldBlock()) {
            patience.check();
            (void)patience.poll([this](Milliseconds duration) { return isWritable(native(m_handle), duration); });
        } else {
            throw Failure(SELVIK_ERROR_HOST);
        }
    }
}

void Socket::sendTo(const SocketAddress &remote, const Bytes &data)
{
    (void)::sendto(native(m_handle), reinterpret_cast<const char *>(data.data()), static_cast<int>(data.size()),
                   kSendFlags, native(remote), static_cast<socklen_t>(remote.size()));
}

bool Socket::waitReadable(const std::vector<const Socket *> &sockets, const Patience &patience)
{
    std::vector<PollEntry> entries;
    const auto add = [&entries](const Socket &socket) {
        PollEntry entry = {};
        entry.fd = native(socket.m_handle);
        entry.events = POLLIN;
        entries.push_back(entry);
    };
    for (const Socket *pSocket : sockets) {
        add(*pSocket);
    }
    if (const Socket *pStop = patience.stopSocket()) {
        add(*pStop);
    }
    return patience.pollSockets([&](Milliseconds duration) {
        const auto end = entries.begin() + static_cast<std::ptrdiff_t>(sockets.size());
        return pollNative(entries.data(), entries.size(), duration) > 0 &&
               std::any_of(entries.begin(), end, [](const PollEntry &entry) { return entry.revents != 0; });
    });
}

} // namespace selvik
