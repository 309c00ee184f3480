#include "device/tests/CameraSender.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/base64.h>
}

namespace selvik
{

namespace
{

constexpr int kVideoType = 96;
constexpr int kMetadataType = 107;
constexpr std::uint32_t kVideoStart = 0xFFFFF000; // wraps around soon

std::vector<Bytes> unitsOf(const Bytes &picture)
{
    std::vector<Bytes> units;
    std::size_t begin = picture.size();
    for (std::size_t i = 0; i + 3 <= picture.size(); ++i) {
        if (picture[i] == 0 && picture[i + 1] == 0 && picture[i + 2] == 1) {
            if (begin < i) {
                std::size_t end = i;
                while (end > begin && picture[end - 1] == 0) {
                    --end;
                }
                units.emplace_back(picture.begin() + static_cast<std::ptrdiff_t>(begin),
                                   picture.begin() + static_cast<std::ptrdiff_t>(end));
            }
            begin = i + 3;
        }
    }
    units.emplace_back(picture.begin() + static_cast<std::ptrdiff_t>(std::min(begin, picture.size())), picture.end());
    return units;
}

bool isParameterSet(bool bH265, const Bytes &unit)
{
    const int nType = bH265 ? (unit[0] >> 1) & 0x3F : unit[0] & 0x1F;
    return bH265 ? nType >= 32 && nType <= 34 : nType == 7 || nType == 8;
}

Bytes rtpPacket(int nType, std::uint16_t sequence, std::uint32_t time, std::uint32_t source, bool bMarker,
                const Bytes &payload)
{
    Bytes packet(12);
    packet[0] = 0x80;
    packet[1] = static_cast<std::uint8_t>(nType | (bMarker ? 0x80 : 0));
    packet[2] = static_cast<std::uint8_t>(sequence >> 8);
    packet[3] = static_cast<std::uint8_t>(sequence);
    write32(&packet[4], time);
    write32(&packet[8], source);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

/** Puts payloads that are whole units together as long as they fit into one packet (RFC 6184, 5.7; RFC 7798, 4.4.2). */
void aggregate(bool bH265, std::vector<Bytes> &payloads)
{
    constexpr std::size_t kMost = 1400;
    const Bytes head = bH265 ? Bytes{48 << 1, 1} : Bytes{24};
    std::vector<Bytes> together;
    bool bOpen = false;
    for (const Bytes &payload : payloads) {
        const bool bFragment = bH265 ? ((payload[0] >> 1) & 0x3F) == 49 : (payload[0] & 0x1F) == 28;
        if (bFragment) {
            together.push_back(payload);
            bOpen = false;
            continue;
        }
        if (!bOpen || together.back().size() + payload.size() > kMost) {
            together.push_back(head);
            bOpen = true;
        }
        Bytes &packet = together.back();
        packet.push_back(static_cast<std::uint8_t>(payload.size() >> 8));
        packet.push_back(static_cast<std::uint8_t>(payload.size()));
        packet.insert(packet.end(), payload.begin(), payload.end());
    }
    payloads.swap(together);
}

} // namespace

std::string parameterSetsOf(const CameraClip &clip)
{
    std::string sets[3];
    for (const Bytes &unit : unitsOf(clip.pictures.front())) {
        if (isParameterSet(clip.bH265, unit)) {
            const int nPlace = clip.bH265 ? ((unit[0] >> 1) & 0x3F) - 32 : (unit[0] & 0x1F) - 7;
            std::string text(AV_BASE64_SIZE(unit.size()), ' ');
            av_base64_encode(text.data(), static_cast<int>(text.size()), unit.data(), static_cast<int>(unit.size()));
            sets[nPlace] = text.c_str();
        }
    }
    if (clip.bH265) {
        return "sprop-vps=" + sets[0] + "; sprop-sps=" + sets[1] + "; sprop-pps=" + sets[2];
    }
    return "packetization-mode=1;sprop-parameter-sets=" + sets[0] + "," + sets[1];
}

CameraSender::CameraSender(const Script &script, const CameraClip &clip, TestSocket socket)
    : m_script(script),
      m_clip(clip),
      m_socket(socket),
      m_datagrams(::socket(AF_INET, SOCK_DGRAM, 0)),
      m_stranger(::socket(AF_INET, SOCK_DGRAM, 0)),
      m_foreigner(::socket(AF_INET, SOCK_DGRAM, 0))
{
    sockaddr_in address = loopback(0);
    (void)bind(m_datagrams, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    // 127.0.0.2
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
    (void)bind(m_foreigner, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    // What goes to groups stays on this machine.
    const in_addr group = loopback(0).sin_addr;
    setsockopt(m_datagrams, IPPROTO_IP, IP_MULTICAST_IF, reinterpret_cast<const char *>(&group), sizeof group);
}

CameraSender::~CameraSender()
{
    closeSocket(m_datagrams);
    closeSocket(m_stranger);
    closeSocket(m_foreigner);
}

unsigned short CameraSender::datagramPort() const
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    getsockname(m_datagrams, reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin_port);
}

bool CameraSender::isPunched()
{
    char buffer[64];
    timeval none = {};
    for (;;) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(m_datagrams, &set);
        if (select(static_cast<int>(m_datagrams) + 1, &set, nullptr, nullptr, &none) <= 0 ||
            recv(m_datagrams, buffer, sizeof buffer, 0) <= 0) {
            return m_nPunches >= m_script.nPunchesNeeded;
        }
        ++m_nPunches;
    }
}

std::uint32_t CameraSender::sourceOf(const Track &track) const
{
    return static_cast<std::uint32_t>(0x1234 + (&track - m_tracks.data()));
}

std::uint32_t CameraSender::timeOf(std::size_t nPicture) const
{
    const std::size_t repeats = m_script.nRepeatsStamps > 0 ? static_cast<std::size_t>(m_script.nRepeatsStamps) : 1;
    return static_cast<std::uint32_t>(kVideoStart +
                                      3600 * (m_script.bConstantStamps ? 0 : nPicture / repeats * repeats));
}

void CameraSender::sendPicture()
{
    if (m_script.nPunchesNeeded > 0 && !isPunched()) {
        return;
    }
    const auto isReached = [this](int nLimit) { return nLimit > 0 && m_nPicture >= static_cast<std::size_t>(nLimit); };
    const std::uint32_t nTime = timeOf(m_nPicture);
    if (m_script.bReports && m_nPicture % 5 == 0) {
        sendReport(m_tracks[0], nTime);
    }
    if (m_script.nByeAfter > 0 && m_nPicture == static_cast<std::size_t>(m_script.nByeAfter)) {
        sendLeave(m_tracks[0]);
    } else if (!isReached(m_script.nByeAfter)) {
        const auto first = static_cast<std::size_t>(m_script.nFirstPicture);
        sendVideo(m_clip.pictures[first + m_nPicture % (m_clip.pictures.size() - first)], nTime);
    }
    if (m_bOver) {
        return;
    }
    if (m_script.nSoundByeAfter > 0 && m_nPicture == static_cast<std::size_t>(m_script.nSoundByeAfter)) {
        sendLeave(m_tracks[1]);
    } else if (m_script.bSound && m_tracks[1].bUsed && !isReached(m_script.nSoundByeAfter)) {
        sendRtp(m_tracks[1], 8, static_cast<std::uint32_t>(320 * m_nPicture), m_nPicture == 0, Bytes(320, 0xD5));
    }
    if (m_script.bMetadata && m_tracks[2].bUsed) {
        const std::string document = "<tt:MetadataStream n=\"" + std::to_string(m_nPicture) + "\"/>";
        sendRtp(m_tracks[2], kMetadataType, nTime, false, Bytes(document.begin(), document.begin() + 10));
        sendRtp(m_tracks[2], kMetadataType, nTime, true, Bytes(document.begin() + 10, document.end()));
    }
    if (m_script.bForeignChannels) {
        interleave(77, Bytes(33, '$'));
    }
    if (m_script.bGarbageBetween) {
        static const std::string garbage = "\r\n$noise$$ RTSQ ....";
        write(reinterpret_cast<const std::uint8_t *>(garbage.data()), garbage.size());
    }
    ++m_nPicture;
}

void CameraSender::sendVideo(const Bytes &picture, std::uint32_t time)
{
    if (m_script.bSizelessJpegs) {
        // RFC 2435, 3.1: width and height are 0.
        sendRtp(m_tracks[0], 96, time, true, {0, 0, 0, 0, 1, 50, 0, 0, 9, 9, 9, 9});
        return;
    }
    std::vector<Bytes> payloads;
    for (const Bytes &unit : unitsOf(picture)) {
        if (!m_script.bSetsInDescription || !isParameterSet(m_clip.bH265, unit)) {
            packetise(unit, payloads);
        }
    }
    if (m_script.bAggregates) {
        aggregate(m_clip.bH265, payloads);
    }
    for (std::size_t i = 0; i < payloads.size() && !m_bOver; ++i) {
        const bool bLast = i + 1 == payloads.size();
        const int nKind = payloads[i][0] & 0x1F;
        const bool bSets = m_script.bCloseTogether && (nKind == 7 || nKind == 8);
        const bool bMarker = !m_script.bNoMarker && (bLast || m_script.bMarkerEverywhere || bSets);
        if (bLast && m_script.nClosesAfter > 0 && m_nPicture == static_cast<std::size_t>(m_script.nClosesAfter)) {
            m_bOver = true;
            return;
        }
        sendForeign(time);
        sendRtp(m_tracks[0], m_script.bOtherPayloadType ? 100 : kVideoType, time, bMarker, payloads[i]);
    }
    if (m_script.bLateMessages) {
        // Five bytes of nobody's own data.
        const Bytes message = m_clip.bH265 ? Bytes{39 << 1, 1, 5, 1, 9, 0x80} : Bytes{6, 5, 1, 9, 0x80};
        sendRtp(m_tracks[0], kVideoType, time, m_nPicture % 2 == 0, message);
    }
}

void CameraSender::sendForeign(std::uint32_t time)
{
    const Track &track = m_tracks[0];
    const Bytes slice = m_clip.bH265 ? Bytes{2, 1, 0xD0, 9} : Bytes{0x41, 0x9A, 9, 9};
    const auto next = static_cast<std::uint16_t>(track.nSequence + 1);
    if (m_script.bForeignTypes) {
        sendPacket(track, rtpPacket(13, m_nForeign++, time, sourceOf(track), true, {0x40}));
        sendPacket(track, rtpPacket(127, next, time, sourceOf(track), true, slice));
        sendPacket(track, rtpPacket(127, m_nForeign++, time, 0x7777, false, slice));
    }
    if (m_script.bReportsAmongMedia) {
        Bytes report = {0x80, 201, 0, 1, 0, 0, 0, 0};
        write32(&report[4], sourceOf(track));
        sendPacket(track, report);
    }
    if (m_script.bStraySource && m_nPackets % 4 == 0) {
        sendPacket(track, rtpPacket(kVideoType, m_nForeign++, time + 77, 0x9999, true, slice));
    }
    if (m_script.bStrangers && track.nPort != 0) {
        const Bytes packet = rtpPacket(kVideoType, next, time, sourceOf(track), true, slice);
        sendDatagram(m_foreigner, track.nPort, packet);
        // Behind the camera's own first one: which of two ports of a machine is the camera's, only that can tell.
        if (m_nPackets > 0) {
            sendDatagram(m_stranger, track.nPort, packet);
        }
    }
}

void CameraSender::sendLeave(const Track &track)
{
    // A receiver report without blocks leads every compound packet.
    Bytes leave = {0x80, 201, 0, 1, 0, 0, 0, 0, 0x81, 203, 0, 1, 0, 0, 0, 0};
    write32(&leave[4], sourceOf(track));
    write32(&leave[12], sourceOf(track));
    if (track.nPort == 0) {
        interleave(track.nChannel + 1, leave);
    } else {
        sendDatagram(m_datagrams, static_cast<unsigned short>(track.nPort + 1), leave);
    }
}

void CameraSender::packetise(const Bytes &unit, std::vector<Bytes> &payloads) const
{
    constexpr std::size_t kMost = 1400;
    if (m_script.bStartCodesInside) {
        Bytes payload = {0, 0, 0, 1};
        payload.insert(payload.end(), unit.begin(), unit.end());
        payloads.push_back(std::move(payload));
        return;
    }
    if (unit.size() <= kMost) {
        payloads.push_back(unit);
        return;
    }
    const std::size_t head = m_clip.bH265 ? 2 : 1;
    for (std::size_t at = head; at < unit.size(); at += kMost) {
        const std::size_t end = std::min(unit.size(), at + kMost);
        const int nFlags = (at == head ? 0x80 : 0) | (end == unit.size() ? 0x40 : 0);
        Bytes payload;
        if (m_clip.bH265) {
            payload = {static_cast<std::uint8_t>((unit[0] & 0x81) | (49 << 1)), unit[1],
                       static_cast<std::uint8_t>(nFlags | ((unit[0] >> 1) & 0x3F))};
        } else {
            payload = {static_cast<std::uint8_t>((unit[0] & 0xE0) | 28),
                       static_cast<std::uint8_t>(nFlags | (unit[0] & 0x1F))};
        }
        payload.insert(payload.end(), unit.begin() + static_cast<std::ptrdiff_t>(at),
                       unit.begin() + static_cast<std::ptrdiff_t>(end));
        payloads.push_back(std::move(payload));
    }
}

void CameraSender::sendRtp(Track &track, int nType, std::uint32_t time, bool bMarker, const Bytes &payload)
{
    const Bytes packet = rtpPacket(nType, track.nSequence++, time, sourceOf(track), bMarker, payload);
    ++m_nPackets;
    if (m_script.nLosesEvery > 0 && m_nPackets % m_script.nLosesEvery == 0) {
        return;
    }
    if (track.nPort != 0 && m_script.bReordersDatagrams && m_heldBack.empty()) {
        m_heldBack = packet;
        return;
    }
    sendPacket(track, packet);
    if (!m_heldBack.empty()) {
        sendPacket(track, m_heldBack);
        m_heldBack.clear();
    }
}

void CameraSender::sendPacket(const Track &track, const Bytes &packet)
{
    if (track.nPort == 0) {
        interleave(track.nChannel, packet);
    } else {
        sendDatagram(m_datagrams, track.nPort, packet);
    }
}

void CameraSender::sendDatagram(TestSocket socket, unsigned short port, const Bytes &packet)
{
    sockaddr_in address = loopback(port);
    if (m_script.bMulticastOnly) {
        inet_pton(AF_INET, m_script.multicastGroup.c_str(), &address.sin_addr);
    }
    sendto(socket, reinterpret_cast<const char *>(packet.data()), static_cast<int>(packet.size()), kSendFlags,
           reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

void CameraSender::sendReport(const Track &track, std::uint32_t time)
{
    // 2001-09-09 01:46:40 UTC plus the stream's own time.
    const std::uint64_t nMilliseconds = 40 * m_nPicture;
    Bytes report(28);
    report[0] = 0x80;
    report[1] = 200;
    report[3] = 6;
    write32(&report[4], sourceOf(track));
    write32(&report[8], static_cast<std::uint32_t>(2208988800U + 1000000000U + nMilliseconds / 1000));
    write32(&report[12], static_cast<std::uint32_t>(((nMilliseconds % 1000) << 32) / 1000));
    write32(&report[16], time);
    if (track.nPort == 0) {
        interleave(track.nChannel + 1, report);
    } else {
        sendDatagram(m_datagrams, static_cast<unsigned short>(track.nPort + 1), report);
    }
}

void CameraSender::interleave(int nChannel, const Bytes &packet)
{
    Bytes framed = {'$', static_cast<std::uint8_t>(nChannel), static_cast<std::uint8_t>(packet.size() >> 8),
                    static_cast<std::uint8_t>(packet.size())};
    framed.insert(framed.end(), packet.begin(), packet.end());
    write(framed.data(), framed.size());
}

void CameraSender::write(const std::uint8_t *pData, std::size_t size)
{
    while (size > 0) {
        const auto sent = send(m_socket, reinterpret_cast<const char *>(pData), static_cast<int>(size), kSendFlags);
        if (sent <= 0) {
            m_bOver = true;
            return;
        }
        pData += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

} // namespace selvik
