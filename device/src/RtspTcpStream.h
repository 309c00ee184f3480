#ifndef DEVICE_RTSPTCPSTREAM_H
#define DEVICE_RTSPTCPSTREAM_H

#include "device/src/OtherWay.h"
#include "device/src/TcpStream.h"

#include <string>

namespace selvik
{

/**
 * A plain connection for RTSP, which notices a server that speaks HTTP there: it may take RTSP inside of that.
 *
 * See ByteStream. Errors: also OtherWay.
 */
class RtspTcpStream : public TcpStream
{
public:
    using TcpStream::TcpStream;

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience) override
    {
        const std::size_t size = TcpStream::receive(pBuffer, capacity, patience);
        if (m_beginning.size() < kHttp.size()) {
            m_beginning.append(reinterpret_cast<const char *>(pBuffer),
                               std::min(size, kHttp.size() - m_beginning.size()));
            if (m_beginning == kHttp) {
                throw OtherWay(RtspWay::Tunnelled);
            }
        }
        return size;
    }

private:
    inline static const std::string kHttp = "HTTP/";

    std::string m_beginning; /**< of what was received */
};

} // namespace selvik

#endif
