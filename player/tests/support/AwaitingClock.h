#ifndef PLAYER_AWAITINGCLOCK_H
#define PLAYER_AWAITINGCLOCK_H

#include "player/src/core/SystemClock.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace player::test
{

/** The computer's own clock, which knows of the threads that leave by themselves. */
class AwaitingClock : public SystemClock
{
public:
    /** Waits until every thread that it has started has ended. */
    void awaitThreads()
    {
        std::unique_lock lock(m_mutex);
        m_ended.wait(lock, [this] { return m_nThreads == 0; });
    }

    std::thread startThread(std::function<void()> body) override
    {
        // Goes with the function, also where no thread could be started.
        auto pCounted = std::make_shared<Counted>(*this);
        return SystemClock::startThread([pCounted = std::move(pCounted), body = std::move(body)]() mutable {
            body();
            // What it holds may be the last of the port.
            body = nullptr;
            pCounted = nullptr;
        });
    }

private:
    class Counted
    {
    public:
        explicit Counted(AwaitingClock &clock) : m_clock(clock)
        {
            const std::lock_guard lock(m_clock.m_mutex);
            ++m_clock.m_nThreads;
        }
        ~Counted()
        {
            const std::lock_guard lock(m_clock.m_mutex);
            --m_clock.m_nThreads;
            m_clock.m_ended.notify_all();
        }
        Counted(const Counted &) = delete;
        Counted &operator=(const Counted &) = delete;

    private:
        AwaitingClock &m_clock;
    };

    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_nThreads = 0;
};

} // namespace player::test

#endif
