#include "device/src/TlsStream.h"

#include "device/src/CertificateRefusal.h"
#include "device/src/Notice.h"

#include <cstdio>

namespace selvik
{

namespace
{

/** As Windows' results are looked up: 0x800B0109. */
std::string hexOf(int result)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(result));
    return text;
}

} // namespace

TlsStream::TlsStream(const Endpoint &remote, const std::string &name, bool bVerify, const Patience &patience)
    : m_patience(patience)
{
    const std::string host = remote.host.find(':') == std::string::npos ? remote.host : "[" + remote.host + "]";
    const std::string url = "tls://" + host + ":" + std::to_string(remote.port);
    const AVIOInterruptCB interrupt = {&Patience::interrupts, &m_patience};
    Options options;
    // The name that the certificate is to be for, and that the device hears: not the numeric address.
    options.set("verifyhost", name.c_str());
    options.set("tls_verify", bVerify ? "1" : "0");
    const int result =
        avio_open2(&m_pIo, url.c_str(), AVIO_FLAG_READ_WRITE | AVIO_FLAG_DIRECT, &interrupt, options.get());
    if (const char *const pReason = result < 0 ? certificateRefusal(result) : nullptr; pReason != nullptr) {
        notice(std::string("The device's certificate is refused: ") + pReason + " (" + hexOf(result) + ").");
        throw Failure(SELVIK_ERROR_REFUSED);
    }
    if (result < 0) {
        m_patience.check();
        throw Failure(SELVIK_ERROR_HOST);
    }
}

TlsStream::~TlsStream()
{
    // Closing sends a last message. A device that does not read it is not waited for.
    m_patience = m_patience.atMost(Milliseconds(300));
    avio_closep(&m_pIo);
}

std::size_t TlsStream::receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience)
{
    m_patience = patience;
    const int received = avio_read_partial(m_pIo, pBuffer, static_cast<int>(capacity));
    if (received > 0) {
        return static_cast<std::size_t>(received);
    }
    if (!patience.isOver()) {
        throw Failure(SELVIK_ERROR_HOST);
    }
    // An interrupted read sets flags of the context that would make every later read fail.
    m_pIo->eof_reached = 0;
    m_pIo->error = 0;
    return 0;
}

void TlsStream::send(const std::uint8_t *pData, std::size_t size, const Patience &patience)
{
    m_patience = patience;
    avio_write(m_pIo, pData, static_cast<int>(size));
    avio_flush(m_pIo);
    if (m_pIo->error < 0) {
        patience.check();
        throw Failure(SELVIK_ERROR_HOST);
    }
}

} // namespace selvik
