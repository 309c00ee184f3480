#ifndef DEVICE_TLSSTREAM_H
#define DEVICE_TLSSTREAM_H

#include "device/src/ByteStream.h"
#include "device/src/Ffmpeg.h"

#include <optional>
#include <string>

namespace selvik
{

/**
 * An encrypted connection, by the TLS of the FFmpeg build; see ByteStream.
 *
 * Cameras sign their certificates themselves, so that a certificate is checked only where that is asked for. Without,
 * the encryption guards against listeners, not against somebody in the middle.
 * Errors: also Failure(SELVIK_ERROR_REFUSED) for a certificate that is refused, and a line that says why.
 */
class TlsStream : public ByteStream
{
public:
    /**
     * Connects to a numeric address; `name` is the host's name, which the device may want to hear.
     * @param bVerify the certificate must be that name's, and lead to the system's store; of a name that is a number
     * the certificate must have the address
     */
    TlsStream(const Endpoint &remote, const std::string &name, bool bVerify, const Patience &patience);
    ~TlsStream() override;

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience) override;
    void send(const std::uint8_t *pData, std::size_t size, const Patience &patience) override;
    [[nodiscard]] const Socket *socket() const override
    {
        return nullptr;
    }

private:
    Patience m_patience; /**< of the call that runs now; FFmpeg's interrupt callback reads it */
    AVIOContext *m_pIo = nullptr;
};

} // namespace selvik

#endif
