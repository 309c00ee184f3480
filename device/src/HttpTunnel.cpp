#include "device/src/HttpTunnel.h"

#include "Selvikdcm.h"
#include "device/src/Text.h"

namespace selvik
{

namespace
{

std::string headers(const std::string &cookie)
{
    return "x-sessioncookie: " + cookie + "\r\nPragma: no-cache\r\nCache-Control: no-cache\r\n";
}

} // namespace

HttpTunnel::HttpTunnel(const Address &address, const Patience &patience)
    : m_cookie(randomWord()), m_answers(address, headers(m_cookie) + "Accept: application/x-rtsp-tunnelled\r\n")
{
    m_answers.open(patience);
    m_requests = m_answers.connectAgain(patience);
    // The length is one that no device reaches, and no device answers before the end.
    const std::string post = m_answers.head("POST", headers(m_cookie) + "Content-Type: application/x-rtsp-tunnelled\r\n"
                                                                        "Content-Length: 32767\r\n");
    m_requests->send(reinterpret_cast<const std::uint8_t *>(post.data()), post.size(), patience);
}

std::size_t HttpTunnel::receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience)
{
    std::size_t size = 0;
    try {
        size = m_answers.read(pBuffer, capacity, patience);
    } catch (const Failure &failure) {
        if (failure.error() == SELVIK_ERROR_TIMEOUT) {
            return 0;
        }
        throw;
    }
    if (size == 0) {
        throw Failure(SELVIK_ERROR_HOST);
    }
    return size;
}

void HttpTunnel::send(const std::uint8_t *pData, std::size_t size, const Patience &patience)
{
    const std::string text = base64({pData, size});
    m_requests->send(reinterpret_cast<const std::uint8_t *>(text.data()), text.size(), patience);
}

} // namespace selvik
