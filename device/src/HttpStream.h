#ifndef DEVICE_HTTPSTREAM_H
#define DEVICE_HTTPSTREAM_H

#include "device/src/Address.h"
#include "device/src/Authenticator.h"
#include "device/src/ByteStream.h"
#include "device/src/RtspResponse.h"

#include <memory>
#include <string>

namespace selvik
{

/**
 * What a device sends as its answer to one GET request, endless or not.
 *
 * Credentials go to the host of the address alone, and never without encryption where the address asks for it: a
 * redirection to elsewhere is followed without them.
 *
 * Threads: one.
 * Errors:  Failure: SELVIK_ERROR_REFUSED where credentials are wrong or missing, CHANNEL, RESOURCES, HOST, TIMEOUT as
 *          RTSP's; Stopped.
 */
class HttpStream
{
public:
    /** `headers`: further ones of the request, each with its line end. */
    explicit HttpStream(Address address, std::string headers = {});

    /** Sends the request and reads the head of the answer, from another address where the device sends one there. */
    void open(const Patience &patience);
    /** The next bytes of the body, one at least; 0 at its end. */
    [[nodiscard]] std::size_t read(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience);

    /** A second connection to where the answer came from. */
    [[nodiscard]] std::unique_ptr<ByteStream> connectAgain(const Patience &patience);
    /** A request for there, with credentials if the answer asked for them. */
    [[nodiscard]] std::string head(const std::string &method, const std::string &headers);
    /** The numeric address that was connected to last; empty before. */
    [[nodiscard]] const std::string &remoteHost() const
    {
        return m_remoteHost;
    }
    /** Of the connection on which the answer comes; null where there is none to be seen. */
    [[nodiscard]] const Socket *socket() const
    {
        return m_stream->socket();
    }

private:
    /** Connects and asks. */
    [[nodiscard]] RtspResponse ask(const Patience &patience);
    [[nodiscard]] RtspResponse readHead(const Patience &patience);
    void redirect(const std::string &location);
    [[nodiscard]] std::string target() const;
    void takeBody(const RtspResponse &response);
    [[nodiscard]] std::string readLine(std::size_t most, const Patience &patience);
    /** As ByteStream::receive(), with what came behind the head first; throws when the time is up. */
    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience);
    void beginChunk(const Patience &patience);

    const Address m_address; /**< that of the log-in: whom the credentials are for */
    const std::string m_headers;
    Address m_place; /**< where the body is asked for */
    std::string m_remoteHost;
    Authenticator m_authenticator;
    std::unique_ptr<ByteStream> m_stream;
    std::string m_received; /**< read and not used yet */
    bool m_bChunked = false;
    bool m_bChunkEnds = false; /**< its line end is due */
    bool m_bLengthKnown = false;
    bool m_bEnded = false;
    std::uint64_t m_nLeft = 0; /**< of the chunk, or of the body where its length is known */
};

} // namespace selvik

#endif
