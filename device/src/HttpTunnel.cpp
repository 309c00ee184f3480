#include "device/src/HttpTunnel.h"

#include "Selvikdcm.h"

extern "C" {
#include <libavutil/base64.h>
}

#include <cstdio>
#include <random>

namespace selvik
{

namespace
{

std::string randomWord()
{
    std::random_device random;
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", random(), random());
    return text;
}

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
    std::string text(AV_BASE64_SIZE(size), '\0');
    av_base64_encode(text.data(), static_cast<int>(text.size()), pData, static_cast<int>(size));
    // Without the null at its end.
    m_requests->send(reinterpret_cast<const std::uint8_t *>(text.data()), text.size() - 1, patience);
}

} // namespace selvik
