#include "device/src/RtspInput.h"

#include "Selvikdcm.h"
#include "device/src/Resolver.h"
#include "device/src/TcpStream.h"
#include "device/src/Text.h"
#include "device/src/TlsStream.h"

#include <algorithm>
#include <random>

namespace selvik
{

namespace
{

constexpr int maxRedirections = 4;
// A camera that answers is alive even if its pictures are rare; one that does not is lost after the shorter time.
constexpr Milliseconds lossOfLife{4000};
constexpr Milliseconds lossOfMedia{20000};
constexpr Milliseconds questionWhenIdle{1500};
constexpr Milliseconds reportInterval{5000};

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

/** "a-b" behind a name in a Transport header; -1 where a number is missing. */
struct NumberPair {
    int nFirst = -1;
    int nSecond = -1;
};

NumberPair pairOf(const std::string &transport, const std::string &name)
{
    NumberPair pair;
    for (const std::string &part : split(transport, ';')) {
        if (startsWith(lowerCase(part), name + "=")) {
            const std::string value = part.substr(name.size() + 1);
            pair.nFirst = leadingNumber(value);
            const std::size_t dash = value.find('-');
            pair.nSecond = dash == std::string::npos ? pair.nFirst + 1 : leadingNumber(value.substr(dash + 1));
        }
    }
    return pair;
}

/** An empty receiver report: it says no more than that somebody is there. */
Bytes receiverReport(std::uint32_t source)
{
    Bytes report = {0x80, 201, 0, 1, 0, 0, 0, 0};
    write32(report.data() + 4, source);
    return report;
}

} // namespace

RtspInput::RtspInput(Address address) : m_address(std::move(address)) {}

RtspInput::~RtspInput() = default;

void RtspInput::open(const Patience &patience)
{
    connect(patience);
    const Sdp sdp = describe(patience);
    m_aggregate = resolveControl(m_base, sdp.control);
    chooseTracks(sdp);
    setUpAll(patience);
    play(patience);
}

void RtspInput::connect(const Patience &patience)
{
    const std::vector<std::string> hosts = resolveHost(m_address.host(), patience);
    Authenticator authenticator(m_address.credentials());
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        const bool bLast = i + 1 == hosts.size();
        // An address that swallows everything must leave time for the next one.
        const Patience part = bLast ? patience : patience.atMost(Milliseconds(1500));
        const Endpoint remote = {hosts[i], m_address.port()};
        try {
            std::unique_ptr<ByteStream> stream;
            if (m_address.scheme() == Address::Scheme::Rtsps) {
                stream = std::make_unique<TlsStream>(remote, m_address.host(), part);
            } else {
                stream = std::make_unique<TcpStream>(Socket::connectTcp(remote, part));
            }
            m_remoteHost = hosts[i];
            m_connection = std::make_unique<RtspConnection>(std::move(stream), std::move(authenticator));
            return;
        } catch (const Failure &) {
            if (bLast) {
                throw;
            }
        }
    }
}

Sdp RtspInput::describe(const Patience &patience)
{
    for (int nRedirections = 0; nRedirections <= maxRedirections; ++nRedirections) {
        const std::string url = m_address.url();
        // Some cameras do not know even this one, so the answer matters only for what it names.
        const RtspResponse options = m_connection->request("OPTIONS", url, {}, patience);
        m_bGetParameter = false;
        for (const std::string &method : split(options.header("public"), ',')) {
            m_bGetParameter = m_bGetParameter || lowerCase(method) == "get_parameter";
        }
        const RtspResponse response = m_connection->request("DESCRIBE", url, {{"Accept", "application/sdp"}}, patience);
        if (isRedirection(response)) {
            std::optional<Address> target = Address::parse(response.header("location"), m_address.credentials());
            if (!target || !target->isRtsp()) {
                throw Failure(SELVIK_ERROR_CHANNEL);
            }
            m_address = std::move(*target);
            connect(patience);
            continue;
        }
        if (!response.isSuccess()) {
            throw Failure(errorOf(response));
        }
        // Whatever the answer calls its content, and whether it does at all: it is the description.
        m_base = url;
        for (const char *pName : {"content-location", "content-base"}) {
            const std::string base = response.header(pName);
            if (startsWith(lowerCase(base), "rtsp")) {
                m_base = base;
            }
        }
        return Sdp::parse(response.body);
    }
    throw Failure(SELVIK_ERROR_CHANNEL);
}

