#ifndef DEVICE_HTTPTUNNEL_H
#define DEVICE_HTTPTUNNEL_H

#include "device/src/HttpStream.h"

namespace selvik
{

/**
 * RTSP inside HTTP: what the device sends is the endless answer to a GET request, what it is sent is the body of a POST
 * request, in base64. A word in both makes them one.
 *
 * See ByteStream. Errors: also those of HttpStream.
 */
class HttpTunnel : public ByteStream
{
public:
    /** The address's path and credentials, by HTTP. */
    HttpTunnel(const Address &address, const Patience &patience);

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience) override;
    void send(const std::uint8_t *pData, std::size_t size, const Patience &patience) override;
    [[nodiscard]] const Socket *socket() const override
    {
        return m_answers.socket();
    }
    /** Numeric. */
    [[nodiscard]] const std::string &remoteHost() const
    {
        return m_answers.remoteHost();
    }

private:
    const std::string m_cookie;
    HttpStream m_answers;
    std::unique_ptr<ByteStream> m_requests;
};

} // namespace selvik

#endif
