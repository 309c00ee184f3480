#ifndef DEVICE_SENDERFILTER_H
#define DEVICE_SENDERFILTER_H

#include "device/src/Socket.h"
#include "device/src/TimeSource.h"

#include <algorithm>
#include <string>
#include <vector>

namespace selvik
{

/**
 * Tells the datagrams of a camera from those of others. They come from the host that was connected to, or from the one
 * that the camera names as its source.
 *
 * Their port is the one that the camera names. Routers on the way change it, and some cameras name a wrong one: so
 * another one is taken as long as nothing has come from the named one, and also when the present one has been silent.
 *
 * Threads: one.
 */
class SenderFilter
{
public:
    void allow(const std::string &host)
    {
        m_hosts.push_back(plain(host));
    }
    void expectPort(unsigned short port)
    {
        m_named = port;
    }
    [[nodiscard]] bool accepts(const Endpoint &from, Clock::time_point now)
    {
        if (std::find(m_hosts.begin(), m_hosts.end(), plain(from.host)) == m_hosts.end()) {
            return false;
        }
        if (from.port != m_port && from.port != m_named && m_port != 0 && now - m_last < kSilence) {
            return false;
        }
        // The named one is not given up for another while it sends.
        m_port = from.port;
        m_last = now;
        return true;
    }

private:
    static constexpr Milliseconds kSilence{2000};

    /** Without the zone of a link-local address, and without the prefix of an IPv4 address that was mapped to IPv6. */
    [[nodiscard]] static std::string plain(const std::string &host)
    {
        static const std::string mapped = "::ffff:";
        const std::string address = host.substr(0, host.find('%'));
        const bool bMapped = address.compare(0, mapped.size(), mapped) == 0 && address.find('.') != std::string::npos;
        return bMapped ? address.substr(mapped.size()) : address;
    }

    std::vector<std::string> m_hosts;
    unsigned short m_named = 0;
    unsigned short m_port = 0; /**< of the last datagram */
    Clock::time_point m_last;
};

} // namespace selvik

#endif
