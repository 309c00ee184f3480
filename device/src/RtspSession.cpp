#include "device/src/RtspSession.h"

#include "Selvikdcm.h"
#include "device/src/HttpTunnel.h"
#include "device/src/Resolver.h"
#include "device/src/RtspTcpStream.h"
#include "device/src/Text.h"
#include "device/src/TlsStream.h"

#include <algorithm>

namespace selvik
{

namespace
{

constexpr int kMaxRedirections = 4;
// A host of several addresses: one that never answers must leave time for the next one.
constexpr Milliseconds kTimeForOneAddress{1500};

unsigned long errorOf(const RtspResponse &response)
{
    switch (response.nStatus) {
    case 408:
    case 504:
        return SELVIK_ERROR_TIMEOUT;
    case 406:
    case 415:
        return SELVIK_ERROR_MEDIA;
    case 453:
    case 503:
        return SELVIK_ERROR_RESOURCES;
    default:
        return response.nStatus >= 500 ? SELVIK_ERROR_HOST : SELVIK_ERROR_CHANNEL;
    }
}

bool isRedirection(const RtspResponse &response)
{
    return response.nStatus >= 300 && response.nStatus < 400 && !response.header("location").empty();
}

/** What the controls of a description are relative to. */
std::string baseOf(const RtspResponse &response, const std::string &url)
{
    for (const char *pName : {"content-base", "content-location"}) {
        std::string base = response.header(pName);
        if (startsWith(lowerCase(base), "rtsp")) {
            return base;
        }
    }
    return url;
}

} // namespace

RtspSession::RtspSession(Address address, RtspWay way) : m_address(std::move(address)), m_way(way) {}

void RtspSession::connect(const Patience &patience)
{
    const std::vector<std::string> hosts = resolveHost(m_address.host(), patience);
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        const bool bLast = i + 1 == hosts.size();
        const Patience part = bLast ? patience : patience.atMost(kTimeForOneAddress);
        const Endpoint remote = {hosts[i], m_address.port()};
        try {
            std::unique_ptr<ByteStream> stream;
            if (m_way == RtspWay::Tunnelled) {
                stream = std::make_unique<HttpTunnel>(m_address.asHttp(), part);
            } else if (isEncrypted()) {
                stream = std::make_unique<TlsStream>(remote, m_address.host(), part);
            } else {
                stream = std::make_unique<RtspTcpStream>(Socket::connectTcp(remote, part));
            }
            m_remoteHost = hosts[i];
            m_connection = std::make_unique<RtspConnection>(std::move(stream), Authenticator(m_address.credentials()));
            return;
        } catch (const Failure &) {
            if (bLast) {
                throw;
            }
        }
    }
}

Sdp RtspSession::describe(const Patience &patience)
{
    connect(patience);
    for (int nRedirections = 0; nRedirections <= kMaxRedirections; ++nRedirections) {
        const std::string url = m_address.url();
        askForMethods(url, patience);
        const RtspResponse response = m_connection->request("DESCRIBE", url, {{"Accept", "application/sdp"}}, patience);
        if (isRedirection(response)) {
            redirect(response, patience);
            continue;
        }
        if (!response.isSuccess()) {
            throw Failure(errorOf(response));
        }
        m_base = baseOf(response, url);
        // The body is taken for a description whatever Content-Type says: cameras leave it out or name another type.
        Sdp sdp = Sdp::parse(response.body);
        m_aggregate = resolveControl(m_base, sdp.control);
        return sdp;
    }
    throw Failure(SELVIK_ERROR_CHANNEL);
}

void RtspSession::askForMethods(const std::string &url, const Patience &patience)
{
    // Some cameras do not know OPTIONS: the status does not matter, only the methods that the answer names.
    const RtspResponse options = m_connection->request("OPTIONS", url, {}, patience);
    const std::vector<std::string> methods = split(options.header("public"), ',');
    m_bGetParameter = std::any_of(methods.begin(), methods.end(),
                                  [](const std::string &method) { return lowerCase(method) == "get_parameter"; });
}

void RtspSession::redirect(const RtspResponse &response, const Patience &patience)
{
    std::optional<Address> target = Address::parse(response.header("location"), m_address.credentials());
    if (!target || !target->isRtsp()) {
        throw Failure(SELVIK_ERROR_CHANNEL);
    }
    m_address = std::move(*target);
    connect(patience);
}

RtspResponse RtspSession::setUp(const std::string &control, const std::string &transport, const Patience &patience)
{
    RtspConnection::Headers headers = sessionHeaders();
    headers.emplace_back("Transport", transport);
    RtspResponse response = m_connection->request("SETUP", resolveControl(m_base, control), headers, patience);
    noteSession(response);
    return response;
}

void RtspSession::play(const Patience &patience)
{
    RtspConnection::Headers headers = sessionHeaders();
    headers.emplace_back("Range", "npt=0.000-");
    const RtspResponse response = m_connection->request("PLAY", m_aggregate, headers, patience);
    noteSession(response);
    if (!response.isSuccess()) {
        throw Failure(errorOf(response));
    }
}

void RtspSession::noteSession(const RtspResponse &response)
{
    const std::vector<std::string> parts = split(response.header("session"), ';');
    if (parts.empty()) {
        return;
    }
    // Some cameras change the session's name in a later answer: the last name is the one that they accept.
    m_session = parts.front();
    for (const std::string &part : parts) {
        if (startsWith(lowerCase(part), "timeout=")) {
            const Milliseconds timeout = std::chrono::seconds(leadingNumber(part.substr(8)));
            m_keepAliveInterval = std::clamp(timeout / 2, Milliseconds(1000), Milliseconds(25000));
        }
    }
}

RtspConnection::Headers RtspSession::sessionHeaders() const
{
    return m_session.empty() ? RtspConnection::Headers() : RtspConnection::Headers{{"Session", m_session}};
}

void RtspSession::keepAlive(const Patience &patience)
{
    m_connection->send(m_bGetParameter ? "GET_PARAMETER" : "OPTIONS", m_aggregate, sessionHeaders(), patience);
}

void RtspSession::checkAnswers()
{
    const int nStatus = m_connection->takeStatus();
    if (nStatus == 405 || nStatus == 501 || nStatus == 551) {
        // The camera names GET_PARAMETER among its methods, but does not know it.
        m_bGetParameter = false;
    } else if (nStatus == 454) {
        // The camera has ended the session.
        throw Failure(SELVIK_ERROR_HOST);
    }
}

void RtspSession::tearDown(const Patience &patience) noexcept
{
    if (m_connection == nullptr || m_session.empty()) {
        return;
    }
    try {
        // Waits for the answer: some cameras ignore the request when the connection closes right behind it.
        (void)m_connection->request("TEARDOWN", m_aggregate, sessionHeaders(), patience);
    } catch (...) {
        // The connection is broken already, and the camera's session with it.
        return;
    }
}

} // namespace selvik
