#ifndef DEVICE_PATIENCE_H
#define DEVICE_PATIENCE_H

#include "Selvikdcm.h"
#include "device/src/Failure.h"

#include <algorithm>
#include <atomic>
#include <chrono>

namespace selvik
{

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

/**
 * How long a wait may last: until a point in time, or until somebody says stop.
 *
 * Threads: a value of the waiting thread; the stop flag is set by any thread and must outlive it.
 */
class Patience
{
public:
    Patience(const std::atomic<bool> &stop, Clock::time_point deadline) : m_pStop(&stop), m_deadline(deadline) {}

    /** The same stop flag with a deadline that is no later than this one's. */
    [[nodiscard]] Patience atMost(Milliseconds duration) const
    {
        return {*m_pStop, std::min(m_deadline, Clock::now() + duration)};
    }

    [[nodiscard]] bool isStopped() const
    {
        return *m_pStop;
    }
    [[nodiscard]] bool isOver() const
    {
        return isStopped() || Clock::now() >= m_deadline;
    }
    [[nodiscard]] Clock::time_point deadline() const
    {
        return m_deadline;
    }

    /** One slice of a wait that looks at the stop flag in between; 0 when there is no time left. */
    [[nodiscard]] Milliseconds slice() const
    {
        const auto left = std::chrono::ceil<Milliseconds>(m_deadline - Clock::now());
        return std::clamp(left, Milliseconds(0), Milliseconds(30));
    }

    /** Throws Stopped, or Failure when the time is up. */
    void check() const
    {
        if (isStopped()) {
            throw Stopped();
        }
        if (Clock::now() >= m_deadline) {
            throw Failure(SELVIK_ERROR_TIMEOUT);
        }
    }

    /** For FFmpeg's interrupt callback, whose opaque pointer is a Patience. */
    static int interrupts(void *pPatience)
    {
        return static_cast<const Patience *>(pPatience)->isOver() ? 1 : 0;
    }

private:
    const std::atomic<bool> *m_pStop;
    Clock::time_point m_deadline;
};

} // namespace selvik

#endif
