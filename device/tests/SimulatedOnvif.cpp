#include "device/tests/SimulatedOnvif.h"

#include "device/src/Bytes.h"
#include "device/src/Ffmpeg.h"
#include "device/src/Text.h"

extern "C" {
#include <libavutil/base64.h>
}

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

namespace selvik
{

namespace
{

constexpr const char *kUser = "viewer";
constexpr const char *kPassword = "s3cret/&@";
// How far a token's time may be from the device's clock, seconds.
constexpr long long kTolerance = 5;

Bytes hashOf(const char *pAlgorithm, const Bytes &bytes)
{
    AVHashContext *pContext = nullptr;
    av_hash_alloc(&pContext, pAlgorithm);
    av_hash_init(pContext);
    av_hash_update(pContext, bytes.data(), bytes.size());
    Bytes result(static_cast<std::size_t>(av_hash_get_size(pContext)));
    av_hash_final_bin(pContext, result.data(), static_cast<int>(result.size()));
    av_hash_freep(&pContext);
    return result;
}

std::string md5(const std::string &text)
{
    std::string hex;
    for (const std::uint8_t byte : hashOf("MD5", Bytes(text.begin(), text.end()))) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
    }
    return hex;
}

Bytes decoded(const std::string &base64)
{
    Bytes bytes(base64.size());
    const int size = av_base64_decode(bytes.data(), base64.c_str(), static_cast<int>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max(size, 0)));
    return bytes;
}

long long secondsOf(std::tm parts)
{
#ifdef _WIN32
    return _mkgmtime(&parts);
#else
    return timegm(&parts);
#endif
}

long long secondsOf(const UtcDate &date)
{
    std::tm parts = {};
    parts.tm_year = date.nYear - 1900;
    parts.tm_mon = date.nMonth - 1;
    parts.tm_mday = date.nDay;
    parts.tm_hour = date.nHour;
    parts.tm_min = date.nMinute;
    parts.tm_sec = date.nSecond;
    return secondsOf(parts);
}

UtcDate dateOf(long long seconds)
{
    const auto time = static_cast<std::time_t>(seconds);
    const std::tm parts = *std::gmtime(&time);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

long long secondsOf(const std::string &created)
{
    UtcDate date;
    const int nRead = std::sscanf(created.c_str(), "%4d-%2d-%2dT%2d:%2d:%2dZ", &date.nYear, &date.nMonth, &date.nDay,
                                  &date.nHour, &date.nMinute, &date.nSecond);
    return nRead == 6 && created.size() == 20 ? secondsOf(date) : -1;
}

std::string fieldOf(const std::string &text, const std::string &name)
{
    const std::size_t at = text.find(name + "=\"");
    const std::size_t begin = at + name.size() + 2;
    return at == std::string::npos ? std::string() : text.substr(begin, text.find('"', begin) - begin);
}

std::string inChunks(const std::string &body)
{
    std::string text;
    for (std::size_t at = 0; at < body.size(); at += 100) {
        const std::string part = body.substr(at, 100);
        char size[24];
        std::snprintf(size, sizeof size, "%zx;name=value\r\n", part.size());
        text += size + part + "\r\n";
    }
    return text + "0\r\nTrailer: yes\r\n\r\n";
}

} // namespace

SimulatedOnvif::SimulatedOnvif(TimeSource &time, OnvifScript script, unsigned short port)
    : m_time(time), m_script(std::move(script)), m_begin(time.now())
{
    startSockets();
    m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
    int on = 1;
    setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char *>(&on), sizeof on);
    sockaddr_in address = loopback(port);
    socklen_t size = sizeof address;
    if (bind(m_listener, reinterpret_cast<const sockaddr *>(&address), size) != 0 || listen(m_listener, 16) != 0) {
        throw std::runtime_error("the device's port is taken");
    }
    getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &size);
    m_nPort = ntohs(address.sin_port);
    m_acceptor = std::thread([this, presence = m_time.presence()] { acceptConnections(); });
}

SimulatedOnvif::~SimulatedOnvif()
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_bStop = true;
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnded; });
    }
    m_acceptor.join();
    closeSocket(m_listener);
}

void SimulatedOnvif::acceptConnections()
{
    std::vector<std::thread> connections;
    while (!m_bStop) {
        if (!waitReadable(m_time, m_bStop, m_listener, std::chrono::seconds(1))) {
            continue;
        }
        const TestSocket socket = accept(m_listener, nullptr, nullptr);
        int noDelay = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&noDelay), sizeof noDelay);
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_nConnections;
        ++m_nOpen;
        connections.emplace_back([this, socket, presence = m_time.presence()] { serve(socket); });
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_nOpen == 0; });
    lock.unlock();
    for (std::thread &connection : connections) {
        connection.join();
    }
    lock.lock();
    m_bEnded = true;
    m_changed.notify_all();
}

