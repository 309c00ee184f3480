#ifndef DEVICE_TESTS_TUNNELSERVER_H
#define DEVICE_TESTS_TUNNELSERVER_H

#include "device/tests/TestSocket.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace selvik
{

/**
 * An HTTP server on loopback that takes RTSP inside HTTP, for one client at a time, and hands it on to a camera. Who
 * speaks RTSP to it is answered in HTTP.
 *
 * Threads: made and destroyed by the test; what it saw is for any thread.
 */
class TunnelServer
{
public:
    /** `password` of the user "viewer", asked for by digest; empty: nobody is asked. */
    TunnelServer(TimeSource &time, unsigned short cameraPort, std::string password = {});
    ~TunnelServer();
    TunnelServer(const TunnelServer &) = delete;
    TunnelServer &operator=(const TunnelServer &) = delete;

    [[nodiscard]] std::string url(const std::string &credentials = {}) const
    {
        return "rtsp://" + credentials + "127.0.0.1:" + std::to_string(m_nPort) + "/live";
    }
    /** The first lines of what came, in order. */
    [[nodiscard]] std::vector<std::string> requests() const;

private:
    struct Client {
        TestSocket socket;
        std::string input;
        bool bPost = false;
    };

    void run();
    void acceptClient();
    /** False when the client is to be forgotten. */
    [[nodiscard]] bool readClient(Client &client);
    [[nodiscard]] bool begin(Client &client);
    /** Hands whole groups of base64 on. */
    void forward(Client &client);
    [[nodiscard]] bool readCamera();
    void closeAll();

    TimeSource &m_time;
    const unsigned short m_nCameraPort;
    const std::string m_password;
    TestSocket m_listener;
    unsigned short m_nPort = 0;
    std::atomic<bool> m_bStop{false};

    // The thread's own.
    std::vector<Client> m_clients;
    TestSocket m_camera{};
    TestSocket m_answers{};
    bool m_bTunnel = false;
    std::string m_cookie;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    std::vector<std::string> m_requests;
    bool m_bEnded = false;

    std::thread m_thread;
};

} // namespace selvik

#endif
