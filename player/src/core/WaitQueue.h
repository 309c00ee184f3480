#ifndef PLAYER_WAITQUEUE_H
#define PLAYER_WAITQUEUE_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace player
{

/** A point in time that no change of the computer's date moves. */
using Moment = std::chrono::steady_clock::time_point;

/**
 * Threads that wait to be woken: a condition variable, by the system's own means.
 *
 * On Windows it does not stand on std::condition_variable: winpthreads' one waits in semaphores of the kernel, several
 * calls for each wake, where the system's own need none, or one.
 *
 * Threads: any.
 */
class WaitQueue
{
public:
    WaitQueue() = default;
    WaitQueue(const WaitQueue &) = delete;
    WaitQueue &operator=(const WaitQueue &) = delete;

    /** Gives the lock up meanwhile. False once the deadline has passed; may return true for no reason. */
    bool wait(std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline);
    /** What is waited for was changed with the waiters' lock held, which the caller may have given up since. */
    void wakeAll();

private:
#ifdef _WIN32
    // SRWLOCK and CONDITION_VARIABLE, which need neither beginning nor end. The first closes the gap between giving up
    // the caller's lock and waiting.
    void *m_pGate = nullptr;
    void *m_pCondition = nullptr;
#else
    std::condition_variable m_condition;
#endif
};

} // namespace player

#endif
