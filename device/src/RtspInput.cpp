#include "device/src/RtspInput.h"

#include "Selvikdcm.h"
#include "device/src/DatagramPorts.h"
#include "device/src/Notice.h"
#include "device/src/Text.h"

#include <algorithm>

namespace selvik
{

namespace
{

// After so long without anything from the camera it is asked whether it is there.
constexpr Milliseconds kIdleLimit{1500};
constexpr Milliseconds kReportInterval{5000};
// Sending must not hold the receiving thread up when the camera does not read any more.
constexpr Milliseconds kSendLimit{500};
// How often the reordering of datagrams is asked whether it gives a missing packet up.
constexpr Milliseconds kReorderInterval{30};
// Larger than any datagram, and how many are read of one socket before the others have their turn.
constexpr std::size_t kMaxDatagram = 0x10000;
constexpr int kDatagramsInTurn = 256;
// Until the first media come, whatever stands in the datagrams' way is told so often that they are wanted.
constexpr Milliseconds kPunchInterval{500};
constexpr int kMaxPunches = 12;
// By which the camera knows this receiver.
constexpr std::uint32_t kOwnSource = 0x53454C56;

/** An RTCP receiver report without report blocks. It tells the camera only that there is a receiver. */
Bytes receiverReport(std::uint32_t source)
{
    Bytes report = {0x80, 201, 0, 1, 0, 0, 0, 0};
    write32(report.data() + 4, source);
    return report;
}

/** An RTP packet of which there is only the head: for routers on the way, which let in what answers it. */
Bytes emptyPacket(std::uint32_t source)
{
    Bytes packet(12);
    packet[0] = 0x80;
    write32(packet.data() + 8, source);
    return packet;
}

/** A coding's name as it may stand in a line of text. */
std::string printable(const SdpMedia &media)
{
    constexpr std::size_t kLongest = 32;
    std::string name = media.encoding.empty() ? "payload type " + std::to_string(media.nPayloadType) : media.encoding;
    name.resize(std::min(name.size(), kLongest));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return name;
}

} // namespace

RtspInput::RtspInput(Address address, TimeSource &time, RtspWay way)
    : m_time(time), m_way(way), m_session(std::move(address), way), m_bDatagrams(way == RtspWay::Multicast)
{
}

RtspInput::~RtspInput() = default;

void RtspInput::open(const Patience &patience)
{
    for (bool bPlays = false; !bPlays;) {
        try {
            chooseTracks(m_session.describe(patience));
            setUpAll(patience);
            m_begin = m_time.now();
            punch();
            m_session.play(patience);
            bPlays = true;
        } catch (const Redirected &) {
            // What was asked for here has to be asked for there. The session bounds how often.
            m_channels.clear();
            m_parameters.clear();
            m_bDatagrams = m_way == RtspWay::Multicast;
        }
    }
    punch();
    const Clock::time_point now = m_time.now();
    m_lastSign = now;
    m_lastKeepAlive = now;
    m_lastReport = now;
    takePackets();
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
                // A description may offer the same picture in several codings.
                notice("The camera's " + printable(media) + " cannot be carried. It is left out.");
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
        const bool bMayChange = ready.empty() && !m_bDatagrams && !m_session.isEncrypted();
        if (result == SetupResult::TransportRefused && bMayChange) {
            m_bDatagrams = true;
            result = setUp(channel, true, nIndex, patience);
        }
        if (result == SetupResult::Done) {
            numbers.push_back(channel.nRtpChannel);
            numbers.push_back(channel.nRtcpChannel);
            ready.push_back(std::move(channel));
        } else if (ready.empty()) {
            // Without its first track, the picture or else the sound, there is nothing to preview.
            // The camera may take another way than the direct one, where it is the transport that it minds.
            if (m_setupError == SELVIK_ERROR_MEDIA && m_way == RtspWay::Direct) {
                throw OtherWay(RtspWay::Multicast);
            }
            throw Failure(m_setupError);
        }
    }
    m_channels = std::move(ready);
    if (!m_bDatagrams) {
        m_session.connection().setChannels(numbers);
    }
    for (const Channel &channel : m_channels) {
        m_parameters.emplace_back(required(avcodec_parameters_alloc()));
        if (avcodec_parameters_copy(m_parameters.back().get(), &channel.track->parameters()) < 0) {
            throw std::bad_alloc();
        }
    }
    m_timeline = std::make_unique<Timeline>(m_channels.size(), 0);
    shareChannels();
}

void RtspInput::shareChannels()
{
    for (const Channel &one : m_channels) {
        for (Channel &other : m_channels) {
            if (!m_bDatagrams && &one != &other && one.nRtpChannel == other.nRtpChannel) {
                other.track->shareChannel();
            }
        }
    }
}

