#ifndef DEVICE_RTSPSESSION_H
#define DEVICE_RTSPSESSION_H

#include "device/src/Address.h"
#include "device/src/OtherWay.h"
#include "device/src/RtspConnection.h"
#include "device/src/Sdp.h"

#include <memory>
#include <string>

namespace selvik
{

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

    /** Connects and fetches the description, from another address where the camera sends one there. */
    [[nodiscard]] Sdp describe(const Patience &patience);
    /** Asks for one medium, by its control attribute; whatever the answer is, it is returned. */
    [[nodiscard]] RtspResponse setUp(const std::string &control, const std::string &transport,
                                     const Patience &patience);
    void play(const Patience &patience);
    /** Sends the request that keeps the session alive; its answer is met by checkAnswers(). */
    void keepAlive(const Patience &patience);
    /** Looks at the answers that came since the last call. */
    void checkAnswers();
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
        return m_address.scheme() == Address::Scheme::Rtsps;
    }
    /** How often keepAlive() is to be called: half of the time-out that the camera names. */
    [[nodiscard]] Milliseconds keepAliveInterval() const
    {
        return m_keepAliveInterval;
    }

private:
    void connect(const Patience &patience);
    void askForMethods(const std::string &url, const Patience &patience);
    void redirect(const RtspResponse &response, const Patience &patience);
    void noteSession(const RtspResponse &response);
    [[nodiscard]] RtspConnection::Headers sessionHeaders() const;

    Address m_address;
    RtspWay m_way;
    std::string m_remoteHost;
    std::unique_ptr<RtspConnection> m_connection;
    std::string m_base;      /**< what controls are relative to */
    std::string m_aggregate; /**< what PLAY and TEARDOWN name */
    std::string m_session;
    Milliseconds m_keepAliveInterval{25000};
    bool m_bGetParameter = false; /**< the camera knows GET_PARAMETER */
};

} // namespace selvik

#endif
