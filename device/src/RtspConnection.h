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

/** An interleaved packet: "$", the channel, the length and the data, between two answers. */
struct InterleavedPacket {
    int nChannel = 0;
    Bytes data;
};

/**
 * Requests, answers and interleaved packets on one connection to a device.
 *
 * Threads: one at a time.
 * Errors:  Failure when the device is gone, refuses the credentials or sends what cannot be read; Stopped.
 */
class RtspConnection
{
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    RtspConnection(std::unique_ptr<ByteStream> stream, Authenticator authenticator);

    /** Sends a request and waits for its answer, with credentials when the device asks for them. */
    [[nodiscard]] RtspResponse request(const std::string &method, const std::string &url, const Headers &headers,
                                       const Patience &patience);
    /** Sends a request without waiting for its answer; takeStatus() tells its status once poll() has met it. */
    void send(const std::string &method, const std::string &url, const Headers &headers, const Patience &patience);
    void sendPacket(int nChannel, const Bytes &data, const Patience &patience);

    /** Reads until one packet or answer is complete; false when the time is up first. takePacket() hands packets out.
     */
    [[nodiscard]] bool poll(const Patience &patience);
    /** As poll(), for what is there already. */
    [[nodiscard]] bool pollNow(const Patience &patience);
    [[nodiscard]] bool takePacket(InterleavedPacket &packet);
    /** The status of the last answer that poll() met; 0 when none came since the last question for it. */
    [[nodiscard]] int takeStatus();

    /** The channels in use. After garbage, only packets on one of these are believed. */
    void setChannels(std::vector<int> channels)
    {
        m_channels = std::move(channels);
    }
    [[nodiscard]] const Socket *socket() const
    {
        return m_stream->socket();
    }

private:
    /** Takes one packet or answer off the buffer, if a whole one is there. */
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
    std::size_t m_nBegin = 0; /**< offset in m_buffer of what has not been parsed yet */
    bool m_bInStep = true;    /**< m_nBegin is the end of a packet or answer; false after garbage */
    int m_nSequence = 0;
    std::deque<InterleavedPacket> m_packets;
    std::deque<RtspResponse> m_responses;
};

} // namespace selvik

#endif