void RtspInput::punch()
{
    for (Channel &channel : m_channels) {
        if (channel.bHeard) {
            continue;
        }
        if (channel.sender.port != 0) {
            channel.rtp.sendTo(channel.sender, emptyPacket(kOwnSource));
        }
        if (channel.reports.port != 0) {
            channel.rtcp.sendTo(channel.reports, receiverReport(kOwnSource));
        }
    }
    m_lastPunch = m_time.now();
    ++m_nPunches;
}

RtspInput::SetupResult RtspInput::setUp(Channel &channel, bool bDatagrams, int nIndex, const Patience &patience)
{
    std::string transport = "RTP/AVP;multicast";
    if (m_way == RtspWay::Multicast) {
        // The camera names group and ports.
    } else if (bDatagrams) {
        DatagramPorts ports = DatagramPorts::bind(m_session.remoteHost().find(':') != std::string::npos);
        channel.rtp = std::move(ports.rtp);
        channel.rtcp = std::move(ports.rtcp);
        channel.track->useDatagrams();
        const int nPort = channel.rtp.localPort();
        transport = "RTP/AVP;unicast;client_port=" + std::to_string(nPort) + "-" + std::to_string(nPort + 1);
    } else {
        channel.nRtpChannel = 2 * nIndex;
        channel.nRtcpChannel = 2 * nIndex + 1;
        transport = "RTP/AVP/TCP;unicast;interleaved=" + std::to_string(channel.nRtpChannel) + "-" +
                    std::to_string(channel.nRtcpChannel);
    }
    const RtspResponse response = m_session.setUp(channel.media.control, transport, patience);
    if (!response.isSuccess()) {
        m_setupError = RtspSession::errorOf(response);
        // Whatever else is refused may be refused for the transport's sake: cameras name odd reasons for that.
        const int nStatus = response.nStatus;
        const bool bFinal = nStatus == 404 || nStatus == 454 || nStatus == 453 || nStatus == 503;
        return bFinal ? SetupResult::Refused : SetupResult::TransportRefused;
    }
    const std::string answer = response.header("transport");
    // Some cameras do not refuse interleaved media, but answer with the ports of datagrams.
    m_setupError = SELVIK_ERROR_MEDIA;
    if (!bDatagrams && lowerCase(answer).find("interleaved") == std::string::npos &&
        lowerCase(answer).find("port=") != std::string::npos) {
        return SetupResult::TransportRefused;
    }
    const Transport said = Transport::parse(answer);
    if (m_way == RtspWay::Multicast && !joinGroup(channel, said)) {
        return SetupResult::TransportRefused;
    }
    readTransport(channel, said);
    return SetupResult::Done;
}

bool RtspInput::joinGroup(Channel &channel, const Transport &transport) const
{
    const unsigned short media = Transport::serverPort(transport.groupPorts.nFirst);
    const unsigned short reports = Transport::serverPort(transport.groupPorts.nSecond);
    if (media == 0 || reports == 0) {
        return false;
    }
    channel.track->useDatagrams();
    channel.rtp = Socket::joinGroup({transport.group, media}, m_session.remoteHost());
    channel.rtcp = Socket::joinGroup({transport.group, reports}, m_session.remoteHost());
    return channel.rtp.isValid() && channel.rtcp.isValid();
}

void RtspInput::readTransport(Channel &channel, const Transport &transport) const
{
    if (transport.source) {
        channel.track->expectSource(*transport.source);
    }
    if (!channel.rtp.isValid()) {
        if (transport.interleaved.nFirst >= 0 && transport.interleaved.nFirst <= 255) {
            channel.nRtpChannel = transport.interleaved.nFirst;
            channel.nRtcpChannel = transport.interleaved.nSecond;
        }
        return;
    }
    // Recorders let another machine send. An address of the other family cannot be met on these sockets.
    const std::string &remote = m_session.remoteHost();
    const bool bIpv6 = remote.find(':') != std::string::npos;
    const bool bOther = !transport.host.empty() && (transport.host.find(':') != std::string::npos) == bIpv6;
    const std::string &host = bOther ? transport.host : remote;
    for (SenderFilter *pSender : {&channel.mediaSender, &channel.reportSender}) {
        pSender->allow(remote);
        pSender->allow(host);
    }
    channel.sender = {host, transport.serverPort(transport.ports.nFirst)};
    channel.reports = {host, transport.serverPort(transport.ports.nSecond)};
    channel.mediaSender.expectPort(channel.sender.port);
    channel.reportSender.expectPort(channel.reports.port);
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
        if (isOver()) {
            throw Failure(SELVIK_ERROR_HOST);
        }
    }
    unit = std::move(m_units.front());
    m_units.pop_front();
    return true;
}

void RtspInput::keepAlive(const Patience &patience)
{
    const Clock::time_point now = m_time.now();
    const bool bIdle = now - m_lastSign > kIdleLimit && now - m_lastKeepAlive > kIdleLimit;
    if (bIdle || now - m_lastKeepAlive > m_session.keepAliveInterval()) {
        m_lastKeepAlive = now;
        m_session.keepAlive(patience.atMost(kSendLimit));
    }
    if (now - m_lastReport > kReportInterval) {
        m_lastReport = now;
        sendReports(patience.atMost(kSendLimit));
    }
}

