#ifndef DEVICE_TESTS_SIMULATEDONVIF_H
#define DEVICE_TESTS_SIMULATEDONVIF_H

#include "device/tests/OnvifAnswers.h"
#include "device/tests/TestSocket.h"

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace selvik
{

/**
 * An ONVIF device on loopback for tests, one thread per connection. What it answers keeps to the published schemas, see
 * OnvifAnswers; requests that do not are answered with a fault.
 *
 * Threads: made and destroyed by the test; the counters are for any thread.
 */
class SimulatedOnvif
{
public:
    explicit SimulatedOnvif(TimeSource &time, OnvifScript script = {}, unsigned short port = 0);
    ~SimulatedOnvif();
    SimulatedOnvif(const SimulatedOnvif &) = delete;
    SimulatedOnvif &operator=(const SimulatedOnvif &) = delete;

    [[nodiscard]] unsigned short port() const
    {
        return m_nPort;
    }
    /** onvif://127.0.0.1:port, with `credentials` such as "user:password@". */
    [[nodiscard]] std::string url(const std::string &credentials = "viewer:s3cret%2F%26%40@") const
    {
        return "onvif://" + credentials + "127.0.0.1:" + std::to_string(m_nPort);
    }
    /** How often an operation was asked for, whether it was let in or not; "" counts them all. */
    [[nodiscard]] int requests(const std::string &operation = {}) const;
    /** How often credentials were wrong: a token or a digest that is not the user's. */
    [[nodiscard]] int wrongCredentials() const;
    [[nodiscard]] int connections() const;
    /** Everything that came, as it came. */
    [[nodiscard]] std::string received() const;

private:
    struct Request {
        std::string path;
        std::map<std::string, std::string> headers; /**< names in lower case */
        std::string body;
    };
    struct Reply {
        int nStatus = 200;
        std::string headers;
        std::string body;
    };

    void acceptConnections();
    void serve(TestSocket socket);
    [[nodiscard]] bool readRequest(TestSocket socket, std::string &input, Request &request);
    /** False: it hangs up. */
    [[nodiscard]] bool reply(const Request &request, Reply &reply);
    [[nodiscard]] Reply guarded(const Request &request, const OnvifQuestion &question);
    [[nodiscard]] bool isTokenRight(const OnvifQuestion &question);
    [[nodiscard]] bool isDigestRight(const Request &request);
    [[nodiscard]] Reply askForDigest();
    [[nodiscard]] Reply fault(const std::string &code, const std::string &subcode) const;
    void send(TestSocket socket, const Reply &reply);
    void sleep(Milliseconds duration);

    TimeSource &m_time;
    const OnvifScript m_script;
    const Clock::time_point m_begin;
    unsigned short m_nPort = 0;
    TestSocket m_listener;
    std::atomic<bool> m_bStop{false};
    std::thread m_acceptor;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    int m_nOpen = 0;
    bool m_bEnded = false;
    std::vector<std::string> m_operations;
    std::set<std::string> m_nonces; /**< of tokens, none of which may come twice */
    int m_nNonce = 0;               /**< of digests */
    int m_nWrong = 0;
    int m_nConnections = 0;
    std::string m_received;
};

} // namespace selvik

#endif
