#ifndef DEVICE_RTSPSESSION_H
#define DEVICE_RTSPSESSION_H

#include "device/src/Address.h"
#include "device/src/OtherWay.h"
#include "device/src/RtspConnection.h"
#include "device/src/Sdp.h"

#include <exception>
#include <memory>
#include <string>

namespace selvik
{

/** The camera sends its client elsewhere after the description: everything is to be asked for once more. */
class Redirected : public std::exception
{
public:
    [[nodiscard]] const char *what() const noexcept override
    {
        return "redirected";
    }
};

/**
 * The requests of one RTSP session, from the connection to TEARDOWN. What the media travel on is its user's business.
 *
 * Threads: one.
 * Errors:  Failure where the camera cannot be reached, refuses, or has ended the session; Stopped.
 */
class RtspSession
{
public:
    explicit RtspSession(Address address, RtspWay way = RtspWay::Direct);
    RtspSession(const RtspSession &) = delete;
    RtspSession &operator=(const RtspSession &) = delete;

    /** Connects and fetches the description, from another address where the camera sends one there. */
    [[nodiscard]] Sdp describe(const Patience &patience);
    /**
     * Asks for one medium, by its control attribute; whatever the answer is, it is returned. A redirection is followed,
     * and throws Redirected: describe() is to be called again.
     */
    [[nodiscard]] RtspResponse setUp(const std::string &control, const std::string &transport,
                                     const Patience &patience);
    /** As setUp() where the camera sends its client elsewhere. */
    void play(const Patience &patience);
    /** The SELVIK_ERROR_ code of an answer that is no success. */
    [[nodiscard]] static unsigned long errorOf(const RtspResponse &response);
    /** Sends the request that keeps the session alive; its answer is met by checkAnswers(). */
    void keepAlive(const Patience &patience);
    /** Looks at the answer that came since the last call; asks again where the camera wants new credentials. */
    void checkAnswers(const Patience &patience);
    /** Ends the session, if there is one; never throws. */
    void tearDown(const Patience &patience) noexcept;

    [[nodiscard]] RtspConnection &connection() const
    {
        return *m_connection;
    }
    /** Numeric. */
    [[nodiscard]] const std::string &remoteHost() const
    {
        return m_remoteHost;
    }
    [[nodiscard]] bool isEncrypted() const
    {
        return m_address.isEncrypted();
    }
    /** How often keepAlive() is to be called: half of the time-out that the camera names. */
    [[nodiscard]] Milliseconds keepAliveInterval() const
    {
        return m_keepAliveInterval;
    }

private:
    void connect(const Patience &patience);
    [[nodiscard]] std::unique_ptr<ByteStream> open(const Patience &patience);
    void sendKeepAlive(const Patience &patience);
    void askForMethods(const std::string &url, const Patience &patience);
    void redirect(const RtspResponse &response, const Patience &patience);
    void noteSession(const RtspResponse &response);
    [[nodiscard]] RtspConnection::Headers sessionHeaders() const;

    const Address m_login;     /**< where the credentials belong to */
    std::string m_loginRemote; /**< the numeric address that its host has; empty while it was not reached */
    Address m_address;         /**< where the camera has sent its client */
    const RtspWay m_way;
    int m_nRedirections = 0;
    std::string m_remoteHost;
    std::unique_ptr<RtspConnection> m_connection;
    std::string m_base;      /**< what controls are relative to */
    std::string m_aggregate; /**< what PLAY and TEARDOWN name */
    std::string m_session;
    Milliseconds m_keepAliveInterval{25000};
    std::string m_keepAlive = "OPTIONS"; /**< the method that the camera is kept awake by */
    bool m_bRepeated = false;            /**< the last one was sent again with new credentials */
};

} // namespace selvik

#endif
