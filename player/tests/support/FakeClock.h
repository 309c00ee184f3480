#ifndef PLAYER_FAKECLOCK_H
#define PLAYER_FAKECLOCK_H

#include "player/src/core/Clock.h"

#include <condition_variable>
#include <functional>
#include <set>
#include <vector>

namespace player::test
{

/**
 * A clock whose time stands still until a test lets it pass.
 *
 * It knows the player's threads, since it starts them and they wait by way of it. Time passes only while all of them
 * wait, from one deadline to the next: whatever is due at a moment is done before the next moment comes, however busy
 * the machine is. While a thread of the test's waits inside the player, time passes by itself.
 *
 * Threads: any. Errors: std::runtime_error when the player's threads do not come to rest within a minute.
 */
class FakeClock : public Clock
{
public:
    /** As awaitThreads(). */
    ~FakeClock() override;

    // The player's side.
    [[nodiscard]] Moment now() override;
    [[nodiscard]] std::int64_t utc() override;
    [[nodiscard]] std::thread startThread(std::function<void()> body) override;
    void join(std::thread &thread) override;
    bool wait(WaitQueue &queue, std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline) override;
    void notify(WaitQueue &queue) override;

    // The test's side.
    /** Waits until all of the player's threads wait, or have ended. No time passes. */
    void settle();
    /** Lets time pass; when it returns, the player's threads wait again. */
    void advance(std::chrono::microseconds duration);
    /** Until the condition holds, which is asked at each deadline; false when it does not within an hour. */
    bool advanceUntil(const std::function<bool()> &condition);
    /** From a callback: it takes so long. */
    void spend(std::chrono::microseconds duration);
    /** Waits until every thread that it has started has ended. */
    void awaitThreads();
    /** How often a thread of the player's was woken up to now. */
    [[nodiscard]] int wakes();

private:
    struct Waiter {
        const WaitQueue *pQueue;
        std::optional<Moment> deadline;
        bool ofPlayer;
        bool bWoken = false;
        bool bNotified = false;
        std::condition_variable wake{};
    };

    /** A thread of the test's waits: time passes until that has happened. */
    void passUntil(std::unique_lock<std::mutex> &lock, const std::function<bool()> &happened);
    void rest(std::unique_lock<std::mutex> &lock);
    [[nodiscard]] std::optional<Moment> nextDeadline() const;
    void goTo(Moment moment);
    void wake(Waiter &waiter, bool bNotified);
    void leaveBusy();

    // Guarded by m_mutex.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Moment m_now{std::chrono::hours(1)};
    std::vector<Waiter *> m_waiters;
    std::set<std::thread::id> m_threads;
    /** Those that do not wait. */
    int m_nBusy = 0;
    int m_nWakes = 0;
};

} // namespace player::test

#endif
