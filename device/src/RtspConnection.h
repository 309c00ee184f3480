#ifndef DEVICE_RTSPCONNECTION_H
#define DEVICE_RTSPCONNECTION_H

#include "device/src/Authenticator.h"
#include "device/src/ByteStream.h"
#include "device/src/RtspReader.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace selvik
{

/**
 * Requests, answers and interleaved packets on one connection to a device. What the device asks itself is answered on
 * the way.
 *
 * Threads: one at a time.
 * Errors:  Failure when the device is gone or takes its leave, refuses the credentials or sends what cannot be read;
 *          Stopped.
 */
class RtspConnection
{
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;
    /** Connects once more, for devices that hang up behind an answer. */
    using Opener = std::function<std::unique_ptr<ByteStream>(const Patience &)>;

    RtspConnection(std::unique_ptr<ByteStream> stream, Authenticator authenticator, Opener opener = {});

    /** Sends a request and waits for its answer, with credentials when the device asks for them. */
    [[nodiscard]] RtspResponse request(const std::string &method, const std::string &url, const Headers &headers,
                                       const Patience &patience);
    /** Sends a request without waiting for its answer, which takeAnswer() hands out once poll() has met it. */
    void send(const std::string &method, const std::string &url, const Headers &headers, const Patience &patience);
    void sendPacket(int nChannel, const Bytes &data, const Patience &patience);
    /** Takes the question of an answer to send(); whether the request is to be sent again. */
    [[nodiscard]] bool takeChallenge(const RtspResponse &response)
    {
        return m_authenticator.challenge(response.allOf("www-authenticate"), false);
    }

    /** Reads until one packet or message is complete; false when the time is up first. */
    [[nodiscard]] bool poll(const Patience &patience);
    /** As poll(), for what is there already. */
    [[nodiscard]] bool pollNow(const Patience &patience);
    /**
     * The packets that are there, one after another; reads nothing. Their bytes are those of the receive buffer: they
     * last until the next call of another method. What is not taken before the next poll() costs a copy.
     */
    [[nodiscard]] bool takePacket(InterleavedPacket &packet);
    /** The last answer to send() that poll() met since the last question for it. */
    [[nodiscard]] std::optional<RtspResponse> takeAnswer()
    {
        return std::exchange(m_answer, std::nullopt);
    }
    /** The device has ended the session itself. */
    [[nodiscard]] bool isEnded() const
    {
        return m_bEnded;
    }

    /** The channels in use. After garbage, only packets on one of these are believed. */
    void setChannels(std::vector<int> channels)
    {
        m_reader.setChannels(std::move(channels));
    }
    [[nodiscard]] const Socket *socket() const
    {
        return m_stream->socket();
    }

private:
    /** A request that was sent and not answered yet. */
    struct Pending {
        int nSequence = 0;
        bool bAwaited = false;
    };
    /** A packet that came while an answer was awaited. */
    struct KeptPacket {
        int nChannel = 0;
        Bytes data;
    };

    void sendRequest(const std::string &method, const std::string &url, const Headers &headers, bool bAwaited,
                     const Patience &patience);
    [[nodiscard]] RtspResponse exchange(const std::string &method, const std::string &url, const Headers &headers,
                                        const Patience &patience);
    void reopen(const Patience &patience);
    [[nodiscard]] RtspResponse awaitResponse(const Patience &patience);
    /** Deals with one thing that is whole; a packet is left where it is. False where nothing is. */
    [[nodiscard]] bool step(const Patience &patience);
    /** Reads until step() has something to do; false when the time is up first. */
    [[nodiscard]] bool read(const Patience &patience);
    void fill(const Patience &patience);
    void sort(RtspResponse response);
    void reply(const RtspRequest &request, const Patience &patience);
    void keepPacket();
    void dropTakenPackets();

    std::unique_ptr<ByteStream> m_stream;
    Authenticator m_authenticator;
    Opener m_opener;
    RtspReader m_reader;
    RtspReader::Met m_met = RtspReader::Met::Nothing; /**< of the reader, and not dealt with yet */
    std::size_t m_nReceived = 0;                      /**< bytes, to see whether any came */
    int m_nSequence = 0;
    bool m_bClosed = false; /**< the device has hung up behind its last answer */
    bool m_bEnded = false;
    bool m_bCountsRight = false; /**< the device has answered with the right number, and not only with the first */
    std::deque<Pending> m_pending;
    std::optional<RtspResponse> m_awaited;
    std::optional<RtspResponse> m_answer;
    std::deque<KeptPacket> m_kept;
    std::size_t m_nKeptBytes = 0;
    std::size_t m_nKeptTaken = 0; /**< of m_kept, handed out since the last poll() */
};

} // namespace selvik

#endif
