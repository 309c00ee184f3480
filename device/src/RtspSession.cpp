#include "device/src/RtspSession.h"

#include "Selvikdcm.h"
#include "device/src/ConnectTo.h"
#include "device/src/HttpNoticingStream.h"
#include "device/src/HttpTunnel.h"
#include "device/src/Location.h"
#include "device/src/Text.h"

#include <algorithm>

namespace selvik
{

namespace
{

constexpr int kMaxRedirections = 4;
// How long a camera may take to answer a client that it has sent elsewhere.
constexpr Milliseconds kTimeToLeave{300};

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

RtspSession::RtspSession(Address address, RtspWay way) : m_login(address), m_address(std::move(address)), m_way(way) {}

unsigned long RtspSession::errorOf(const RtspResponse &response)
{
    switch (response.nStatus) {
    case 401:
    case 403:
        return SELVIK_ERROR_REFUSED;
    case 408:
        return SELVIK_ERROR_TIMEOUT;
    case 406:
    case 415:
    case 461:
        return SELVIK_ERROR_MEDIA;
    case 453:
    case 503:
        return SELVIK_ERROR_RESOURCES;
    default:
        return response.nStatus >= 500 ? SELVIK_ERROR_HOST : SELVIK_ERROR_CHANNEL;
    }
}

void RtspSession::connect(const Patience &patience)
{
    std::unique_ptr<ByteStream> stream = open(patience);
    if (m_loginRemote.empty()) {
        m_loginRemote = m_remoteHost;
    }
    m_connection = std::make_unique<RtspConnection>(std::move(stream), Authenticator(m_address.credentials()),
                                                    [this](const Patience &again) { return open(again); });
}

std::unique_ptr<ByteStream> RtspSession::open(const Patience &patience)
{
    if (m_way == RtspWay::Tunnelled) {
        auto tunnel = std::make_unique<HttpTunnel>(m_address.asHttp(), patience);
        m_remoteHost = tunnel->remoteHost();
        return tunnel;
    }
    Connected connected = connectTo(m_address.host(), m_address.port(), isEncrypted(), patience);
    m_remoteHost = connected.remoteHost;
    if (isEncrypted()) {
        return std::move(connected.stream);
    }
    return std::make_unique<HttpNoticingStream>(std::move(connected.stream));
}

Sdp RtspSession::describe(const Patience &patience)
{
    if (m_connection == nullptr) {
        connect(patience);
    }
    for (;;) {
        const std::string url = m_address.url();
        askForMethods(url, patience);
        const RtspResponse response = m_connection->request("DESCRIBE", url, {{"Accept", "application/sdp"}}, patience);
        if (response.isRedirection()) {
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
}

void RtspSession::askForMethods(const std::string &url, const Patience &patience)
{
    // Some cameras do not know OPTIONS: the status does not matter, only the methods that the answer names.
    const RtspResponse options = m_connection->request("OPTIONS", url, {}, patience);
    const std::vector<std::string> methods = split(lowerCase(options.header("public")), ',');
    const auto offers = [&](const char *pMethod) {
        return std::find(methods.begin(), methods.end(), pMethod) != methods.end();
    };
    m_keepAlive = offers("get_parameter") ? "GET_PARAMETER" : offers("set_parameter") ? "SET_PARAMETER" : "OPTIONS";
}

void RtspSession::redirect(const RtspResponse &response, const Patience &patience)
{
    const std::optional<Address> target =
        resolveLocation(m_login, m_loginRemote, m_address, response.header("location"));
    if (!target || ++m_nRedirections > kMaxRedirections) {
        throw Failure(SELVIK_ERROR_CHANNEL);
    }
    // What was set up here is of no more use.
    tearDown(patience.atMost(kTimeToLeave));
    m_session.clear();
    m_address = *target;
    connect(patience);
}

RtspResponse RtspSession::setUp(const std::string &control, const std::string &transport, const Patience &patience)
{
    RtspConnection::Headers headers = sessionHeaders();
    headers.emplace_back("Transport", transport);
    RtspResponse response = m_connection->request("SETUP", resolveControl(m_base, control), headers, patience);
    if (response.isRedirection()) {
        redirect(response, patience);
        throw Redirected();
    }
    noteSession(response);
    return response;
}

void RtspSession::play(const Patience &patience)
{
    RtspConnection::Headers headers = sessionHeaders();
    headers.emplace_back("Range", "npt=0.000-");
    const RtspResponse response = m_connection->request("PLAY", m_aggregate, headers, patience);
    if (response.isRedirection()) {
        redirect(response, patience);
        throw Redirected();
    }
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
    m_bRepeated = false;
    sendKeepAlive(patience);
}

void RtspSession::sendKeepAlive(const Patience &patience)
{
    m_connection->send(m_keepAlive, m_aggregate, sessionHeaders(), patience);
}

void RtspSession::checkAnswers(const Patience &patience)
{
    const std::optional<RtspResponse> answer = m_connection->takeAnswer();
    if (!answer || answer->nStatus < 400) {
        return;
    }
    if (answer->nStatus == 454) {
        // The camera has ended the session.
        throw Failure(SELVIK_ERROR_HOST);
    }
    if (answer->nStatus != 401) {
        // The camera names the method among those that it knows, and refuses it.
        m_keepAlive = "OPTIONS";
    } else if (!m_bRepeated && m_connection->takeChallenge(*answer)) {
        m_bRepeated = true;
        sendKeepAlive(patience);
    }
}

void RtspSession::tearDown(const Patience &patience) noexcept
{
    if (m_connection == nullptr || m_session.empty() || m_connection->isEnded()) {
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
