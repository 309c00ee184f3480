#include "device/src/RtspConnection.h"

#include "device/src/Text.h"

#include <algorithm>
#include <cstring>

namespace selvik
{

namespace
{

constexpr std::size_t kPacketHead = 4;
constexpr std::size_t kMaxHead = 64 * 1024;
constexpr std::size_t kMaxBody = 1024 * 1024;
// Bounds the memory while an answer is awaited and a device sends nothing but packets.
constexpr std::size_t kMaxWaitingPackets = 4096;
// Answers to keep-alives, of which only the last status is used.
constexpr std::size_t kMaxWaitingAnswers = 16;

/**
 * The offset of the first "RTSP/" in the bytes, or of a beginning of that word at their very end; `size` where there is
 * neither.
 */
std::size_t findAnswer(const std::uint8_t *pBegin, std::size_t size)
{
    static constexpr char kWord[] = {'R', 'T', 'S', 'P', '/'};
    for (std::size_t i = 0; i < size; ++i) {
        if (std::memcmp(pBegin + i, kWord, std::min(sizeof kWord, size - i)) == 0) {
            return i;
        }
    }
    return size;
}

unsigned long errorOfStatus(int nStatus)
{
    return nStatus == 401 || nStatus == 403 || nStatus == 407 ? SELVIK_ERROR_REFUSED : SELVIK_ERROR_NONE;
}

} // namespace

RtspConnection::RtspConnection(std::unique_ptr<ByteStream> stream, Authenticator authenticator)
    : m_stream(std::move(stream)), m_authenticator(std::move(authenticator))
{
}

std::string RtspConnection::format(const std::string &method, const std::string &url, const Headers &headers)
{
    std::string text = method + " " + url + " RTSP/1.0\r\nCSeq: " + std::to_string(++m_nSequence) + "\r\n";
    const std::string authorization = m_authenticator.authorization(method, url);
    if (!authorization.empty()) {
        text += "Authorization: " + authorization + "\r\n";
    }
    for (const auto &[name, value] : headers) {
        text += name + ": " + value + "\r\n";
    }
    return text + "User-Agent: Selvikdcm\r\n\r\n";
}

void RtspConnection::send(const std::string &method, const std::string &url, const Headers &headers,
                          const Patience &patience)
{
    const std::string text = format(method, url, headers);
    m_stream->send(reinterpret_cast<const std::uint8_t *>(text.data()), text.size(), patience);
}

void RtspConnection::sendPacket(int nChannel, const Bytes &data, const Patience &patience)
{
    Bytes framed = {'$', static_cast<std::uint8_t>(nChannel), static_cast<std::uint8_t>(data.size() >> 8),
                    static_cast<std::uint8_t>(data.size())};
    framed.insert(framed.end(), data.begin(), data.end());
    m_stream->send(framed.data(), framed.size(), patience);
}

RtspResponse RtspConnection::request(const std::string &method, const std::string &url, const Headers &headers,
                                     const Patience &patience)
{
    // The first attempt is answered with a challenge. Further ones are needed where a nonce expires in between.
    for (int nAttempt = 0; nAttempt < 4; ++nAttempt) {
        send(method, url, headers, patience);
        RtspResponse response = awaitResponse(patience);
        if (response.nStatus != 401 || !m_authenticator.challenge(response.allOf("www-authenticate"))) {
            if (const unsigned long error = errorOfStatus(response.nStatus)) {
                throw Failure(error);
            }
            return response;
        }
    }
    throw Failure(SELVIK_ERROR_REFUSED);
}

RtspResponse RtspConnection::awaitResponse(const Patience &patience)
{
    for (;;) {
        while (!m_responses.empty()) {
            RtspResponse response = std::move(m_responses.front());
            m_responses.pop_front();
            // An answer to an earlier request, such as a keep-alive, is left out. Some devices send no number: their
            // answers are taken for the present request's.
            const std::string sequence = response.header("cseq");
            const bool bLate = !sequence.empty() && leadingNumber(sequence) < m_nSequence;
            if (!bLate && response.nStatus >= 200) {
                return response;
            }
        }
        patience.check();
        (void)poll(patience);
    }
}

bool RtspConnection::poll(const Patience &patience)
{
    if (parseOne()) {
        return true;
    }
    while (fill(patience)) {
        if (parseOne()) {
            return true;
        }
    }
    return false;
}

bool RtspConnection::pollNow(const Patience &patience)
{
    return poll(patience.atMost(Milliseconds(0)));
}

bool RtspConnection::fill(const Patience &patience)
{
    constexpr std::size_t kChunk = 16 * 1024;
    if (m_nBegin > 0) {
        m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_nBegin));
        m_nBegin = 0;
    }
    const std::size_t before = m_buffer.size();
    if (before > kMaxHead + kMaxBody) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    m_buffer.resize(before + kChunk);
    std::size_t received = 0;
    try {
        received = m_stream->receive(m_buffer.data() + before, kChunk, patience);
    } catch (...) {
        m_buffer.resize(before);
        throw;
    }
    m_buffer.resize(before + received);
    return received > 0;
}

