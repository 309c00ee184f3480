#ifndef DEVICE_STOPFLAG_H
#define DEVICE_STOPFLAG_H

#include <atomic>
#include <chrono>
#include <memory>

namespace selvik
{

class Socket;

/**
 * Says stop to a thread that waits, also while it waits for the network.
 *
 * Besides the flag there is a datagram socket on loopback, connected to itself, which can be read from once the flag is
 * set. It is waited for together with the others, so that no wait has to look at the flag now and then. On Windows
 * there is an event as well, for reads that were begun.
 *
 * Threads: any. Owns: socket and event. Without one to be had, waits look at the flag many times a second.
 */
class StopFlag
{
public:
    StopFlag();
    ~StopFlag();
    StopFlag(const StopFlag &) = delete;
    StopFlag &operator=(const StopFlag &) = delete;

    /** Only ever to true: there is no way back. */
    StopFlag &operator=(bool stop);
    operator bool() const // NOLINT(google-explicit-constructor): it stands for a bool
    {
        return m_bSet;
    }
    [[nodiscard]] bool load() const
    {
        return m_bSet;
    }
    [[nodiscard]] const std::atomic<bool> &flag() const
    {
        return m_bSet;
    }
    /** Readable once the flag is set; null where there is none. */
    [[nodiscard]] const Socket *socket() const
    {
        return m_socket.get();
    }
    /** A Windows event that is set with the flag; null elsewhere, and where there is none to be had. */
    [[nodiscard]] void *event() const
    {
        return m_hEvent;
    }
    /** Returns when the time is over, or the flag is set. */
    void sleep(std::chrono::milliseconds duration) const;

private:
    std::atomic<bool> m_bSet{false};
    std::unique_ptr<Socket> m_socket;
    void *m_hEvent = nullptr;
};

} // namespace selvik

#endif
