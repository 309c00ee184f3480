#ifndef DEVICE_TESTS_SCRIPTEDCAMERA_H
#define DEVICE_TESTS_SCRIPTEDCAMERA_H

#include "device/src/Bytes.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace selvik
{

/** What a camera is and what it does otherwise than it should. */
struct Script {
    enum class Credentials { None, Basic, DigestMd5, DigestSha256 };

    std::string clip = "h264.mp4"; /**< H.264 or H.265 pictures, sent at 25 a second */
    bool bSound = false;           /**< A-law, a tone of noise */
    bool bMetadata = false;        /**< a document with each picture */
    bool bReports = false;         /**< sender reports */

    Credentials credentials = Credentials::None; /**< user "viewer", password "s3cret/&@" */
    int nDescribeStatus = 200;
    bool bRedirectsInCircles = false;
    bool bDatagramsOnly = false;
    bool bReordersDatagrams = false;
    int nLosesEvery = 0; /**< every so many packets one is left out */

    bool bAcceptsAndSaysNothing = false;
    int nFreezesAfter = 0; /**< pictures; listens and answers no more */
    int nClosesAfter = 0;  /**< pictures; in the middle of the next one */

    // Oddities of real cameras.
    bool bOptionsUnknown = false;
    bool bNoContentBase = false;
    bool bNoContentType = false;
    bool bAbsoluteControls = false;
    bool bLooseHeaders = false; /**< trailing semicolons and blanks, odd capitals */
    bool bBareLineEnds = false; /**< LF without CR */
    bool bBrokenParameters = false;
    bool bStartCodesInside = false;
    bool bGarbageBetween = false;
    bool bForeignChannels = false;
    bool bDataBeforePlayAnswer = false;
    bool bChangesSession = false;
    bool bChangesChannels = false;
    bool bMarkerEverywhere = false;
    bool bNoMarker = false;
    bool bOtherPayloadType = false;
    bool bShortTimeout = false;     /**< 2 s, and it means it */
    bool bKeepAliveUnknown = false; /**< names GET_PARAMETER and answers 501 to it */
    bool bCloseTogether = false;    /**< parameter sets in packets of their own, each with a marker */
};

/**
 * An RTSP camera on loopback for tests, one thread per connection.
 *
 * Threads: made and destroyed by the test; the counters are for any thread.
 */
class ScriptedCamera
{
public:
    /** On a port of the system's choice, or a given one. */
    explicit ScriptedCamera(Script script, unsigned short port = 0);
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
    [[nodiscard]] int openConnections() const
    {
        return m_nOpen;
    }
    [[nodiscard]] int connections() const
    {
        return m_nConnections;
    }
    /** How often a request of that method came. */
    [[nodiscard]] int requests(const std::string &method) const;

private:
    class Session;

    void acceptConnections();
    void note(const std::string &method);

    const Script m_script;
    bool m_bH265 = false;                /**< found while the pictures are read */
    const std::vector<Bytes> m_pictures; /**< of the clip, with start codes */
    unsigned short m_nPort = 0;
    long long m_listener = -1;
    std::atomic<bool> m_bStop{false};
    std::atomic<int> m_nOpen{0};
    std::atomic<int> m_nConnections{0};
    mutable std::mutex m_mutex;
    std::vector<std::string> m_methods; /**< guarded by m_mutex */
    std::thread m_acceptor;
};

} // namespace selvik

#endif
