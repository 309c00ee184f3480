#ifndef DEVICE_TIMESOURCE_H
#define DEVICE_TIMESOURCE_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace selvik
{

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

/**
 * What time it is, and the waits that time can end. The library waits for nothing but through it, except inside FFmpeg,
 * so that tests run it on a time of their own.
 *
 * Threads: any.
 */
class TimeSource
{
public:
    static constexpr Clock::time_point kNoDeadline = Clock::time_point::max();

    TimeSource() = default;
    virtual ~TimeSource() = default;
    TimeSource(const TimeSource &) = delete;
    TimeSource &operator=(const TimeSource &) = delete;

    [[nodiscard]] virtual Clock::time_point now() const = 0;

    /**
     * Waits until the condition holds, and asks it again after each notification of `changed`. The lock is held
     * whenever the condition is asked. False when the deadline comes first.
     */
    virtual bool wait(std::unique_lock<std::mutex> &lock, std::condition_variable &changed, Clock::time_point deadline,
                      const std::function<bool()> &condition) = 0;

    /**
     * Asks `isReady` until it says yes; false when that takes longer than `duration`. Each time it is told how long it
     * may wait itself, for a socket for example: a fraction of a second at most.
     */
    virtual bool poll(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady) = 0;

    /**
     * As poll(), where whoever ends the wait also wakes what `isReady` waits in: it may wait for as long as a second. A
     * lost wake costs that much.
     */
    virtual bool pollWoken(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady)
    {
        return poll(duration, isReady);
    }

    void sleep(Milliseconds duration);

    /**
     * Says that a thread which waits through this object is about to begin; the thread lets go of it at its end. Real
     * time does not care. A fake one stands still while any such thread is busy.
     */
    [[nodiscard]] virtual std::shared_ptr<void> presence() = 0;
};

/** The system's time. Never destroyed: threads may still ask when the process ends. */
[[nodiscard]] TimeSource &realTime();

} // namespace selvik

#endif
