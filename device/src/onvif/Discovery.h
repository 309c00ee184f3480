#ifndef DEVICE_ONVIF_DISCOVERY_H
#define DEVICE_ONVIF_DISCOVERY_H

#include "device/src/Socket.h"

#include <string>
#include <vector>

namespace selvik
{

/** A device that answered a search. What it says of itself is bounded and without control characters. */
struct FoundDevice {
    std::string name;                  /**< as its user or maker named it; empty where it says none */
    std::string hardware;              /**< its model */
    std::string address;               /**< for a log-in: onvif://HOST[:PORT][/PATH] */
    std::vector<std::string> profiles; /**< of ONVIF that it conforms to: "Streaming" (S), "T", "G" … */
};

/**
 * Searches for ONVIF devices by WS-Discovery (docs.oasis-open.org, 2005/04, SOAP 1.2 over UDP): asks a group of the
 * network who is a NetworkVideoTransmitter or any other device of ONVIF's, and gathers what answers. Scopes begin with
 * onvif://www.onvif.org/.
 *
 * Threads: one.
 * Errors:  Failure(SELVIK_ERROR_ADDRESS) for an interface or group that is no numeric address, SELVIK_ERROR_RESOURCES
 *          without sockets; Stopped.
 */
class Discovery
{
public:
    /** Whom to ask, and through which of this machine's addresses; none: whichever the system prefers. */
    struct Reach {
        Endpoint group = {"239.255.255.250", 3702};
        std::vector<std::string> interfaces;
    };

    explicit Discovery(TimeSource &time) : m_time(time) {}

    /** Asks, and asks again after half a second, since datagrams are lost; takes all of the patience. */
    [[nodiscard]] std::vector<FoundDevice> search(const Reach &reach, const Patience &patience);

    /** The question: `type` is the local name of a type of the namespace. */
    [[nodiscard]] static std::string probe(const std::string &nameSpace, const std::string &type,
                                           const std::string &messageId);
    /** The devices in an answer that came from a numeric address; none in anything else. */
    [[nodiscard]] static std::vector<FoundDevice> readAnswer(const std::string &datagram, const std::string &from);

private:
    void open(const std::vector<std::string> &interfaces);
    void ask(const SocketAddress &group);
    /** Takes what has come, one datagram of each socket. */
    void gather(std::vector<FoundDevice> &found);

    TimeSource &m_time;
    std::vector<Socket> m_sockets; /**< one for each interface */
    Bytes m_buffer;
};

} // namespace selvik

#endif
