#ifndef DEVICE_TESTS_SCRIPTEDCAMERA_H
#define DEVICE_TESTS_SCRIPTEDCAMERA_H

#include "device/src/TimeSource.h"
#include "device/tests/CameraSender.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace selvik
{

/**
 * An RTSP camera on loopback for tests, one thread per connection.
 *
 * Threads: made and destroyed by the test; the counters are for any thread.
 */
class ScriptedCamera
{
public:
    /** On a port of the system's choice, or a given one. It lives on the time that it is given. */
    explicit ScriptedCamera(TimeSource &time, Script script = {}, unsigned short port = 0);
    ~ScriptedCamera();
    ScriptedCamera(const ScriptedCamera &) = delete;
    ScriptedCamera &operator=(const ScriptedCamera &) = delete;

    [[nodiscard]] unsigned short port() const
    {
        return m_nPort;
    }
    /** rtsp://127.0.0.1:port/live, with `credentials` such as "user:password@". */
    [[nodiscard]] std::string url(const std::string &credentials = {}) const
    {
        return "rtsp://" + credentials + "127.0.0.1:" + std::to_string(m_nPort) + "/live";
    }
    /** Where the pictures' datagrams of the last connection go; 0 where there are none. */
    [[nodiscard]] unsigned short clientPort() const
    {
        return m_clientPort;
    }
    [[nodiscard]] int openConnections() const;
    /** When each connection came, also those that were closed at once. */
    [[nodiscard]] std::vector<Clock::time_point> connectionTimes() const;
    /** How often a request of that method came. */
    [[nodiscard]] int requests(const std::string &method) const;

private:
    void acceptConnections();
    void serve(long long socket);

    TimeSource &m_time;
    const Script m_script;
    const CameraClip m_clip;
    unsigned short m_nPort = 0;
    long long m_listener = -1;
    std::atomic<bool> m_bStop{false};
    std::atomic<unsigned short> m_clientPort{0};
    std::thread m_acceptor;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    int m_nOpen = 0;
    bool m_bEnded = false;
    std::vector<std::string> m_methods;
    std::vector<Clock::time_point> m_connectionTimes;
};

} // namespace selvik

#endif
