#ifndef DEVICE_RTSPCONNECTION_H
#define DEVICE_RTSPCONNECTION_H

#include "device/src/Authenticator.h"
#include "device/src/ByteStream.h"
#include "device/src/RtspResponse.h"

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace selvik
{

/** A packet that came in between the answers, on one of the connection's channels. */
struct InterleavedPacket {
    int nChannel = 0;
    Bytes data;
};

/**
 * Requests, answers and interleaved packets on one connection to a device.
 *
 * Threads: one at a time.
 * Errors:  Failure when the device is gone, refuses the credentials or sends nothing that can be read; Stopped.
 */
class RtspConnection
{
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    RtspConnection(std::unique_ptr<ByteStream> stream, Authenticator authenticator);

    /** Sends a request and waits for its answer, with credentials when the device asks for them. */
    [[nodiscard]] RtspResponse request(const std::string &method, const std::string &url, const Headers &headers,
                                       const Patience &patience);
    /** Sends a request whose answer will be met by poll(), if at all. */
    void send(const std::string &method, const std::string &url, const Headers &headers, const Patience &patience);
    void sendPacket(int nChannel, const Bytes &data, const Patience &patience);

    /**
     * Reads what comes until there is a packet, an answer or no time left. Whether anything came; packets wait in
     * takePacket().
     */
    [[nodiscard]] bool poll(const Patience &patience);
    /** Reads what is there without waiting. Whether anything came. */
    [[nodiscard]] bool pollNow(const Patience &patience);
    [[nodiscard]] bool takePacket(InterleavedPacket &packet);
    /** The status of the last answer that poll() met; 0 when none came since the last question for it. */
    [[nodiscard]] int takeStatus();

    /** Channels in use: after a disturbance only these are believed. */
    void setChannels(std::vector<int> channels)
    {
        m_channels = std::move(channels);
    }
    [[nodiscard]] const Socket *socket() const
    {
        return m_stream->socket();
    }

private:
    /** Takes one message off the buffer, if a whole one is there. */
    bool parseOne();
    bool parsePacket();
    bool parseResponse();
    void skipGarbage();
    [[nodiscard]] bool looksLikePacket(std::size_t at) const;
    bool fill(const Patience &patience);
    [[nodiscard]] std::string format(const std::string &method, const std::string &url, const Headers &headers);
    [[nodiscard]] RtspResponse awaitResponse(const Patience &patience);

    std::unique_ptr<ByteStream> m_stream;
    Authenticator m_authenticator;
    std::vector<int> m_channels;
    Bytes m_buffer;
    std::size_t m_nBegin = 0; /**< of what is not read yet in m_buffer */
    bool m_bInStep = true;    /**< the last message ended where this one begins */
    int m_nSequence = 0;
    std::deque<InterleavedPacket> m_packets;
    std::deque<RtspResponse> m_responses;
};

} // namespace selvik

#endif