void RtspInput::chooseTracks(const Sdp &sdp)
{
    for (const SdpMedia::Kind kind : {SdpMedia::Kind::Video, SdpMedia::Kind::Audio, SdpMedia::Kind::Metadata}) {
        for (const SdpMedia &media : sdp.media) {
            if (media.kind != kind) {
                continue;
            }
            Channel channel;
            channel.media = media;
            try {
                channel.track = std::make_unique<RtpTrack>(media);
            } catch (const Failure &) {
                // Not understood; perhaps another medium of its kind is.
                continue;
            }
            m_channels.push_back(std::move(channel));
            break;
        }
    }
    const bool bWatchable = std::any_of(m_channels.begin(), m_channels.end(), [](const Channel &channel) {
        return channel.media.kind != SdpMedia::Kind::Metadata;
    });
    if (!bWatchable) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

void RtspInput::setUpAll(const Patience &patience)
{
    std::vector<Channel> ready;
    std::vector<int> numbers;
    for (Channel &channel : m_channels) {
        const int nIndex = static_cast<int>(ready.size());
        SetupResult result = setUp(channel, m_bDatagrams, nIndex, patience);
        const bool bMayChange = ready.empty() && !m_bDatagrams && m_address.scheme() == Address::Scheme::Rtsp;
        if (result == SetupResult::TransportRefused && bMayChange) {
            m_bDatagrams = true;
            result = setUp(channel, true, nIndex, patience);
        }
        if (result == SetupResult::Done) {
            numbers.push_back(channel.nRtpChannel);
            numbers.push_back(channel.nRtcpChannel);
            ready.push_back(std::move(channel));
        } else if (ready.empty()) {
            // The picture, or where there is none the sound, is what the preview is for.
            throw Failure(SELVIK_ERROR_CHANNEL);
        }
    }
    m_channels = std::move(ready);
    if (!m_bDatagrams) {
        m_connection->setChannels(numbers);
    }
    for (const Channel &channel : m_channels) {
        m_parameters.emplace_back(required(avcodec_parameters_alloc()));
        if (avcodec_parameters_copy(m_parameters.back().get(), &channel.track->parameters()) < 0) {
            throw std::bad_alloc();
        }
    }
    m_timeline = std::make_unique<Timeline>(m_channels.size(), 0);
}

bool RtspInput::bindPair(Channel &channel, bool bIpv6)
{
    // RTP on an even port, its reports on the next one: cameras count on it.
    for (int nAttempt = 0; nAttempt < 50; ++nAttempt) {
        Socket probe = Socket::bindUdp(bIpv6, 0);
        const unsigned short port = probe.isValid() ? probe.localPort() : 0;
        if (port == 0 || port % 2 != 0 || port == 0xFFFF) {
            continue;
        }
        Socket next = Socket::bindUdp(bIpv6, static_cast<unsigned short>(port + 1));
        if (next.isValid()) {
            channel.rtp = std::move(probe);
            channel.rtcp = std::move(next);
            return true;
        }
    }
    return false;
}

RtspInput::SetupResult RtspInput::setUp(Channel &channel, bool bDatagrams, int nIndex, const Patience &patience)
{
    std::string transport;
    if (bDatagrams) {
        if (!bindPair(channel, m_remoteHost.find(':') != std::string::npos)) {
            throw Failure(SELVIK_ERROR_RESOURCES);
        }
        const int nPort = channel.rtp.localPort();
        transport = "RTP/AVP;unicast;client_port=" + std::to_string(nPort) + "-" + std::to_string(nPort + 1);
    } else {
        channel.nRtpChannel = 2 * nIndex;
        channel.nRtcpChannel = 2 * nIndex + 1;
        transport = "RTP/AVP/TCP;unicast;interleaved=" + std::to_string(channel.nRtpChannel) + "-" +
                    std::to_string(channel.nRtcpChannel);
    }
    RtspConnection::Headers headers = sessionHeaders();
    headers.emplace_back("Transport", transport);
    const RtspResponse response =
        m_connection->request("SETUP", resolveControl(m_base, channel.media.control), headers, patience);
    noteSession(response);
    if (!response.isSuccess()) {
        const bool bMissing = response.nStatus == 404 || response.nStatus == 454;
        return bMissing ? SetupResult::Refused : SetupResult::TransportRefused;
    }
    const std::string answer = response.header("transport");
    // A camera that answers with datagrams to a request without them means to refuse.
    if (!bDatagrams && lowerCase(answer).find("interleaved") == std::string::npos &&
        lowerCase(answer).find("port=") != std::string::npos) {
        return SetupResult::TransportRefused;
    }
    readTransport(channel, answer);
    return SetupResult::Done;
}

void RtspInput::readTransport(Channel &channel, const std::string &transport) const
{
    if (channel.rtp.isValid()) {
        const NumberPair ports = pairOf(transport, "server_port");
        if (ports.nSecond > 0 && ports.nSecond <= 0xFFFF) {
            channel.reports = {m_remoteHost, static_cast<unsigned short>(ports.nSecond)};
        }
        return;
    }
    const NumberPair numbers = pairOf(transport, "interleaved");
    if (numbers.nFirst >= 0 && numbers.nFirst <= 255) {
        channel.nRtpChannel = numbers.nFirst;
        channel.nRtcpChannel = numbers.nSecond;
    }
}

void RtspInput::noteSession(const RtspResponse &response)
{
    const std::vector<std::string> parts = split(response.header("session"), ';');
    if (parts.empty()) {
        return;
    }
    // The last one named is the one in force: there are cameras that change it on the way.
    m_session = parts.front();
    for (const std::string &part : parts) {
        if (startsWith(lowerCase(part), "timeout=")) {
            const Milliseconds timeout = std::chrono::seconds(leadingNumber(part.substr(8)));
            m_keepAliveInterval = std::clamp(timeout / 2, Milliseconds(1000), Milliseconds(25000));
        }
    }
}

RtspConnection::Headers RtspInput::sessionHeaders() const
{
    return m_session.empty() ? RtspConnection::Headers() : RtspConnection::Headers{{"Session", m_session}};
}

void RtspInput::play(const Patience &patience)
{
    RtspConnection::Headers headers = sessionHeaders();
    headers.emplace_back("Range", "npt=0.000-");
    m_begin = Clock::now();
    const RtspResponse response = m_connection->request("PLAY", m_aggregate, headers, patience);
    noteSession(response);
    if (!response.isSuccess()) {
        throw Failure(errorOf(response));
    }
    const Clock::time_point now = Clock::now();
    m_lastSign = now;
    m_lastMedia = now;
    m_lastKeepAlive = now;
    m_lastReport = now;
    takePackets();
}

bool RtspInput::next(MediaUnit &unit, const Patience &patience)
{
    while (m_units.empty()) {
        if (patience.isStopped()) {
            throw Stopped();
        }
        if (patience.isOver()) {
            return false;
        }
        keepAlive(patience);
        receive(patience.atMost(Milliseconds(100)));
        takePackets();
        checkLoss();
    }
    unit = std::move(m_units.front());
    m_units.pop_front();
    return true;
}

void RtspInput::keepAlive(const Patience &patience)
{
    const Clock::time_point now = Clock::now();
    const bool bIdle = now - m_lastSign > questionWhenIdle && now - m_lastKeepAlive > questionWhenIdle;
    if (bIdle || now - m_lastKeepAlive > m_keepAliveInterval) {
        m_lastKeepAlive = now;
        // A camera that reads nothing any more must not hold this thread up.
        m_connection->send(m_bGetParameter ? "GET_PARAMETER" : "OPTIONS", m_aggregate, sessionHeaders(),
                           patience.atMost(Milliseconds(500)));
    }
    if (now - m_lastReport > reportInterval) {
        m_lastReport = now;
        sendReports(patience.atMost(Milliseconds(500)));
    }
}

void RtspInput::sendReports(const Patience &patience)
{
    const Bytes report = receiverReport(0x53454C56);
    for (Channel &channel : m_channels) {
        if (!m_bDatagrams) {
            m_connection->sendPacket(channel.nRtcpChannel, report, patience);
        } else if (channel.reports.port != 0) {
            channel.rtcp.sendTo(channel.reports, report);
        }
    }
}

void RtspInput::receive(const Patience &patience)
{
    if (m_bDatagrams) {
        receiveDatagrams(patience);
    } else if (m_connection->poll(patience)) {
        m_lastSign = Clock::now();
    }
    const int nStatus = m_connection->takeStatus();
    if (nStatus == 405 || nStatus == 501 || nStatus == 551) {
        // It names the method and does not know it.
        m_bGetParameter = false;
    } else if (nStatus == 454) {
        // The session is over on the camera's side.
        throw Failure(SELVIK_ERROR_HOST);
    }
}

void RtspInput::receiveDatagrams(const Patience &patience)
{
    std::vector<const Socket *> sockets;
    for (const Channel &channel : m_channels) {
        sockets.push_back(&channel.rtp);
        sockets.push_back(&channel.rtcp);
    }
    sockets.push_back(m_connection->socket());
    if (Socket::waitReadable(sockets, patience.slice())) {
        if (m_connection->pollNow(patience)) {
            m_lastSign = Clock::now();
        }
    }
    // Also without news: a packet may have been waited for in vain.
    for (Channel &channel : m_channels) {
        drainDatagrams(channel);
    }
}

void RtspInput::drainDatagrams(Channel &channel)
{
    Bytes buffer(0x10000);
    const Clock::time_point now = Clock::now();
    while (const std::size_t size = channel.rtp.receive(buffer.data(), buffer.size())) {
        noteMedia();
        const auto end = buffer.begin() + static_cast<std::ptrdiff_t>(size);
        channel.reorder.push(Bytes(buffer.begin(), end), now);
    }
    while (const std::size_t size = channel.rtcp.receive(buffer.data(), buffer.size())) {
        m_lastSign = now;
        channel.track->feedReport({buffer.data(), size});
    }
    while (const std::optional<Bytes> packet = channel.reorder.pop(now)) {
        collect(channel, {packet->data(), packet->size()});
    }
}

void RtspInput::takePackets()
{
    InterleavedPacket packet;
    while (m_connection->takePacket(packet)) {
        const ByteView view = {packet.data.data(), packet.data.size()};
        for (Channel &channel : m_channels) {
            if (packet.nChannel == channel.nRtpChannel) {
                noteMedia();
                collect(channel, view);
            } else if (packet.nChannel == channel.nRtcpChannel) {
                channel.track->feedReport(view);
            }
        }
    }
}

void RtspInput::noteMedia()
{
    m_lastMedia = Clock::now();
    m_lastSign = m_lastMedia;
}

void RtspInput::checkLoss() const
{
    const Clock::time_point now = Clock::now();
    if (now - m_lastSign > lossOfLife || now - m_lastMedia > lossOfMedia) {
        throw Failure(SELVIK_ERROR_TIMEOUT);
    }
}

void RtspInput::collect(Channel &channel, ByteView packet)
{
    std::vector<MediaUnit> units;
    channel.track->feed(packet, units);
    const auto arrival = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - m_begin).count();
    for (MediaUnit &unit : units) {
        unit.track = static_cast<std::size_t>(&channel - m_channels.data());
        m_timeline->place(unit, arrival);
        m_units.push_back(std::move(unit));
    }
}

void RtspInput::close(const Patience &patience) noexcept
{
    if (m_connection == nullptr || m_session.empty()) {
        return;
    }
    try {
        // The answer is waited for, shortly: there are cameras that drop the request with the connection.
        (void)m_connection->request("TEARDOWN", m_aggregate, sessionHeaders(), patience);
    } catch (...) {
        // It is gone already.
        return;
    }
}

} // namespace selvik
