#ifndef DEVICE_REORDERBUFFER_H
#define DEVICE_REORDERBUFFER_H

#include "device/src/Bytes.h"
#include "device/src/Patience.h"

#include <map>
#include <optional>
#include <utility>

namespace selvik
{

/**
 * Puts datagrams back into the order of their sending. A gap is waited for only shortly: after that the packet is lost.
 *
 * Threads: one.
 */
class ReorderBuffer
{
public:
    /** Whether the packet is the next one and none waits: then it need not be kept, and counts as handed out. */
    [[nodiscard]] bool passes(std::uint16_t sequence)
    {
        if (!m_waiting.empty() || (m_bStarted && sequence != static_cast<std::uint16_t>(m_nNext))) {
            return false;
        }
        m_nNext = m_bStarted ? m_nNext + 1 : sequence + 1;
        m_bStarted = true;
        return true;
    }
    void push(Bytes packet, Clock::time_point now)
    {
        if (packet.size() < 4) {
            return;
        }
        const std::uint16_t sequence = read16(packet.data() + 2);
        if (!m_bStarted) {
            m_nNext = sequence;
            m_bStarted = true;
        }
        const auto nAhead = static_cast<std::int16_t>(sequence - static_cast<std::uint16_t>(m_nNext));
        // Far from the expected number: the camera has started over with other numbers.
        if (nAhead < -kFarAway || nAhead > kFarAway) {
            m_waiting.clear();
            m_nNext += nAhead;
        } else if (nAhead < 0) {
            return;
        }
        const std::int64_t nPlace = m_nNext + static_cast<std::int16_t>(sequence - static_cast<std::uint16_t>(m_nNext));
        m_waiting.emplace(nPlace, Waiting{std::move(packet), now});
    }

    /** The next packet in order, if it is there or the one before it has been waited for long enough. */
    [[nodiscard]] std::optional<Bytes> pop(Clock::time_point now)
    {
        if (m_waiting.empty()) {
            return std::nullopt;
        }
        const auto first = m_waiting.begin();
        const bool bLost = now - first->second.since > kPatience || m_waiting.size() > kMaxWaiting;
        if (first->first != m_nNext && !bLost) {
            return std::nullopt;
        }
        Bytes packet = std::move(first->second.packet);
        m_nNext = first->first + 1;
        m_waiting.erase(first);
        return packet;
    }

private:
    struct Waiting {
        Bytes packet;
        Clock::time_point since;
    };

    static constexpr int kFarAway = 3000;
    static constexpr std::size_t kMaxWaiting = 256;
    static constexpr Milliseconds kPatience{60};

    bool m_bStarted = false;
    std::int64_t m_nNext = 0;
    std::map<std::int64_t, Waiting> m_waiting;
};

} // namespace selvik

#endif
