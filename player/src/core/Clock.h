#ifndef PLAYER_CLOCK_H
#define PLAYER_CLOCK_H

#include "player/src/core/WaitQueue.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace player
{

/**
 * Time, and the threads that wait for it.
 *
 * Everything in the player that asks for the time, waits or starts a thread does it through this interface. Tests put a
 * clock of their own in its place, whose time passes only when they say so.
 *
 * Threads: any.
 */
class Clock
{
public:
    Clock() = default;
    virtual ~Clock() = default;
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;

    [[nodiscard]] virtual Moment now() = 0;
    /** Microseconds since 1970, UTC. */
    [[nodiscard]] virtual std::int64_t utc() = 0;
    /** Throws std::system_error when the system has no thread left. */
    [[nodiscard]] virtual std::thread startThread(std::function<void()> body) = 0;

    /** Waits until the thread has ended. */
    virtual void join(std::thread &thread) = 0;

    // For Condition, which everybody else uses.
    /** Gives the lock up until the queue is notified or the deadline has passed, which returns false. */
    virtual bool wait(WaitQueue &queue, std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline) = 0;
    virtual void notify(WaitQueue &queue) = 0;
};

} // namespace player

#endif
