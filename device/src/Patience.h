#ifndef DEVICE_PATIENCE_H
#define DEVICE_PATIENCE_H

#include "Selvikdcm.h"
#include "device/src/Failure.h"
#include "device/src/StopFlag.h"
#include "device/src/TimeSource.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace selvik
{

/**
 * How long a wait may last: until a point in time, or until somebody says stop.
 *
 * Threads: a value of the waiting thread; the stop flag is set by any thread. Flag and time source must outlive it.
 */
class Patience
{
public:
    Patience(TimeSource &time, const std::atomic<bool> &stop, Clock::time_point deadline)
        : m_pTime(&time), m_pStop(&stop), m_deadline(deadline)
    {
    }

    /** With a flag that ends waits for sockets at once. */
    Patience(TimeSource &time, const StopFlag &stop, Clock::time_point deadline)
        : m_pTime(&time), m_pStop(&stop.flag()), m_pWaker(&stop), m_deadline(deadline)
    {
    }

    /** The same stop flag with a deadline that is no later than this one's. */
    [[nodiscard]] Patience atMost(Milliseconds duration) const
    {
        Patience shorter = *this;
        shorter.m_deadline = std::min(m_deadline, now() + duration);
        return shorter;
    }

    /** To be waited for together with other sockets, inside pollSockets(); null where there is none. */
    [[nodiscard]] const Socket *stopSocket() const
    {
        return m_pWaker != nullptr ? m_pWaker->socket() : nullptr;
    }

    /** Likewise, for reads that were begun; only where there is a stop socket, too. */
    [[nodiscard]] void *stopEvent() const
    {
        return stopSocket() != nullptr ? m_pWaker->event() : nullptr;
    }

    /** The same stop flag with a deadline of its own, for what must not fail only because this one is over. */
    [[nodiscard]] Patience fresh(Milliseconds duration) const
    {
        Patience anew = *this;
        anew.m_deadline = now() + duration;
        return anew;
    }

    [[nodiscard]] Clock::time_point now() const
    {
        return m_pTime->now();
    }
    [[nodiscard]] bool isStopped() const
    {
        return *m_pStop;
    }
    [[nodiscard]] bool isOver() const
    {
        return isStopped() || now() >= m_deadline;
    }

    /** As TimeSource::poll(), for as long as there is patience. */
    [[nodiscard]] bool poll(const std::function<bool(Milliseconds)> &isReady) const
    {
        bool bReady = false;
        (void)m_pTime->poll(left(), [&](Milliseconds most) {
            bReady = isReady(most);
            return bReady || isStopped();
        });
        return bReady;
    }
    /** The same, where `isReady` waits for the stop socket too. Then it may wait for as long as there is patience. */
    [[nodiscard]] bool pollSockets(const std::function<bool(Milliseconds)> &isReady) const
    {
        if (stopSocket() == nullptr) {
            return poll(isReady);
        }
        bool bReady = false;
        (void)m_pTime->pollWoken(left(), [&](Milliseconds most) {
            bReady = isReady(most);
            return bReady || isStopped();
        });
        return bReady;
    }
    /** As TimeSource::wait(), likewise; whoever stops does not have to notify. */
    bool wait(std::unique_lock<std::mutex> &lock, std::condition_variable &changed,
              const std::function<bool()> &condition) const
    {
        constexpr Milliseconds kSlice{30};
        while (!condition() && !isOver()) {
            m_pTime->wait(lock, changed, now() + std::min(left(), kSlice), condition);
        }
        return condition();
    }
    /** Returns when the time has come or the patience is over. */
    void sleepUntil(Clock::time_point time) const
    {
        (void)atMost(std::chrono::ceil<Milliseconds>(time - now())).pollSockets([this](Milliseconds most) {
            if (m_pWaker != nullptr) {
                m_pWaker->sleep(most);
            } else {
                std::this_thread::sleep_for(most);
            }
            return false;
        });
    }

    /** Throws Stopped, or Failure when the time is up. */
    void check() const
    {
        if (isStopped()) {
            throw Stopped();
        }
        if (now() >= m_deadline) {
            throw Failure(SELVIK_ERROR_TIMEOUT);
        }
    }

    /** For FFmpeg's interrupt callback, whose opaque pointer is a Patience. */
    static int interrupts(void *pPatience)
    {
        return static_cast<const Patience *>(pPatience)->isOver() ? 1 : 0;
    }

private:
    [[nodiscard]] Milliseconds left() const
    {
        // Where there is no deadline, not so long that now and it overflow.
        constexpr Milliseconds kLongest = std::chrono::hours(24);
        return m_deadline == TimeSource::kNoDeadline
                   ? kLongest
                   : std::max(Milliseconds(0), std::chrono::ceil<Milliseconds>(m_deadline - now()));
    }

    TimeSource *m_pTime;
    const std::atomic<bool> *m_pStop;
    const StopFlag *m_pWaker = nullptr;
    Clock::time_point m_deadline;
};

} // namespace selvik

#endif
