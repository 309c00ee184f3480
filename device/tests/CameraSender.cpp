#include "device/tests/CameraSender.h"

#include <algorithm>
#include <cstring>

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

} // namespace

CameraSender::CameraSender(const Script &script, const CameraClip &clip, TestSocket socket)
    : m_script(script), m_clip(clip), m_socket(socket), m_datagrams(::socket(AF_INET, SOCK_DGRAM, 0))
{
    // What goes to groups stays on this machine.
    const in_addr address = loopback(0).sin_addr;
    setsockopt(m_datagrams, IPPROTO_IP, IP_MULTICAST_IF, reinterpret_cast<const char *>(&address), sizeof address);
}

CameraSender::~CameraSender()
{
    closeSocket(m_datagrams);
}

void CameraSender::sendPicture()
{
    const Bytes &picture = m_clip.pictures[m_nPicture % m_clip.pictures.size()];
    const auto nTime = static_cast<std::uint32_t>(kVideoStart + 3600 * m_nPicture);
    if (m_script.bReports && m_nPicture % 5 == 0) {
        sendReport(m_tracks[0], nTime);
    }
    std::vector<Bytes> payloads;
    std::vector<Bytes> units = unitsOf(picture);
    for (std::size_t i = 0; i < units.size(); ++i) {
        packetise(units[i], payloads);
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
        sendRtp(m_tracks[0], m_script.bOtherPayloadType ? 100 : kVideoType, nTime, bMarker, payloads[i]);
    }
    if (m_script.bSound && m_tracks[1].bUsed) {
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
    Bytes packet(12);
    packet[0] = 0x80;
    packet[1] = static_cast<std::uint8_t>(nType | (bMarker ? 0x80 : 0));
    packet[2] = static_cast<std::uint8_t>(track.nSequence >> 8);
    packet[3] = static_cast<std::uint8_t>(track.nSequence);
    ++track.nSequence;
    write32(&packet[4], time);
    write32(&packet[8], 0x1234);
    packet.insert(packet.end(), payload.begin(), payload.end());
    if (m_script.nLosesEvery > 0 && ++m_nPackets % m_script.nLosesEvery == 0) {
        return;
    }
    if (track.nPort == 0) {
        interleave(track.nChannel, packet);
    } else if (m_script.bReordersDatagrams && m_heldBack.empty()) {
        m_heldBack = packet;
    } else {
        sendDatagram(track.nPort, packet);
        if (!m_heldBack.empty()) {
            sendDatagram(track.nPort, m_heldBack);
            m_heldBack.clear();
        }
    }
}

void CameraSender::sendDatagram(unsigned short port, const Bytes &packet)
{
    sockaddr_in address = loopback(port);
    if (m_script.bMulticastOnly) {
        inet_pton(AF_INET, m_script.multicastGroup.c_str(), &address.sin_addr);
    }
    sendto(m_datagrams, reinterpret_cast<const char *>(packet.data()), static_cast<int>(packet.size()), kSendFlags,
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
    write32(&report[4], 0x1234);
    write32(&report[8], static_cast<std::uint32_t>(2208988800U + 1000000000U + nMilliseconds / 1000));
    write32(&report[12], static_cast<std::uint32_t>(((nMilliseconds % 1000) << 32) / 1000));
    write32(&report[16], time);
    if (track.nPort == 0) {
        interleave(track.nChannel + 1, report);
    } else {
        sendDatagram(static_cast<unsigned short>(track.nPort + 1), report);
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
