#include "device/src/RtspConnection.h"

#include "device/src/Text.h"

#include <algorithm>

namespace selvik
{

namespace
{

// Bound the memory while an answer is awaited and a device sends nothing but packets.
constexpr std::size_t kMaxKeptPackets = 4096;
constexpr std::size_t kMaxKeptBytes = 4 << 20;
// Devices that never answer keep-alives.
constexpr std::size_t kMaxPending = 16;
// A request is sent again with an answer to the device's question, and again where that was out of date.
constexpr int kMaxAttempts = 4;
// After so long without a byte a description that does not tell its length is taken to be whole.
constexpr Milliseconds kQuiet{300};
// A device that does not read what it is answered must not hold up its own pictures.
constexpr Milliseconds kReplyLimit{500};

bool hangsUp(const RtspResponse &response)
{
    return lowerCase(response.header("connection")) == "close";
}

} // namespace

RtspConnection::RtspConnection(std::unique_ptr<ByteStream> stream, Authenticator authenticator, Opener opener)
    : m_stream(std::move(stream)), m_authenticator(std::move(authenticator)), m_opener(std::move(opener))
{
}

void RtspConnection::sendRequest(const std::string &method, const std::string &url, const Headers &headers,
                                 bool bAwaited, const Patience &patience)
{
    std::string text = method + " " + url + " RTSP/1.0\r\nCSeq: " + std::to_string(++m_nSequence) + "\r\n";
    const std::string authorization = m_authenticator.authorization(method, url);
    if (!authorization.empty()) {
        text += "Authorization: " + authorization + "\r\n";
    }
    for (const auto &[name, value] : headers) {
        text += name + ": " + value + "\r\n";
    }
    text += "User-Agent: Selvikdcm\r\n\r\n";
    m_stream->send(reinterpret_cast<const std::uint8_t *>(text.data()), text.size(), patience);
    m_pending.push_back({m_nSequence, bAwaited});
    if (m_pending.size() > kMaxPending) {
        m_pending.pop_front();
    }
}

void RtspConnection::send(const std::string &method, const std::string &url, const Headers &headers,
                          const Patience &patience)
{
    sendRequest(method, url, headers, false, patience);
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
    dropTakenPackets();
    m_reader.expectDescription(method == "DESCRIBE");
    bool bAsked = false; // for credentials, by the answer to this very request
    for (int nAttempt = 0; nAttempt < kMaxAttempts; ++nAttempt) {
        RtspResponse response;
        try {
            response = exchange(method, url, headers, patience);
        } catch (const Failure &failure) {
            if (!bAsked || failure.error() != SELVIK_ERROR_HOST || m_opener == nullptr || m_bEnded) {
                throw;
            }
            // Some devices hang up behind each question for credentials, and only now it is seen.
            reopen(patience);
            response = exchange(method, url, headers, patience);
        }
        if (response.nStatus == 403 || response.nStatus == 407) {
            throw Failure(SELVIK_ERROR_REFUSED);
        }
        if (response.nStatus != 401) {
            return response;
        }
        if (!m_authenticator.challenge(response.allOf("www-authenticate"), bAsked)) {
            throw Failure(SELVIK_ERROR_REFUSED);
        }
        m_bClosed = m_bClosed || hangsUp(response);
        bAsked = true;
    }
    throw Failure(SELVIK_ERROR_REFUSED);
}

RtspResponse RtspConnection::exchange(const std::string &method, const std::string &url, const Headers &headers,
                                      const Patience &patience)
{
    if (m_bClosed && m_opener != nullptr) {
        reopen(patience);
    }
    sendRequest(method, url, headers, true, patience);
    return awaitResponse(patience);
}

void RtspConnection::reopen(const Patience &patience)
{
    m_stream = m_opener(patience);
    m_reader.reset();
    m_met = RtspReader::Met::Nothing;
    m_bClosed = false;
    m_pending.clear();
}

RtspResponse RtspConnection::awaitResponse(const Patience &patience)
{
    m_awaited.reset();
    while (!m_awaited) {
        patience.check();
        const std::size_t before = m_nReceived;
        try {
            const bool bMet = read(patience.atMost(kQuiet));
            if (!bMet && m_nReceived == before && m_reader.hasOpenBody()) {
                m_reader.endBody();
            }
        } catch (const Failure &failure) {
            if (failure.error() != SELVIK_ERROR_HOST || m_bEnded || m_bClosed || !m_reader.waitsForBody()) {
                throw;
            }
            m_reader.endBody();
            m_bClosed = true;
        }
        keepPacket();
    }
    return *std::exchange(m_awaited, std::nullopt);
}

bool RtspConnection::poll(const Patience &patience)
{
    dropTakenPackets();
    // Where the last one was not taken.
    keepPacket();
    return read(patience);
}

bool RtspConnection::pollNow(const Patience &patience)
{
    return poll(patience.atMost(Milliseconds(0)));
}

bool RtspConnection::read(const Patience &patience)
{
    // A device that goes on sending what is never whole comes to an end here, too: each round asks the time.
    for (bool bLast = false; !step(patience);) {
        if (bLast) {
            return false;
        }
        const std::size_t before = m_nReceived;
        fill(patience);
        bLast = m_nReceived == before || patience.isOver();
    }
    return true;
}

void RtspConnection::fill(const Patience &patience)
{
    const RtspReader::Space space = m_reader.space();
    const std::size_t count = m_stream->receive(space.pData, space.size, patience);
    m_reader.filled(count);
    m_nReceived += count;
}

bool RtspConnection::step(const Patience &patience)
{
    if (m_met == RtspReader::Met::Nothing) {
        m_met = m_reader.next();
    }
    switch (m_met) {
    case RtspReader::Met::Nothing:
        return false;
    case RtspReader::Met::Packet:
        return true;
    case RtspReader::Met::Response:
        m_met = RtspReader::Met::Nothing;
        sort(m_reader.takeResponse());
        return true;
    case RtspReader::Met::Request:
        m_met = RtspReader::Met::Nothing;
        reply(m_reader.takeRequest(), patience);
        return true;
    }
    return false;
}

void RtspConnection::sort(RtspResponse response)
{
    if (response.nStatus < 200 || m_pending.empty()) {
        return;
    }
    // Answers come in the order of their requests. Some devices send no number or a wrong one: theirs is the oldest's.
    const std::string text = response.header("cseq");
    auto found = std::find_if(m_pending.begin(), m_pending.end(), [&](const Pending &pending) {
        return !text.empty() && pending.nSequence == leadingNumber(text);
    });
    if (found == m_pending.end()) {
        const bool bRepeated = m_bCountsRight && !text.empty() && leadingNumber(text) < m_pending.front().nSequence;
        if (bRepeated) {
            return;
        }
        found = m_pending.begin();
    } else if (found->nSequence > 1) {
        m_bCountsRight = true;
    }
    (found->bAwaited ? m_awaited : m_answer) = std::move(response);
    m_pending.erase(m_pending.begin(), std::next(found));
}

void RtspConnection::reply(const RtspRequest &request, const Patience &patience)
{
    const std::string text = request.answer();
    try {
        m_stream->send(reinterpret_cast<const std::uint8_t *>(text.data()), text.size(), patience.fresh(kReplyLimit));
    } catch (const Failure &) {
        // Whether half of it was sent is not known: nothing can follow on this connection.
        throw Failure(SELVIK_ERROR_HOST);
    }
    if (request.method == "TEARDOWN") {
        m_bEnded = true;
        throw Failure(SELVIK_ERROR_HOST);
    }
}

void RtspConnection::keepPacket()
{
    if (m_met != RtspReader::Met::Packet) {
        return;
    }
    m_met = RtspReader::Met::Nothing;
    const InterleavedPacket &packet = m_reader.packet();
    if (m_kept.size() < kMaxKeptPackets && m_nKeptBytes + packet.data.size <= kMaxKeptBytes) {
        m_kept.push_back({packet.nChannel, Bytes(packet.data.begin(), packet.data.end())});
        m_nKeptBytes += packet.data.size;
    }
}

void RtspConnection::dropTakenPackets()
{
    for (; m_nKeptTaken > 0; --m_nKeptTaken) {
        m_nKeptBytes -= m_kept.front().data.size();
        m_kept.pop_front();
    }
}

bool RtspConnection::takePacket(InterleavedPacket &packet)
{
    if (m_nKeptTaken < m_kept.size()) {
        const KeptPacket &kept = m_kept[m_nKeptTaken++];
        packet = {kept.nChannel, {kept.data.data(), kept.data.size()}};
        return true;
    }
    if (m_met == RtspReader::Met::Nothing) {
        m_met = m_reader.next();
    }
    if (m_met != RtspReader::Met::Packet) {
        // An answer or a request is dealt with by the next poll(), which may have to send.
        return false;
    }
    packet = m_reader.packet();
    m_met = RtspReader::Met::Nothing;
    return true;
}

} // namespace selvik
