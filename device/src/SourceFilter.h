#ifndef DEVICE_SOURCEFILTER_H
#define DEVICE_SOURCEFILTER_H

#include "device/src/RtpPacket.h"
#include "device/src/Sdp.h"
#include "device/src/TimeSource.h"

#include <optional>
#include <utility>
#include <vector>

namespace selvik
{

/**
 * Tells the packets of one medium from others that come the same way: other payload types, comfort noise, error
 * correction, other sources.
 *
 * One packet alone never ends a stream. Another source, or numbers far from the last ones, are taken after several
 * packets in a row, and a source besides only when the present one has taken leave or is silent. What came until then
 * is kept, so that no key picture is lost.
 *
 * Threads: one.
 */
class SourceFilter
{
public:
    enum class Verdict {
        Own,     /**< the next packet of the present source */
        Foreign, /**< not of this medium, or not yet */
        Adopted  /**< the last of the packets that begin the stream anew, all of which takeHeld() has */
    };
    struct Held {
        Bytes bytes;
        Clock::time_point arrival;
    };

    explicit SourceFilter(const SdpMedia &media);

    /** Only the described payload type is taken: other media come the same way. */
    void setStrict()
    {
        m_bStrict = true;
    }
    /** The source that the camera has announced. It is preferred to one that came first. */
    void expect(std::uint32_t source)
    {
        m_expected = source;
    }
    [[nodiscard]] Verdict judge(const RtpPacket &packet, Clock::time_point arrival);
    [[nodiscard]] std::vector<Held> takeHeld()
    {
        return std::exchange(m_held, {});
    }
    /** The present source has taken leave: another one is taken at once. */
    void leave()
    {
        m_bLeft = true;
    }
    [[nodiscard]] bool isPresent(std::uint32_t source) const
    {
        return m_bStarted && source == m_nSource;
    }
    [[nodiscard]] bool isStarted() const
    {
        return m_bStarted;
    }
    /** Whether the packet has the payload type that was described. */
    [[nodiscard]] bool isDescribed(const RtpPacket &packet) const
    {
        return packet.nType == m_nDescribed;
    }

private:
    [[nodiscard]] bool isForeignType(int nType) const;
    [[nodiscard]] Verdict judgeCandidate(const RtpPacket &packet, Clock::time_point arrival);
    void hold(const RtpPacket &packet, Clock::time_point arrival);
    [[nodiscard]] bool isTakenNow(const RtpPacket &packet, Clock::time_point arrival) const;
    void adopt(const RtpPacket &packet, Clock::time_point arrival);

    int m_nDescribed;
    std::vector<int> m_otherTypes;
    bool m_bStrict = false;
    std::optional<std::uint32_t> m_expected;

    bool m_bStarted = false;
    bool m_bLeft = false;
    bool m_bDescribedSeen = false;
    int m_nType = -1;
    std::uint32_t m_nSource = 0;
    std::uint16_t m_nSequence = 0;
    unsigned int m_nPackets = 0; /**< of the present source, in a row; stops counting at a few */
    Clock::time_point m_lastArrival;

    /** Who may be the next one; its packets are in m_held. */
    struct Candidate {
        int nType = -1;
        std::uint32_t source = 0;
        std::uint16_t sequence = 0;
        unsigned int nPackets = 0;
    };
    Candidate m_candidate;
    std::vector<Held> m_held;
    std::size_t m_nHeldBytes = 0;
};

} // namespace selvik

#endif
