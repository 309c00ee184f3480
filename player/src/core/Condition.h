#ifndef PLAYER_CONDITION_H
#define PLAYER_CONDITION_H

#include "player/src/core/Clock.h"

namespace player
{

/**
 * A condition variable whose waits the clock knows of.
 *
 * Threads: any; waiting needs the lock that guards what is waited for. Borrows the clock.
 */
class Condition
{
public:
    explicit Condition(Clock &clock) : m_clock(clock) {}

    void notifyAll()
    {
        m_clock.notify(m_queue);
    }

    template <typename Predicate>
    void wait(std::unique_lock<std::mutex> &lock, Predicate isMet)
    {
        while (!isMet()) {
            m_clock.wait(m_queue, lock, std::nullopt);
        }
    }

    /** False once the deadline has passed. May return true for no reason. */
    bool waitUntil(std::unique_lock<std::mutex> &lock, Moment deadline)
    {
        return m_clock.wait(m_queue, lock, deadline);
    }

private:
    Clock &m_clock;
    WaitQueue m_queue;
};

} // namespace player

#endif
