#include "device/src/onvif/HttpReader.h"

#include "device/src/Text.h"
#include "device/src/onvif/XmlDocument.h"

#include <algorithm>
#include <array>

namespace selvik
{

namespace
{

constexpr std::size_t kMaxLine = 8192;
constexpr int kMaxHeaders = 100;
constexpr int kMaxInterimAnswers = 5;
constexpr std::size_t kMaxBody = XmlDocument::kMaxSize;

/** A length of a chunk, which extensions may follow; throws for anything else. */
std::size_t chunkSize(const std::string &line)
{
    std::size_t size = 0;
    std::size_t digits = 0;
    for (const char letter : lowerCase(trimmed(line.substr(0, line.find(';'))))) {
        const bool bNumber = letter >= '0' && letter <= '9';
        if ((!bNumber && (letter < 'a' || letter > 'f')) || ++digits > 8) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        size = size * 16 + static_cast<std::size_t>(bNumber ? letter - '0' : letter - 'a' + 10);
    }
    if (digits == 0) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    return size;
}

} // namespace

void HttpReader::send(const std::string &request, const Patience &patience)
{
    m_bBegun = false;
    m_stream->send(reinterpret_cast<const std::uint8_t *>(request.data()), request.size(), patience);
}

void HttpReader::fill(const Patience &patience)
{
    std::array<std::uint8_t, 16384> chunk{};
    const std::size_t received = m_stream->receive(chunk.data(), chunk.size(), patience);
    if (received == 0) {
        patience.check();
    }
    m_bBegun = m_bBegun || received > 0;
    m_buffer.append(reinterpret_cast<const char *>(chunk.data()), received);
}

std::string HttpReader::line(const Patience &patience)
{
    std::size_t searched = 0;
    for (;;) {
        const std::size_t end = m_buffer.find('\n', searched);
        if (end != std::string::npos ? end > kMaxLine : m_buffer.size() > kMaxLine) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        if (end != std::string::npos) {
            std::string text = m_buffer.substr(0, end);
            m_buffer.erase(0, end + 1);
            if (!text.empty() && text.back() == '\r') {
                text.pop_back();
            }
            return text;
        }
        searched = m_buffer.size();
        fill(patience);
    }
}

HttpResponse HttpReader::read(const Patience &patience)
{
    for (int nInterim = 0; nInterim < kMaxInterimAnswers; ++nInterim) {
        HttpResponse response;
        readHead(response, patience);
        if (response.nStatus >= 200) {
            readBody(response, patience);
            return response;
        }
    }
    throw Failure(SELVIK_ERROR_MEDIA);
}

void HttpReader::readHead(HttpResponse &response, const Patience &patience)
{
    const std::string status = line(patience);
    const std::size_t blank = status.find(' ');
    response.nStatus = blank == std::string::npos ? 0 : leadingNumber(trimmed(status.substr(blank)));
    if (!startsWith(status, "HTTP/1.") || response.nStatus < 100 || response.nStatus > 999) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    m_bOldVersion = startsWith(status, "HTTP/1.0");
    for (int nHeaders = 0;; ++nHeaders) {
        const std::string text = line(patience);
        if (text.empty()) {
            return;
        }
        if (nHeaders == kMaxHeaders) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        response.readHeader(text);
    }
}

void HttpReader::readBody(HttpResponse &response, const Patience &patience)
{
    const std::string connection = lowerCase(response.header("connection"));
    response.bGoesOn = m_bOldVersion ? connection == "keep-alive" : connection != "close";
    const std::string length = response.header("content-length");
    if (lowerCase(response.header("transfer-encoding")).find("chunked") != std::string::npos) {
        readChunks(response, patience);
    } else if (!length.empty()) {
        if (length.find_first_not_of("0123456789") != std::string::npos) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        take(response, static_cast<std::size_t>(leadingNumber(length)), patience);
    } else if (response.nStatus != 204 && response.nStatus != 304) {
        response.bGoesOn = false;
        readToEnd(response, patience);
    }
}

void HttpReader::readChunks(HttpResponse &response, const Patience &patience)
{
    while (const std::size_t size = chunkSize(line(patience))) {
        take(response, size, patience);
        if (!line(patience).empty()) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
    }
    for (int nTrailers = 0; !line(patience).empty(); ++nTrailers) {
        if (nTrailers == kMaxHeaders) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
    }
}

void HttpReader::readToEnd(HttpResponse &response, const Patience &patience)
{
    for (;;) {
        response.body += m_buffer;
        m_buffer.clear();
        if (response.body.size() > kMaxBody) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        try {
            fill(patience);
        } catch (const Failure &failure) {
            if (failure.error() == SELVIK_ERROR_HOST) {
                return;
            }
            throw;
        }
    }
}

void HttpReader::take(HttpResponse &response, std::size_t size, const Patience &patience)
{
    if (size > kMaxBody - response.body.size()) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    while (size > 0) {
        const std::size_t part = std::min(size, m_buffer.size());
        response.body.append(m_buffer, 0, part);
        m_buffer.erase(0, part);
        size -= part;
        if (size > 0) {
            fill(patience);
        }
    }
}

} // namespace selvik
