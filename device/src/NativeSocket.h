#ifndef DEVICE_NATIVESOCKET_H
#define DEVICE_NATIVESOCKET_H

// The system's sockets as Socket's own sources see them; nobody else includes this.

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace selvik
{

#ifdef _WIN32
using NativeSocket = SOCKET;
constexpr NativeSocket kNoSocket = INVALID_SOCKET;

inline void makeNonBlocking(NativeSocket handle)
{
    u_long on = 1;
    ioctlsocket(handle, FIONBIO, &on);
}

inline void closeNative(NativeSocket handle)
{
    closesocket(handle);
}
#else
using NativeSocket = int;
constexpr NativeSocket kNoSocket = -1;

inline void makeNonBlocking(NativeSocket handle)
{
    fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) | O_NONBLOCK);
}

inline void closeNative(NativeSocket handle)
{
    ::close(handle);
}
#endif

/** A key picture comes in one burst of datagrams: room for a few of them. */
inline void makeRoomForBursts(NativeSocket handle)
{
    int size = 2 << 20;
    setsockopt(handle, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char *>(&size), sizeof size);
}

} // namespace selvik

#endif
