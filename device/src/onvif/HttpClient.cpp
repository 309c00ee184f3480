#include "device/src/onvif/HttpClient.h"

#include "device/src/ConnectTo.h"

namespace selvik
{

HttpResponse HttpClient::post(const HttpTarget &target, const std::string &contentType,
                              const std::string &authorization, const std::string &body, const Patience &patience)
{
    const std::string request = format(target, contentType, authorization, body);
    for (;;) {
        const bool bUsedAgain = m_connection != nullptr && m_connectedTo.port == target.port &&
                                m_connectedTo.bEncrypted == target.bEncrypted;
        if (!bUsedAgain) {
            connect(target, patience);
        }
        // Kept for the next request only when this one is through.
        std::unique_ptr<HttpReader> connection = std::move(m_connection);
        try {
            connection->send(request, patience);
            HttpResponse response = connection->read(patience);
            if (response.bGoesOn) {
                m_connection = std::move(connection);
            }
            return response;
        } catch (const Failure &failure) {
            // Devices close connections without a word; one that has not begun to answer gets the request once more.
            if (failure.error() != SELVIK_ERROR_HOST || !bUsedAgain || connection->hasBegun()) {
                throw;
            }
        }
    }
}

void HttpClient::connect(const HttpTarget &target, const Patience &patience)
{
    m_connection.reset();
    m_connectedTo = target;
    // The address that answered first is the device; the name may lead elsewhere the next time.
    Connected connected =
        connectTo(m_reached.empty() ? m_host : m_reached, target.port, target.bEncrypted, patience, m_host);
    m_reached = connected.remoteHost;
    m_connection = std::make_unique<HttpReader>(std::move(connected.stream));
}

std::string HttpClient::format(const HttpTarget &target, const std::string &contentType,
                               const std::string &authorization, const std::string &body) const
{
    const unsigned short usual = target.bEncrypted ? 443 : 80;
    std::string text = "POST " + target.path + " HTTP/1.1\r\nHost: ";
    // A zone means something on this machine only.
    text += m_host.find(':') == std::string::npos ? m_host : "[" + m_host.substr(0, m_host.find('%')) + "]";
    text += target.port == usual ? std::string() : ":" + std::to_string(target.port);
    text += "\r\nUser-Agent: Selvikdcm\r\nContent-Type: " + contentType + "\r\n";
    if (!authorization.empty()) {
        text += "Authorization: " + authorization + "\r\n";
    }
    return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

} // namespace selvik