void SimulatedOnvif::serve(TestSocket socket)
{
    std::string input;
    Request request;
    const bool bOneAnswer = m_script.bClosesEachTime || m_script.bHangsUpEachTime || m_script.bNoLength;
    while (readRequest(socket, input, request)) {
        Reply answer;
        sleep(m_script.delay);
        if (m_script.bSaysNothing) {
            continue;
        }
        if (m_bStop || !reply(request, answer)) {
            break;
        }
        send(socket, answer);
        if (bOneAnswer) {
            break;
        }
    }
    closeSocket(socket);
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_nOpen;
    m_changed.notify_all();
}

bool SimulatedOnvif::readRequest(TestSocket socket, std::string &input, Request &request)
{
    for (;;) {
        const std::size_t end = input.find("\r\n\r\n");
        if (end != std::string::npos) {
            request = {};
            const std::vector<std::string> head = lines(input.substr(0, end));
            request.path = split(head.front(), ' ').at(1);
            for (const std::string &line : head) {
                const std::size_t colon = line.find(':');
                request.headers[lowerCase(line.substr(0, colon))] =
                    colon == std::string::npos ? std::string() : trimmed(line.substr(colon + 1));
            }
            const auto size = static_cast<std::size_t>(leadingNumber(request.headers["content-length"]));
            if (input.size() >= end + 4 + size) {
                request.body = input.substr(end + 4, size);
                input.erase(0, end + 4 + size);
                return true;
            }
        }
        if (!waitReadable(m_time, m_bStop, socket, std::chrono::seconds(1))) {
            if (m_bStop) {
                return false;
            }
            continue;
        }
        char buffer[8192];
        const auto received = recv(socket, buffer, sizeof buffer, 0);
        if (received <= 0) {
            return false;
        }
        input.append(buffer, static_cast<std::size_t>(received));
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_received.append(buffer, static_cast<std::size_t>(received));
    }
}

bool SimulatedOnvif::reply(const Request &request, Reply &reply)
{
    const std::optional<OnvifQuestion> question = readQuestion(request.body);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_operations.push_back(question ? question->operation : "?");
    }
    const std::string path = m_script.redirectsTo.empty() ? "/onvif/device_service" : m_script.redirectsTo;
    const bool bMedia2 = request.path == "/onvif/media2" && m_script.bMedia2;
    const bool bKnown = request.path == path || bMedia2 || (request.path == "/onvif/media" && m_script.bMedia1);
    const std::string type = request.headers.count("content-type") != 0 ? request.headers.at("content-type") : "";
    if (request.path == "/onvif/device_service" && path != request.path) {
        reply = {302, "Location: http://192.0.2.200:" + std::to_string(m_nPort) + path + "\r\n", ""};
    } else if (!bKnown) {
        reply = {404, "", "<html>No such page</html>"};
    } else if (!startsWith(type, "application/soap+xml") || !question) {
        reply = fault("Sender", "WellFormed");
    } else if (bMedia2 && m_script.bMedia2HangsUp) {
        return false;
    } else if (!m_script.rawAnswer.empty() || !m_script.body.empty()) {
        reply = {200, "", m_script.body};
    } else {
        reply = guarded(request, *question);
    }
    return true;
}

SimulatedOnvif::Reply SimulatedOnvif::guarded(const Request &request, const OnvifQuestion &question)
{
    using Credentials = OnvifScript::Credentials;
    const bool bOpen = m_script.credentials == Credentials::None ||
                       (question.operation == "GetSystemDateAndTime" && !m_script.bSecretClock);
    if (!bOpen) {
        const bool bWantsDigest = m_script.credentials == Credentials::Digest ||
                                  m_script.credentials == Credentials::Both ||
                                  (m_script.credentials == Credentials::TokenOrDigest && !question.bToken);
        if (bWantsDigest && m_script.bTokenIsAFault && question.bToken) {
            return fault("Sender", "NotAuthorized");
        }
        if (bWantsDigest && !isDigestRight(request)) {
            return askForDigest();
        }
        if ((m_script.credentials == Credentials::Both || !bWantsDigest) && !isTokenRight(question)) {
            return fault("Sender", "NotAuthorized");
        }
    }
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(m_time.now() - m_begin).count();
    const std::string host = m_script.host.empty() ? "127.0.0.1" : m_script.host;
    const std::string base = "http://" + host + ":" + std::to_string(m_nPort);
    const bool bNewer = question.nameSpace.find("ver20") != std::string::npos;
    const bool bStream = question.operation == "GetStreamUri" &&
                         (question.protocol == "RtspUnicast" || !m_script.bKnowsUnicastOnly || !bNewer);
    if (bNewer && m_script.bMedia2Fails) {
        return fault("Receiver", "ActionNotSupported");
    }
    if (question.operation == "GetSystemDateAndTime") {
        return {200, "", soap(dateAndTime(dateOf(secondsOf(m_script.clock) + passed)))};
    }
    if (question.operation == "GetServices" && m_script.bGetServices) {
        return {200, "", soap(services(m_script, base))};
    }
    if (question.operation == "GetCapabilities") {
        return {200, "", soap(capabilities(base))};
    }
    if (question.operation == "GetProfiles") {
        return {200, "", soap(profiles(m_script, bNewer, question.bTypes || !bNewer))};
    }
    if (question.operation == "GetVideoSources" && !bNewer && !m_script.bNoVideoSources) {
        return {200, "", soap(videoSources(m_script))};
    }
    if (bStream) {
        const bool bKnown =
            std::any_of(m_script.profiles.begin(), m_script.profiles.end(),
                        [&](const OfferedProfile &offered) { return offered.token == question.profile; });
        return bKnown ? Reply{200, "", soap(streamUri(m_script.uri(question.profile), bNewer))}
                      : fault("Sender", "NoProfile");
    }
    return fault("Receiver", "ActionNotSupported");
}

