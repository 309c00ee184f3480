#ifndef DEVICE_TESTS_TESTSOCKET_H
#define DEVICE_TESTS_TESTSOCKET_H

#include "device/src/TimeSource.h"

#include <atomic>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace selvik
{

#ifdef _WIN32
using TestSocket = SOCKET;
constexpr int kSendFlags = 0;

inline void closeSocket(TestSocket handle)
{
    closesocket(handle);
}
inline void startSockets()
{
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
}
#else
using TestSocket = int;
constexpr int kSendFlags = MSG_NOSIGNAL;

inline void closeSocket(TestSocket handle)
{
    close(handle);
}
inline void startSockets() {}
#endif

/** Whether a socket can be read, or written, after at most `duration` of that time; false as soon as `stop` is set. */
inline bool waitForSocket(TimeSource &time, const std::atomic<bool> &stop, TestSocket handle, bool bToWrite,
                          Milliseconds duration)
{
    bool bReady = false;
    (void)time.poll(duration, [&](Milliseconds most) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(handle, &set);
        timeval value = {};
        value.tv_usec = static_cast<decltype(value.tv_usec)>(most.count() * 1000);
        bReady = select(static_cast<int>(handle) + 1, bToWrite ? nullptr : &set, bToWrite ? &set : nullptr, nullptr,
                        &value) > 0;
        return bReady || stop;
    });
    return bReady;
}

inline bool waitReadable(TimeSource &time, const std::atomic<bool> &stop, TestSocket handle, Milliseconds duration)
{
    return waitForSocket(time, stop, handle, false, duration);
}

inline bool waitWritable(TimeSource &time, const std::atomic<bool> &stop, TestSocket handle, Milliseconds duration)
{
    return waitForSocket(time, stop, handle, true, duration);
}

inline sockaddr_in loopback(unsigned short port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace selvik

#endif
