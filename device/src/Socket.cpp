#include "device/src/Socket.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <cstring>
#include <utility>

namespace selvik
{

namespace
{

#ifdef _WIN32
using NativeSocket = SOCKET;
constexpr NativeSocket kNoSocket = INVALID_SOCKET;
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

void makeNonBlocking(NativeSocket handle)
{
    u_long on = 1;
    ioctlsocket(handle, FIONBIO, &on);
}

void closeNative(NativeSocket handle)
{
    closesocket(handle);
}

int pollNative(WSAPOLLFD *pEntries, std::size_t count, Milliseconds duration)
{
    return WSAPoll(pEntries, static_cast<ULONG>(count), static_cast<int>(duration.count()));
}

using PollEntry = WSAPOLLFD;
#else
using NativeSocket = int;
constexpr NativeSocket kNoSocket = -1;
constexpr int kSendFlags = MSG_NOSIGNAL;

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINPROGRESS || errno == EINTR;
}

bool isReset()
{
    return errno == ECONNREFUSED;
}

void makeNonBlocking(NativeSocket handle)
{
    fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) | O_NONBLOCK);
}

void closeNative(NativeSocket handle)
{
    ::close(handle);
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

/** A numeric endpoint as the system wants it. */
struct SystemAddress {
    sockaddr_storage storage = {};
    socklen_t size = 0;

    explicit SystemAddress(const Endpoint &endpoint)
    {
        if (endpoint.host.find(':') != std::string::npos) {
            sockaddr_in6 address = {};
            address.sin6_family = AF_INET6;
            address.sin6_port = htons(endpoint.port);
            inet_pton(AF_INET6, endpoint.host.c_str(), &address.sin6_addr);
            std::memcpy(&storage, &address, sizeof address);
            size = sizeof address;
        } else {
            sockaddr_in address = {};
            address.sin_family = AF_INET;
            address.sin_port = htons(endpoint.port);
            inet_pton(AF_INET, endpoint.host.c_str(), &address.sin_addr);
            std::memcpy(&storage, &address, sizeof address);
            size = sizeof address;
        }
    }

    [[nodiscard]] const sockaddr *get() const
    {
        return reinterpret_cast<const sockaddr *>(&storage);
    }
};

/** As text, without the zone of a link-local address. */
Endpoint endpointOf(const sockaddr_storage &storage)
{
    char text[INET6_ADDRSTRLEN] = {};
    Endpoint endpoint;
    if (storage.ss_family == AF_INET6) {
        const auto *pAddress = reinterpret_cast<const sockaddr_in6 *>(&storage);
        inet_ntop(AF_INET6, &pAddress->sin6_addr, text, sizeof text);
        endpoint.port = ntohs(pAddress->sin6_port);
    } else {
        const auto *pAddress = reinterpret_cast<const sockaddr_in *>(&storage);
        inet_ntop(AF_INET, &pAddress->sin_addr, text, sizeof text);
        endpoint.port = ntohs(pAddress->sin_port);
    }
    endpoint.host = text;
    return endpoint;
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
    const SystemAddress address(remote);
    const NativeSocket handle = ::socket(address.storage.ss_family, SOCK_STREAM, IPPROTO_TCP);
    if (handle == kNoSocket) {
        throw Failure(SELVIK_ERROR_RESOURCES);
    }
    Socket socket(static_cast<Handle>(handle));
    makeNonBlocking(handle);
    int noDelay = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&noDelay), sizeof noDelay);
    if (::connect(handle, address.get(), address.size) != 0) {
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
    const SystemAddress address({bIpv6 ? "::" : "0.0.0.0", port});
    const NativeSocket handle = ::socket(address.storage.ss_family, SOCK_DGRAM, IPPROTO_UDP);
    if (handle == kNoSocket) {
        throw Failure(SELVIK_ERROR_RESOURCES);
    }
    Socket socket(static_cast<Handle>(handle));
    makeNonBlocking(handle);
    // A key picture comes in one burst: room for a few of them.
    int size = 2 << 20;
    setsockopt(handle, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char *>(&size), sizeof size);
    return ::bind(handle, address.get(), address.size) == 0 ? std::move(socket) : Socket();
}

unsigned short Socket::localPort() const
{
    sockaddr_storage storage = {};
    socklen_t size = sizeof storage;
    if (getsockname(native(m_handle), reinterpret_cast<sockaddr *>(&storage), &size) != 0) {
        return 0;
    }
    // IPv4 and IPv6 addresses have the port at the same offset.
    return ntohs(reinterpret_cast<const sockaddr_in *>(&storage)->sin_port);
}

std::size_t Socket::receive(std::uint8_t *pBuffer, std::size_t capacity)
{
    const auto received = ::recv(native(m_handle), reinterpret_cast<char *>(pBuffer), static_cast<int>(capacity), 0);
    if (received > 0) {
        return static_cast<std::size_t>(received);
    }
    if (received < 0 && wouldBlock()) {
        return 0;
    }
    const bool bHarmlessForDatagrams = received == 0 || isReset();
    if (bHarmlessForDatagrams && isDatagram(native(m_handle))) {
        return 0;
    }
    throw Failure(SELVIK_ERROR_HOST);
}

std::size_t Socket::receiveFrom(std::uint8_t *pBuffer, std::size_t capacity, Endpoint &from)
{
    sockaddr_storage storage = {};
    socklen_t size = sizeof storage;
    const auto received = ::recvfrom(native(m_handle), reinterpret_cast<char *>(pBuffer), static_cast<int>(capacity), 0,
                                     reinterpret_cast<sockaddr *>(&storage), &size);
    if (received > 0) {
        from = endpointOf(storage);
        return static_cast<std::size_t>(received);
    }
    if (received == 0 || wouldBlock() || isReset()) {
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

void Socket::sendTo(const Endpoint &remote, const Bytes &data)
{
    const SystemAddress address(remote);
    (void)::sendto(native(m_handle), reinterpret_cast<const char *>(data.data()), static_cast<int>(data.size()),
                   kSendFlags, address.get(), address.size);
}

bool Socket::waitReadable(const std::vector<const Socket *> &sockets, const Patience &patience)
{
    std::vector<PollEntry> entries;
    entries.reserve(sockets.size());
    for (const Socket *pSocket : sockets) {
        PollEntry entry = {};
        entry.fd = native(pSocket->m_handle);
        entry.events = POLLIN;
        entries.push_back(entry);
    }
    return patience.poll(
        [&entries](Milliseconds duration) { return pollNative(entries.data(), entries.size(), duration) > 0; });
}

} // namespace selvik