bool RtspConnection::parseOne()
{
    for (;;) {
        if (m_nBegin == m_buffer.size()) {
            return false;
        }
        const std::uint8_t *pFirst = m_buffer.data() + m_nBegin;
        const std::size_t left = m_buffer.size() - m_nBegin;
        const std::size_t needed = m_bInStep ? kPacketHead : kPacketHead + 1;
        if (*pFirst == '$' && left < needed) {
            return false;
        }
        if (*pFirst == '$' && looksLikePacket(m_nBegin)) {
            return parsePacket();
        }
        if (findAnswer(pFirst, left) == 0) {
            return parseResponse();
        }
        skipGarbage();
    }
}

bool RtspConnection::looksLikePacket(std::size_t at) const
{
    if (m_bInStep) {
        return true;
    }
    // After garbage, most dollar signs are bytes of a picture. This one is believed only where a channel in use, the
    // length of an RTP or RTCP head and version 2 follow.
    const int nChannel = m_buffer[at + 1];
    const bool bKnown = std::find(m_channels.begin(), m_channels.end(), nChannel) != m_channels.end();
    return bKnown && read16(&m_buffer[at + 2]) >= 8 && (m_buffer[at + 4] >> 6) == 2;
}

bool RtspConnection::parsePacket()
{
    const std::uint8_t *pHead = m_buffer.data() + m_nBegin;
    const std::size_t size = read16(pHead + 2);
    if (m_buffer.size() - m_nBegin < kPacketHead + size) {
        return false;
    }
    InterleavedPacket packet;
    packet.nChannel = pHead[1];
    packet.data.assign(pHead + kPacketHead, pHead + kPacketHead + size);
    m_nBegin += kPacketHead + size;
    m_bInStep = true;
    if (m_packets.size() < kMaxWaitingPackets) {
        m_packets.push_back(std::move(packet));
    }
    return true;
}

bool RtspConnection::parseResponse()
{
    const std::string text(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_nBegin), m_buffer.end());
    // The head ends with an empty line, written with or without carriage returns.
    const std::size_t strict = text.find("\r\n\r\n");
    const std::size_t loose = text.find("\n\n");
    if (strict == std::string::npos && loose == std::string::npos) {
        if (text.size() > kMaxHead) {
            throw Failure(SELVIK_ERROR_MEDIA);
        }
        return false;
    }
    const std::size_t headEnd = strict < loose ? strict + 4 : loose + 2;
    std::optional<RtspResponse> response = RtspResponse::parse(text.substr(0, headEnd));
    if (!response) {
        // The word stands in garbage, or in a request of the device's own. The search goes on behind its first byte.
        m_nBegin += 1;
        m_bInStep = false;
        return parseOne();
    }
    const std::size_t length =
        std::min(kMaxBody, static_cast<std::size_t>(leadingNumber(response->header("content-length"))));
    if (text.size() < headEnd + length) {
        return false;
    }
    response->body = text.substr(headEnd, length);
    m_nBegin += headEnd + length;
    m_bInStep = true;
    if (m_responses.size() >= kMaxWaitingAnswers) {
        m_responses.pop_front();
    }
    m_responses.push_back(std::move(*response));
    return true;
}

void RtspConnection::skipGarbage()
{
    m_bInStep = false;
    const std::uint8_t *pFirst = m_buffer.data() + m_nBegin;
    const std::size_t left = m_buffer.size() - m_nBegin;
    const std::size_t answer = left > 1 ? 1 + findAnswer(pFirst + 1, left - 1) : left;
    const auto *const pDollar =
        left > 1 ? static_cast<const std::uint8_t *>(std::memchr(pFirst + 1, '$', left - 1)) : nullptr;
    const std::size_t dollar = pDollar != nullptr ? static_cast<std::size_t>(pDollar - pFirst) : left;
    m_nBegin += std::min(answer, dollar);
}

bool RtspConnection::takePacket(InterleavedPacket &packet)
{
    if (m_packets.empty()) {
        return false;
    }
    packet = std::move(m_packets.front());
    m_packets.pop_front();
    return true;
}

int RtspConnection::takeStatus()
{
    if (m_responses.empty()) {
        return 0;
    }
    const int nStatus = m_responses.back().nStatus;
    m_responses.clear();
    return nStatus;
}

} // namespace selvik
