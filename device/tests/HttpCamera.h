#ifndef DEVICE_TESTS_HTTPCAMERA_H
#define DEVICE_TESTS_HTTPCAMERA_H

#include "device/src/Bytes.h"
#include "device/tests/TestSocket.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace selvik
{

/** What an HTTP camera sends, and what it does otherwise than it should. */
struct HttpScript {
    Bytes body;        /**< in a hundred pieces, 40 ms apart; then it hangs up */
    int nPausesAt = 0; /**< before this piece, for pauseTime */
    Milliseconds pauseTime{0};
    bool bChunked = false;
    bool bEndless = true; /**< names no length */
    std::string type = "video/mp2t";

    bool bBasic = false;  /**< asks for user "viewer", password "s3cret" */
    bool bDigest = false; /**< likewise; with bBasic it offers both */
    int nStatus = 200;
    std::string location; /**< with a status that redirects */
};

/** The value of a request's header, whose name is given in lower case; empty where there is none. */
[[nodiscard]] std::string headerOf(const std::string &request, const std::string &name);
/** Whether a request answers the digest question with realm "cameras" and nonce "abc123". */
[[nodiscard]] bool isDigestRight(const std::string &request, const std::string &user, const std::string &password);
/** The bytes of a test clip. */
[[nodiscard]] Bytes readClip(const std::string &name);

/**
 * A camera on loopback that sends a stream over HTTP, to one client at a time.
 *
 * Threads: made and destroyed by the test; what it saw is for any thread.
 */
class HttpCamera
{
public:
    /** `host`: an address of the loopback network, 127.0.0.0/8. */
    HttpCamera(TimeSource &time, HttpScript script, std::string host = "127.0.0.1");
    ~HttpCamera();
    HttpCamera(const HttpCamera &) = delete;
    HttpCamera &operator=(const HttpCamera &) = delete;

    [[nodiscard]] std::string url(const std::string &credentials = {}, const std::string &path = "/live.ts") const
    {
        return "http://" + credentials + m_host + ":" + std::to_string(m_nPort) + path;
    }
    /** Each request as it came, from its first line to the blank one. */
    [[nodiscard]] std::vector<std::string> requests() const;
    /** How often the body was sent. */
    [[nodiscard]] int bodies() const;

private:
    void run();
    void serve(TestSocket socket);
    [[nodiscard]] std::string readRequest(TestSocket socket) const;
    [[nodiscard]] bool isAllowed(const std::string &request) const;
    void sendBody(TestSocket socket);
    [[nodiscard]] bool sendPiece(TestSocket socket, const Bytes &piece) const;

    TimeSource &m_time;
    const HttpScript m_script;
    const std::string m_host;
    TestSocket m_listener;
    unsigned short m_nPort = 0;
    std::atomic<bool> m_bStop{false};

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    std::vector<std::string> m_requests;
    int m_nBodies = 0;
    bool m_bEnded = false;

    std::thread m_thread;
};

} // namespace selvik

#endif
