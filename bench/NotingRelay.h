#ifndef BENCH_NOTINGRELAY_H
#define BENCH_NOTINGRELAY_H

#include <winsock2.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace bench
{

/**
 * Stands between a camera and the device library and notes when the last byte of each picture has come: the packet with
 * the marker on the first interleaved channel.
 *
 * Threads: its own, which ends with the camera's connection or the object.
 */
class NotingRelay
{
public:
    using Clock = std::chrono::steady_clock;

    explicit NotingRelay(int nCameraPort);
    ~NotingRelay();
    NotingRelay(const NotingRelay &) = delete;
    NotingRelay &operator=(const NotingRelay &) = delete;

    [[nodiscard]] int port() const
    {
        return m_nPort;
    }
    /** Of picture after picture, from the first one. */
    [[nodiscard]] std::vector<Clock::time_point> arrivals() const;

private:
    void relay();
    bool forward(SOCKET from, SOCKET to, std::vector<char> &buffer, bool bNote);
    /** Follows the interleaved packets: '$', channel, length of two bytes, packet. Answers in between are skipped. */
    void note(const char *pBytes, std::size_t nBytes);

    const int m_nCameraPort;
    SOCKET m_listener = INVALID_SOCKET;
    int m_nPort = 0;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
    std::vector<char> m_pending;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::vector<Clock::time_point> m_arrivals;
};

} // namespace bench

#endif
