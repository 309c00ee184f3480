#include "device/src/RtspInput.h"

#include "Selvikdcm.h"
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

/** The "a-b" of a Transport header's "name=a-b"; -1 where a number is missing. */
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

/** An RTCP receiver report without report blocks. It tells the camera only that there is a receiver. */
Bytes receiverReport(std::uint32_t source)
{
    Bytes report = {0x80, 201, 0, 1, 0, 0, 0, 0};
    write32(report.data() + 4, source);
    return report;
}

} // namespace

RtspInput::RtspInput(Address address, TimeSource &time, RtspWay way)
    : m_time(time), m_way(way), m_session(std::move(address), way), m_bDatagrams(way == RtspWay::Multicast)
{
}

RtspInput::~RtspInput() = default;

void RtspInput::open(const Patience &patience)
{
    chooseTracks(m_session.describe(patience));
    setUpAll(patience);
    m_begin = m_time.now();
    m_session.play(patience);
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
                // No coding that can be carried. A description may offer the same picture in several codings.
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
            if (result == SetupResult::TransportRefused && m_way == RtspWay::Direct) {
                throw OtherWay(RtspWay::Multicast);
            }
            throw Failure(result == SetupResult::TransportRefused ? SELVIK_ERROR_MEDIA : SELVIK_ERROR_CHANNEL);
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
}

bool RtspInput::bindPair(Channel &channel, bool bIpv6)
{
    // RTP gets an even port and RTCP the next one. Cameras rely on that, whatever numbers they are told.
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
    std::string transport = "RTP/AVP;multicast";
    if (m_way == RtspWay::Multicast) {
        // The camera names group and ports.
    } else if (bDatagrams) {
        if (!bindPair(channel, m_session.remoteHost().find(':') != std::string::npos)) {
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
    const RtspResponse response = m_session.setUp(channel.media.control, transport, patience);
    if (!response.isSuccess()) {
        const bool bMissing = response.nStatus == 404 || response.nStatus == 454;
        return bMissing ? SetupResult::Refused : SetupResult::TransportRefused;
    }
    const std::string answer = response.header("transport");
    // Some cameras do not refuse interleaved media, but answer with the ports of datagrams.
    if (!bDatagrams && lowerCase(answer).find("interleaved") == std::string::npos &&
        lowerCase(answer).find("port=") != std::string::npos) {
        return SetupResult::TransportRefused;
    }
    if (m_way == RtspWay::Multicast) {
        return joinGroup(channel, answer) ? SetupResult::Done : SetupResult::TransportRefused;
    }
    readTransport(channel, answer);
    return SetupResult::Done;
}

bool RtspInput::joinGroup(Channel &channel, const std::string &transport) const
{
    std::string group;
    for (const std::string &part : split(transport, ';')) {
        if (startsWith(lowerCase(part), "destination=")) {
            group = part.substr(part.find('=') + 1);
        }
    }
    const NumberPair ports = pairOf(transport, "port");
    if (ports.nFirst <= 0 || ports.nFirst > 0xFFFF || ports.nSecond <= 0 || ports.nSecond > 0xFFFF) {
        return false;
    }
    channel.rtp = Socket::joinGroup({group, static_cast<unsigned short>(ports.nFirst)}, m_session.remoteHost());
    channel.rtcp = Socket::joinGroup({group, static_cast<unsigned short>(ports.nSecond)}, m_session.remoteHost());
    return channel.rtp.isValid() && channel.rtcp.isValid();
}

void RtspInput::readTransport(Channel &channel, const std::string &transport) const
{
    if (channel.rtp.isValid()) {
        const NumberPair ports = pairOf(transport, "server_port");
        if (ports.nSecond > 0 && ports.nSecond <= 0xFFFF) {
            channel.reports = {m_session.remoteHost(), static_cast<unsigned short>(ports.nSecond)};
        }
        return;
    }
    const NumberPair numbers = pairOf(transport, "interleaved");
    if (numbers.nFirst >= 0 && numbers.nFirst <= 255) {
        channel.nRtpChannel = numbers.nFirst;
        channel.nRtcpChannel = numbers.nSecond;
    }
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
    const Bytes report = receiverReport(0x53454C56);
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
    m_session.checkAnswers();
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
    // Also when nothing came: the reordering may have waited long enough for a missing packet.
    for (Channel &channel : m_channels) {
        drainDatagrams(channel);
    }
}

void RtspInput::drainDatagrams(Channel &channel)
{
    Bytes buffer(0x10000);
    const Clock::time_point now = m_time.now();
    while (const std::size_t size = channel.rtp.receive(buffer.data(), buffer.size())) {
        m_lastSign = now;
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
    while (m_session.connection().takePacket(packet)) {
        const ByteView view = {packet.data.data(), packet.data.size()};
        for (Channel &channel : m_channels) {
            if (packet.nChannel == channel.nRtpChannel) {
                m_lastSign = m_time.now();
                collect(channel, view);
            } else if (packet.nChannel == channel.nRtcpChannel) {
                channel.track->feedReport(view);
            }
        }
    }
}

void RtspInput::collect(Channel &channel, ByteView packet)
{
    std::vector<MediaUnit> units;
    channel.track->feed(packet, units);
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
