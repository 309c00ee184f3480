#ifndef DEVICE_HTTPNOTICINGSTREAM_H
#define DEVICE_HTTPNOTICINGSTREAM_H

#include "device/src/ByteStream.h"
#include "device/src/OtherWay.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace selvik
{

/**
 * A connection for RTSP that notices a server which speaks HTTP there: it may take RTSP inside of that.
 *
 * See ByteStream. Errors: also OtherWay. Owns: the connection.
 */
class HttpNoticingStream : public ByteStream
{
public:
    explicit HttpNoticingStream(std::unique_ptr<ByteStream> stream) : m_stream(std::move(stream)) {}

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience) override
    {
        const std::size_t size = m_stream->receive(pBuffer, capacity, patience);
        if (m_beginning.size() < kHttp.size()) {
            m_beginning.append(reinterpret_cast<const char *>(pBuffer),
                               std::min(size, kHttp.size() - m_beginning.size()));
            if (m_beginning == kHttp) {
                throw OtherWay(RtspWay::Tunnelled);
            }
        }
        return size;
    }
    void send(const std::uint8_t *pData, std::size_t size, const Patience &patience) override
    {
        m_stream->send(pData, size, patience);
    }
    [[nodiscard]] const Socket *socket() const override
    {
        return m_stream->socket();
    }

private:
    inline static const std::string kHttp = "HTTP/";

    std::unique_ptr<ByteStream> m_stream;
    std::string m_beginning; /**< of what was received */
};

} // namespace selvik

#endif
