#include "device/src/RtspReader.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"
#include "device/src/Text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace selvik
{

namespace
{

constexpr std::size_t kBufferSize = 256 * 1024;
constexpr std::size_t kChunk = 64 * 1024;
constexpr std::size_t kPacketHead = 4;
constexpr std::size_t kMaxHead = 64 * 1024;
constexpr std::size_t kMaxLine = 8 * 1024;
constexpr std::size_t kMaxLines = 256;
constexpr std::size_t kMaxBody = 1024 * 1024;
constexpr std::size_t kNone = ~std::size_t(0);

bool isDigit(std::uint8_t byte)
{
    return byte >= '0' && byte <= '9';
}

bool isOfMethod(std::uint8_t byte)
{
    return (byte >= 'A' && byte <= 'Z') || byte == '_' || byte == '-';
}

/** The first byte at or behind `from`, up to `end`, for which the rule does not hold. */
template <typename Rule>
std::size_t skip(const std::uint8_t *pBytes, std::size_t from, std::size_t end, Rule rule)
{
    while (from < end && rule(pBytes[from])) {
        ++from;
    }
    return from;
}

enum class Status { No, Perhaps, Yes };

/** Whether the bytes begin as a status line does: "RTSP/1.0 200". Looks at twenty-odd bytes at most. */
Status matchStatus(const std::uint8_t *pBytes, std::size_t size)
{
    static const std::string word = "RTSP/";
    constexpr std::size_t kLongestNumber = 8;
    const std::size_t common = std::min(word.size(), size);
    if (std::memcmp(pBytes, word.data(), common) != 0) {
        return Status::No;
    }
    std::size_t at = skip(pBytes, common, std::min(size, common + kLongestNumber),
                          [](std::uint8_t byte) { return isDigit(byte) || byte == '.'; });
    const std::size_t version = at;
    at = skip(pBytes, at, std::min(size, at + kLongestNumber),
              [](std::uint8_t byte) { return byte == ' ' || byte == '\t'; });
    const std::size_t number = at;
    at = skip(pBytes, at, std::min(size, at + 3), isDigit);
    if (number > version && at == number + 3) {
        return Status::Yes;
    }
    return at == size ? Status::Perhaps : Status::No;
}

[[noreturn]] void failForSize()
{
    throw Failure(SELVIK_ERROR_MEDIA);
}

} // namespace

RtspReader::RtspReader() : m_buffer(kBufferSize) {}

RtspReader::Space RtspReader::space()
{
    if (m_nBegin == m_nEnd) {
        m_nBegin = m_nEnd = 0;
    }
    if (m_buffer.size() - m_nEnd < kChunk) {
        // Moved only when at least half as much was taken since the last time, so that the cost stays linear.
        if (left() <= m_buffer.size() / 2) {
            std::memmove(m_buffer.data(), first(), left());
            m_nEnd = left();
            m_nBegin = 0;
        } else {
            m_buffer.resize(2 * m_buffer.size());
        }
    }
    return {m_buffer.data() + m_nEnd, kChunk};
}

RtspReader::Met RtspReader::next()
{
    while (left() > 0) {
        if (m_match == Match::No) {
            if (*first() == '$') {
                if (left() < (m_bInStep ? kPacketHead : kPacketHead + 1)) {
                    return Met::Nothing;
                }
                if (looksLikePacket()) {
                    return nextPacket();
                }
            } else {
                m_match = matchMessage();
            }
            if (m_match == Match::Perhaps) {
                m_match = Match::No;
                return Met::Nothing;
            }
            if (m_match == Match::No) {
                skipGarbage();
                continue;
            }
        }
        if (const std::optional<Met> met = nextMessage()) {
            return *met;
        }
    }
    return Met::Nothing;
}

bool RtspReader::looksLikePacket() const
{
    if (m_bInStep) {
        return true;
    }
    // After garbage, most dollar signs are bytes of a picture. This one is believed only where a channel in use, the
    // length of an RTP or RTCP head and version 2 follow.
    const int nChannel = first()[1];
    const bool bKnown = std::find(m_channels.begin(), m_channels.end(), nChannel) != m_channels.end();
    return bKnown && read16(first() + 2) >= 8 && (first()[4] >> 6) == 2;
}

RtspReader::Met RtspReader::nextPacket()
{
    const std::size_t size = read16(first() + 2);
    if (left() < kPacketHead + size) {
        return Met::Nothing;
    }
    m_packet = {first()[1], {first() + kPacketHead, size}};
    advance(kPacketHead + size, true);
    return Met::Packet;
}

RtspReader::Match RtspReader::matchMessage()
{
    switch (matchStatus(first(), left())) {
    case Status::Yes:
        return Match::Response;
    case Status::Perhaps:
        return Match::Perhaps;
    default:
        return matchRequest();
    }
}

RtspReader::Match RtspReader::matchRequest()
{
    // In step, any word may be a method. In garbage it must be one that devices send.
    static const std::array<std::string, 6> methods = {"OPTIONS ",  "GET_PARAMETER ", "SET_PARAMETER ",
                                                       "ANNOUNCE ", "REDIRECT ",      "TEARDOWN "};
    constexpr std::size_t kLongestMethod = 24;
    const std::size_t size = skip(first(), 0, std::min(left(), kLongestMethod), isOfMethod);
    if (size == left() && m_bInStep) {
        return Match::Perhaps;
    }
    bool bMethod = m_bInStep && size >= 3 && size < left() && first()[size] == ' ';
    for (const std::string &method : methods) {
        const std::size_t common = std::min(method.size(), left());
        if (!bMethod && std::memcmp(first(), method.data(), common) == 0) {
            if (common < method.size()) {
                return Match::Perhaps;
            }
            bMethod = true;
        }
    }
    if (!bMethod) {
        return Match::No;
    }
    const std::size_t end = findLineEnd();
    if (end == kNone) {
        return left() > kMaxLine ? Match::No : Match::Perhaps;
    }
    const std::string tail = trimmed(std::string(first() + end - std::min<std::size_t>(end, 12), first() + end));
    const std::size_t word = tail.find("RTSP/");
    return word != std::string::npos && end <= kMaxLine ? Match::Request : Match::No;
}

std::size_t RtspReader::findLineEnd()
{
    if (m_nSearched < left()) {
        const auto *const pEnd =
            static_cast<const std::uint8_t *>(std::memchr(first() + m_nSearched, '\n', left() - m_nSearched));
        m_nSearched = pEnd != nullptr ? static_cast<std::size_t>(pEnd - first()) : left();
    }
    // The search stays at a line's end until its caller sets it behind that.
    return m_nSearched < left() ? m_nSearched : kNone;
}

bool RtspReader::findHeadEnd()
{
    while (m_nHead == 0) {
        const std::size_t end = findLineEnd();
        const std::size_t known = end == kNone ? left() : end;
        if (known - m_nLineBegin > kMaxLine || known > kMaxHead || m_nLines > kMaxLines) {
            failForSize();
        }
        if (end == kNone) {
            return false;
        }
        const bool bEmpty = end == m_nLineBegin || (end == m_nLineBegin + 1 && first()[m_nLineBegin] == '\r');
        m_nLineBegin = m_nSearched = end + 1;
        ++m_nLines;
        m_nHead = bEmpty ? end + 1 : 0;
    }
    return true;
}

std::optional<RtspReader::Met> RtspReader::nextMessage()
{
    if (m_nHead == 0) {
        if (!findHeadEnd()) {
            return Met::Nothing;
        }
        if (!readHead(std::string(first(), first() + m_nHead))) {
            advance(m_nHead, false);
            return std::nullopt;
        }
    }
    const bool bResponse = m_match == Match::Response;
    RtspMessage &message = bResponse ? static_cast<RtspMessage &>(m_response) : m_request;
    if (m_bOpenBody) {
        searchOpenBody();
    } else if (m_bBodyEnds) {
        m_nBody = std::min(m_nBody, left() - m_nHead);
    }
    if (m_bOpenBody || left() < m_nHead + m_nBody) {
        return Met::Nothing;
    }
    message.body.assign(first() + m_nHead, first() + m_nHead + m_nBody);
    advance(m_nHead + m_nBody, true);
    return bResponse ? Met::Response : Met::Request;
}

bool RtspReader::readHead(const std::string &head)
{
    std::string length;
    if (m_match == Match::Response) {
        std::optional<RtspResponse> response = RtspResponse::parse(head);
        if (!response) {
            return false;
        }
        m_response = std::move(*response);
        length = m_response.header("content-length");
        m_bOpenBody = length.empty() && m_bDescription && m_response.isSuccess();
    } else {
        std::optional<RtspRequest> request = RtspRequest::parse(head);
        if (!request) {
            return false;
        }
        m_request = std::move(*request);
        length = m_request.header("content-length");
    }
    m_nBody = static_cast<std::size_t>(leadingNumber(length));
    if (m_nBody > kMaxBody) {
        failForSize();
    }
    return true;
}

void RtspReader::searchOpenBody()
{
    // Lines of a description begin with a letter and "=". Whatever else begins a line belongs to what follows.
    bool bEnd = false;
    while (!bEnd && m_nLineBegin < left()) {
        const std::uint8_t *pLine = first() + m_nLineBegin;
        const std::size_t size = left() - m_nLineBegin;
        const bool bBlank = *pLine == '\r' || *pLine == '\n';
        const bool bLetter = (*pLine | 0x20) >= 'a' && (*pLine | 0x20) <= 'z';
        bEnd = !bBlank && (!bLetter || (size > 1 && pLine[1] != '='));
        const std::size_t end = findLineEnd();
        if (bEnd || end == kNone) {
            break;
        }
        m_nLineBegin = m_nSearched = end + 1;
    }
    if (left() - m_nHead > kMaxBody) {
        failForSize();
    }
    if (bEnd || m_bBodyEnds) {
        m_nBody = (bEnd ? m_nLineBegin : left()) - m_nHead;
        m_bOpenBody = false;
    }
}

void RtspReader::advance(std::size_t count, bool bInStep)
{
    m_nBegin += count;
    m_nSearched -= std::min(m_nSearched, count);
    m_nLineBegin = 0;
    m_nLines = 0;
    m_nHead = 0;
    m_nBody = 0;
    m_bOpenBody = false;
    m_bBodyEnds = false;
    m_bInStep = bInStep;
    m_match = Match::No;
}

void RtspReader::skipGarbage()
{
    // What a packet, an answer or a request of matchRequest() can begin with.
    static constexpr std::string_view kBeginnings = "$RTOGSA";
    const std::size_t count = skip(first(), 1, left(), [](std::uint8_t byte) {
        return kBeginnings.find(static_cast<char>(byte)) == std::string_view::npos;
    });
    advance(count, false);
}

} // namespace selvik