bool SimulatedOnvif::isTokenRight(const OnvifQuestion &question)
{
    Bytes digested = decoded(question.nonce);
    const std::string rest = question.created + kPassword;
    digested.insert(digested.end(), rest.begin(), rest.end());
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(m_time.now() - m_begin).count();
    const long long nNow = secondsOf(m_script.clock) + passed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bFresh = !question.bToken || m_nonces.insert(question.nonce).second;
    const bool bRight = question.bToken && bFresh && question.user == kUser &&
                        decoded(question.digest) == hashOf("SHA160", digested) &&
                        std::llabs(secondsOf(question.created) - nNow) <= kTolerance;
    m_nWrong += question.bToken && !bRight ? 1 : 0;
    return bRight;
}

bool SimulatedOnvif::isDigestRight(const Request &request)
{
    const std::string text = request.headers.count("authorization") != 0 ? request.headers.at("authorization") : "";
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string nonce = "n" + std::to_string(m_nNonce);
    const std::size_t count = text.find("nc=");
    const std::string middle = count == std::string::npos ? std::string() : text.substr(count + 3, 8);
    const std::string expected = md5(md5(std::string(kUser) + ":device:" + kPassword) + ":" + nonce + ":" + middle +
                                     ":" + fieldOf(text, "cnonce") + ":auth:" + md5("POST:" + request.path));
    const bool bNonce = fieldOf(text, "nonce") == nonce;
    const bool bRight = bNonce && fieldOf(text, "uri") == request.path && fieldOf(text, "username") == kUser &&
                        fieldOf(text, "response") == expected;
    m_nWrong += bNonce && !bRight ? 1 : 0;
    m_nNonce += bRight && m_script.bNewNonceEachTime ? 1 : 0;
    return bRight;
}

SimulatedOnvif::Reply SimulatedOnvif::askForDigest()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {401,
            "WWW-Authenticate: Digest realm=\"device\", nonce=\"n" + std::to_string(m_nNonce) +
                "\", qop=\"auth\", algorithm=MD5\r\n",
            ""};
}

SimulatedOnvif::Reply SimulatedOnvif::fault(const std::string &code, const std::string &subcode) const
{
    return {m_script.nFaultStatus, "", soap(soapFault(code, subcode))};
}

void SimulatedOnvif::send(TestSocket socket, const Reply &reply)
{
    std::string text = "HTTP/1.1 " + std::to_string(reply.nStatus) +
                       " Whatever\r\nContent-Type: application/soap+xml; charset=utf-8\r\n" + reply.headers;
    text += m_script.bClosesEachTime ? "Connection: close\r\n" : "";
    if (m_script.bChunked) {
        text += "Transfer-Encoding: chunked\r\n\r\n" + inChunks(reply.body);
    } else {
        text += m_script.bNoLength ? "" : "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
        text += "\r\n" + reply.body;
    }
    text = m_script.rawAnswer.empty() ? text : m_script.rawAnswer;
    // Less than a socket that can be written has room for: a send that waits would hold the tests' time up.
    const std::size_t step = m_script.dripEvery.count() > 0 ? 1 : 4096;
    for (std::size_t at = 0; at < text.size() && !m_bStop;) {
        if (!waitWritable(m_time, m_bStop, socket, std::chrono::seconds(1))) {
            continue;
        }
        const auto sent =
            ::send(socket, text.data() + at, static_cast<int>(std::min(step, text.size() - at)), kSendFlags);
        if (sent <= 0) {
            return;
        }
        at += static_cast<std::size_t>(sent);
        sleep(m_script.dripEvery);
    }
}

void SimulatedOnvif::sleep(Milliseconds duration)
{
    if (duration.count() > 0) {
        (void)m_time.poll(duration, [this](Milliseconds most) {
            std::this_thread::sleep_for(most);
            return m_bStop.load();
        });
    }
}

int SimulatedOnvif::requests(const std::string &operation) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(operation.empty() ? static_cast<std::ptrdiff_t>(m_operations.size())
                                              : std::count(m_operations.begin(), m_operations.end(), operation));
}

int SimulatedOnvif::wrongCredentials() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nWrong;
}

int SimulatedOnvif::connections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nConnections;
}

std::string SimulatedOnvif::received() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_received;
}

} // namespace selvik
