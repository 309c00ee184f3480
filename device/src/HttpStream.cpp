#include "device/src/HttpStream.h"

#include "Selvikdcm.h"
#include "device/src/ConnectTo.h"
#include "device/src/Location.h"
#include "device/src/Text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace selvik
{

namespace
{

constexpr int kMostRedirections = 4;
constexpr int kMostQuestions = 3; // of one host for credentials: a nonce may be out of date
constexpr std::size_t kLongestHead = 64 * 1024;
constexpr std::size_t kLongestChunkLine = 256;

unsigned long errorOf(int nStatus)
{
    switch (nStatus) {
    case 401:
    case 403:
    case 407:
        return SELVIK_ERROR_REFUSED;
    case 408:
    case 504:
        return SELVIK_ERROR_TIMEOUT;
    case 406:
    case 415:
        return SELVIK_ERROR_MEDIA;
    case 429:
    case 503:
        return SELVIK_ERROR_RESOURCES;
    default:
        return nStatus >= 500 ? SELVIK_ERROR_HOST : SELVIK_ERROR_CHANNEL;
    }
}

} // namespace

HttpStream::HttpStream(Address address, std::string headers)
    : m_address(std::move(address)),
      m_headers(std::move(headers)),
      m_place(m_address),
      m_authenticator(m_address.credentials())
{
}

std::unique_ptr<ByteStream> HttpStream::connectAgain(const Patience &patience)
{
    Connected connected = connectTo(m_place.host(), m_place.port(), m_place.isEncrypted(), patience);
    m_remoteHost = std::move(connected.remoteHost);
    return std::move(connected.stream);
}

std::string HttpStream::head(const std::string &method, const std::string &headers)
{
    const std::string authorization = m_authenticator.authorization(method, target());
    return method + " " + target() + " HTTP/1.1\r\nHost: " + m_place.hostAndPort() + "\r\nUser-Agent: Selvikdcm\r\n" +
           headers + (authorization.empty() ? "" : "Authorization: " + authorization + "\r\n") + "\r\n";
}

std::string HttpStream::target() const
{
    const std::string url = m_place.url();
    const std::size_t path = std::min(url.find_first_of("/?#", url.find("://") + 3), url.size());
    std::string text = url.substr(path, url.find('#', path) - path);
    if (!startsWith(text, "/")) {
        text.insert(0, "/");
    }
    // Blanks would end the request's target.
    for (std::size_t at = text.find(' '); at != std::string::npos; at = text.find(' ', at)) {
        text.replace(at, 1, "%20");
    }
    return text;
}

void HttpStream::open(const Patience &patience)
{
    for (int nRedirections = 0; nRedirections <= kMostRedirections; ++nRedirections) {
        m_authenticator = Authenticator(m_place.credentials());
        RtspResponse response = ask(patience);
        for (int i = 0; i < kMostQuestions && response.nStatus == 401; ++i) {
            if (!m_authenticator.challenge(response.allOf("www-authenticate"), i > 0)) {
                break;
            }
            response = ask(patience);
        }
        if (response.isSuccess()) {
            takeBody(response);
            return;
        }
        const std::string location = response.header("location");
        if (response.nStatus >= 400 || location.empty()) {
            throw Failure(errorOf(response.nStatus));
        }
        redirect(location);
    }
    throw Failure(SELVIK_ERROR_CHANNEL);
}

void HttpStream::redirect(const std::string &location)
{
    std::optional<Address> place = resolveLocation(m_address, {}, m_place, location);
    if (!place) {
        throw Failure(SELVIK_ERROR_CHANNEL);
    }
    m_place = *std::move(place);
}

RtspResponse HttpStream::ask(const Patience &patience)
{
    m_received.clear();
    m_stream.reset();
    m_stream = connectAgain(patience);
    const std::string request = head("GET", m_headers.empty() ? "Accept: */*\r\nConnection: close\r\n" : m_headers);
    m_stream->send(reinterpret_cast<const std::uint8_t *>(request.data()), request.size(), patience);
    RtspResponse response = readHead(patience);
    while (response.nStatus < 200) {
        response = readHead(patience);
    }
    return response;
}

RtspResponse HttpStream::readHead(const Patience &patience)
{
    std::string head;
    for (;;) {
        const std::string line = readLine(kLongestHead - head.size(), patience);
        if (line.empty() && !head.empty()) {
            break;
        }
        head += line + "\n";
    }
    if (!startsWith(head, "HTTP/")) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    // From here on the two protocols' heads are alike.
    std::optional<RtspResponse> response = RtspResponse::parse("RTSP/" + head.substr(5));
    if (!response) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    return *std::move(response);
}

void HttpStream::takeBody(const RtspResponse &response)
{
    m_bChunked = lowerCase(response.header("transfer-encoding")).find("chunked") != std::string::npos;
    const std::string length = response.header("content-length");
    m_bLengthKnown = !m_bChunked && !length.empty();
    m_nLeft = m_bLengthKnown ? std::strtoull(length.c_str(), nullptr, 10) : 0;
}

std::string HttpStream::readLine(std::size_t most, const Patience &patience)
{
    std::size_t searched = 0;
    for (;;) {
        const std::size_t end = m_received.find('\n', searched);
        if (end != std::string::npos) {
            std::string line = m_received.substr(0, end);
            m_received.erase(0, end + 1);
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            return line;
        }
        searched = m_received.size();
        if (searched >= most) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        char buffer[4096];
        const std::size_t size = m_stream->receive(reinterpret_cast<std::uint8_t *>(buffer), sizeof buffer, patience);
        if (size == 0) {
            patience.check();
        }
        m_received.append(buffer, size);
    }
}

std::size_t HttpStream::receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience)
{
    if (!m_received.empty()) {
        const std::size_t size = std::min(capacity, m_received.size());
        std::memcpy(pBuffer, m_received.data(), size);
        m_received.erase(0, size);
        return size;
    }
    const std::size_t size = m_stream->receive(pBuffer, capacity, patience);
    if (size == 0) {
        patience.check();
    }
    return size;
}

void HttpStream::beginChunk(const Patience &patience)
{
    if (m_bChunkEnds) {
        (void)readLine(kLongestChunkLine, patience);
        m_bChunkEnds = false;
    }
    m_nLeft = std::strtoull(readLine(kLongestChunkLine, patience).c_str(), nullptr, 16);
    m_bEnded = m_nLeft == 0;
}

std::size_t HttpStream::read(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience)
{
    if (m_bChunked && !m_bEnded && m_nLeft == 0) {
        beginChunk(patience);
    }
    const bool bCounted = m_bChunked || m_bLengthKnown;
    m_bEnded = m_bEnded || (m_bLengthKnown && m_nLeft == 0);
    if (m_bEnded) {
        return 0;
    }
    const auto most = bCounted ? static_cast<std::size_t>(std::min<std::uint64_t>(capacity, m_nLeft)) : capacity;
    const std::size_t size = receive(pBuffer, most, patience);
    m_nLeft -= bCounted ? size : 0;
    m_bChunkEnds = m_bChunked && m_nLeft == 0;
    return size;
}

} // namespace selvik