void RtspInput::sendReports(const Patience &patience)
{
    const Bytes report = receiverReport(kOwnSource);
    for (Channel &channel : m_channels) {
        if (!m_bDatagrams) {
            m_session.connection().sendPacket(channel.nRtcpChannel, report, patience);
        } else if (channel.reports.port != 0) {
            channel.rtcp.sendTo(channel.reports, report);
        }
    }
}

void RtspInput::receive(const Patience &patience)
{
    if (m_bDatagrams) {
        receiveDatagrams(patience);
    } else if (m_session.connection().poll(patience)) {
        m_lastSign = m_time.now();
    }
    m_session.checkAnswers(patience.fresh(kSendLimit));
}

void RtspInput::receiveDatagrams(const Patience &patience)
{
    std::vector<const Socket *> sockets;
    for (const Channel &channel : m_channels) {
        sockets.push_back(&channel.rtp);
        sockets.push_back(&channel.rtcp);
    }
    sockets.push_back(m_session.connection().socket());
    if (Socket::waitReadable(sockets, patience.atMost(kReorderInterval)) && m_session.connection().pollNow(patience)) {
        m_lastSign = m_time.now();
    }
    if (m_nPunches < kMaxPunches && m_time.now() - m_lastPunch >= kPunchInterval) {
        punch();
    }
    // Also when nothing came: the reordering may have waited long enough for a missing packet.
    for (Channel &channel : m_channels) {
        drainDatagrams(channel, patience);
    }
}

void RtspInput::drainDatagrams(Channel &channel, const Patience &patience)
{
    m_datagram.resize(kMaxDatagram);
    const Clock::time_point now = m_time.now();
    Endpoint from;
    // A flood from somewhere must not hold up the other sockets, nor a log-out.
    for (int i = 0; i < kDatagramsInTurn && !patience.isStopped(); ++i) {
        const std::size_t size = channel.rtp.receiveFrom(m_datagram.data(), m_datagram.size(), from);
        if (size == 0) {
            break;
        }
        if (channel.mediaSender.accepts(from, now)) {
            collect(channel, {m_datagram.data(), size});
        }
    }
    for (int i = 0; i < kDatagramsInTurn && !patience.isStopped(); ++i) {
        const std::size_t size = channel.rtcp.receiveFrom(m_datagram.data(), m_datagram.size(), from);
        if (size == 0) {
            break;
        }
        if (channel.reportSender.accepts(from, now)) {
            m_lastSign = now;
            channel.track->feedReport({m_datagram.data(), size});
        }
    }
    std::vector<MediaUnit> units;
    channel.track->wait(now, units);
    place(channel, units);
}

void RtspInput::takePackets()
{
    InterleavedPacket packet;
    while (m_session.connection().takePacket(packet)) {
        for (Channel &channel : m_channels) {
            if (packet.nChannel == channel.nRtpChannel) {
                m_lastSign = m_time.now();
                collect(channel, packet.data);
            } else if (packet.nChannel == channel.nRtcpChannel) {
                channel.track->feedReport(packet.data);
            }
        }
    }
}

bool RtspInput::isOver() const
{
    const Channel &first = m_channels.front();
    // What was sent before is handed out; a sound that goes on does not keep the connection.
    const bool bPictures =
        std::any_of(m_units.begin(), m_units.end(), [](const MediaUnit &unit) { return unit.track == 0; });
    return first.media.kind == SdpMedia::Kind::Video && first.track->hasEnded() && !bPictures;
}

void RtspInput::collect(Channel &channel, ByteView packet)
{
    if (channel.bLeftOut) {
        return;
    }
    std::vector<MediaUnit> units;
    try {
        if (channel.track->feed(packet, m_time.now(), units)) {
            channel.bHeard = true;
            m_lastSign = m_time.now();
        }
    } catch (const Failure &failure) {
        leaveOut(channel, failure);
        return;
    }
    place(channel, units);
}

void RtspInput::leaveOut(Channel &channel, const Failure &failure) const
{
    const bool bAnother = std::any_of(m_channels.begin(), m_channels.end(), [&channel](const Channel &other) {
        return &other != &channel && !other.bLeftOut && other.media.kind != SdpMedia::Kind::Metadata;
    });
    if (failure.error() != SELVIK_ERROR_MEDIA || !bAnother) {
        throw failure;
    }
    channel.bLeftOut = true;
}

void RtspInput::place(Channel &channel, std::vector<MediaUnit> &units)
{
    const auto arrival = std::chrono::duration_cast<std::chrono::microseconds>(m_time.now() - m_begin).count();
    for (MediaUnit &unit : units) {
        unit.track = static_cast<std::size_t>(&channel - m_channels.data());
        m_timeline->place(unit, arrival);
        m_units.push_back(std::move(unit));
    }
}

void RtspInput::close(const Patience &patience) noexcept
{
    m_session.tearDown(patience);
}

} // namespace selvik
