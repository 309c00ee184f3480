#ifndef DEVICE_LOSSWATCH_H
#define DEVICE_LOSSWATCH_H

#include "device/src/TimeSource.h"

#include <algorithm>

namespace selvik
{

/**
 * When a camera counts as lost: after five seconds without pictures, whether or not it answers. One that has shown
 * longer pauses while it was well is given three times its longest, a minute at most.
 *
 * Lives as long as its preview, so that what was learnt of a camera is not lost with a connection.
 *
 * Threads: one.
 */
class LossWatch
{
public:
    /** A connection is open; its first picture is due. */
    void begin(Clock::time_point now)
    {
        m_latest = now;
        m_bAny = false;
    }
    void sawPicture(Clock::time_point now)
    {
        if (m_bAny) {
            m_longestPause = std::max(m_longestPause, now - m_latest);
        }
        m_bAny = true;
        m_latest = now;
    }
    /** When the camera is lost if no picture comes until then. */
    [[nodiscard]] Clock::time_point lostAt() const
    {
        return m_latest + std::clamp<Clock::duration>(3 * m_longestPause, kShortest, kLongest);
    }

private:
    static constexpr std::chrono::seconds kShortest{5};
    static constexpr std::chrono::seconds kLongest{60};

    Clock::time_point m_latest;
    Clock::duration m_longestPause{};
    bool m_bAny = false;
};

} // namespace selvik

#endif
