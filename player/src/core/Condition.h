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
        m_clock.notify(m_condition);
    }

    template <typename Predicate>
    void wait(std::unique_lock<std::mutex> &lock, Predicate isMet)
    {
        while (!isMet()) {
            m_clock.wait(m_condition, lock, std::nullopt);
        }
    }

    /** False once the deadline has passed. May return true for no reason. */
    bool waitUntil(std::unique_lock<std::mutex> &lock, Moment deadline)
    {
        return m_clock.wait(m_condition, lock, deadline);
    }

private:
    Clock &m_clock;
    std::condition_variable m_condition;
};

} // namespace player

#endif
