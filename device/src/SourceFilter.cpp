#include "device/src/SourceFilter.h"

#include <algorithm>
#include <cstdlib>

namespace selvik
{

namespace
{

// So many packets in a row make a source (RFC 3550, A.1, asks for two).
constexpr unsigned int kProbation = 3;
// So far ahead of the last number, or behind it, a packet is still of the same stream (RFC 3550, A.1).
constexpr int kFarAhead = 3000;
constexpr int kFarBehind = 1000;
// How far from each other the packets of a candidate may be numbered: datagrams change places.
constexpr int kNear = 100;
// A source that has sent nothing for so long is over when another one sends.
constexpr Milliseconds kSilence{1000};
constexpr std::size_t kMaxHeld = 1024;
constexpr std::size_t kMaxHeldBytes = 2 << 20;

int stepBetween(std::uint16_t from, std::uint16_t to)
{
    return static_cast<std::int16_t>(to - from);
}

} // namespace

SourceFilter::SourceFilter(const SdpMedia &media) : m_nDescribed(media.nPayloadType), m_otherTypes(media.otherTypes) {}

bool SourceFilter::isForeignType(int nType) const
{
    // Comfort noise (RFC 3389) and its former number.
    constexpr int kNoise = 13;
    constexpr int kFormerNoise = 19;
    if (nType == m_nDescribed) {
        return false;
    }
    return m_bStrict || m_bDescribedSeen || nType == kNoise || nType == kFormerNoise ||
           std::find(m_otherTypes.begin(), m_otherTypes.end(), nType) != m_otherTypes.end();
}

SourceFilter::Verdict SourceFilter::judge(const RtpPacket &packet, Clock::time_point arrival)
{
    if (isForeignType(packet.nType)) {
        return Verdict::Foreign;
    }
    const bool bDescribed = packet.nType == m_nDescribed;
    if (!m_bStarted && bDescribed) {
        adopt(packet, arrival);
        return Verdict::Own;
    }
    if (m_bStarted && packet.source == m_nSource && packet.nType == m_nType) {
        const int nStep = stepBetween(m_nSequence, packet.sequence);
        if (nStep > -kFarBehind && nStep < kFarAhead) {
            m_nSequence = nStep > 0 ? packet.sequence : m_nSequence;
            m_lastArrival = arrival;
            m_nPackets = std::min(m_nPackets + 1, kProbation);
            m_candidate = {};
            m_held.clear();
            return Verdict::Own;
        }
    }
    return judgeCandidate(packet, arrival);
}

SourceFilter::Verdict SourceFilter::judgeCandidate(const RtpPacket &packet, Clock::time_point arrival)
{
    const int nStep = stepBetween(m_candidate.sequence, packet.sequence);
    const bool bGoesOn = m_candidate.nPackets > 0 && packet.source == m_candidate.source &&
                         packet.nType == m_candidate.nType && nStep != 0 && std::abs(nStep) <= kNear;
    if (!bGoesOn) {
        m_candidate = {packet.nType, packet.source, packet.sequence, 0};
        m_held.clear();
    }
    ++m_candidate.nPackets;
    m_candidate.sequence = packet.sequence;
    hold(packet, arrival);
    if (!isTakenNow(packet, arrival)) {
        return Verdict::Foreign;
    }
    adopt(packet, arrival);
    return Verdict::Adopted;
}

void SourceFilter::hold(const RtpPacket &packet, Clock::time_point arrival)
{
    if (m_held.empty() || m_held.size() >= kMaxHeld || m_nHeldBytes + packet.raw.size > kMaxHeldBytes) {
        // What is left has no gap.
        m_held.clear();
        m_nHeldBytes = 0;
    }
    m_held.push_back({Bytes(packet.raw.begin(), packet.raw.end()), arrival});
    m_nHeldBytes += packet.raw.size;
}

bool SourceFilter::isTakenNow(const RtpPacket &packet, Clock::time_point arrival) const
{
    const bool bSameSource = packet.source == m_nSource && packet.nType == m_nType;
    if (m_bStarted && !bSameSource && (m_bLeft || m_expected == packet.source)) {
        return true;
    }
    if (m_bStarted && packet.nType == m_nDescribed && m_nType != m_nDescribed) {
        return true;
    }
    if (m_candidate.nPackets < kProbation) {
        return false;
    }
    const bool bUnproven = m_nPackets < kProbation;
    return !m_bStarted || bSameSource || bUnproven || packet.nType != m_nType || arrival - m_lastArrival >= kSilence;
}

void SourceFilter::adopt(const RtpPacket &packet, Clock::time_point arrival)
{
    m_bStarted = true;
    m_bLeft = false;
    m_bDescribedSeen = m_bDescribedSeen || packet.nType == m_nDescribed;
    m_nType = packet.nType;
    m_nSource = packet.source;
    m_nSequence = packet.sequence;
    m_nPackets = 1;
    m_lastArrival = arrival;
    m_candidate = {};
    if (m_expected == packet.source) {
        // Cameras that announce a source and send another one later are not called back to it.
        m_expected.reset();
    }
}

} // namespace selvik
