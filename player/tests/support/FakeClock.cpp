#include "player/tests/support/FakeClock.h"

#include <algorithm>
#include <stdexcept>

namespace player::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};
constexpr std::int64_t kUtcOfNought = 1600000000000000;

/** The clock that has started this thread. */
thread_local const FakeClock *t_pClock = nullptr;

} // namespace

FakeClock::~FakeClock()
{
    awaitThreads();
}

void FakeClock::awaitThreads()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_threads.empty(); });
}

Moment FakeClock::now()
{
    const std::lock_guard lock(m_mutex);
    return m_now;
}

std::int64_t FakeClock::utc()
{
    using std::chrono::microseconds;
    return kUtcOfNought + std::chrono::duration_cast<microseconds>(now().time_since_epoch()).count();
}

std::thread FakeClock::startThread(std::function<void()> body)
{
    const std::lock_guard lock(m_mutex);
    std::thread thread([this, body = std::move(body)]() mutable {
        t_pClock = this;
        body();
        // What it holds may end other threads, which is part of its work.
        body = nullptr;
        const std::lock_guard end(m_mutex);
        m_threads.erase(std::this_thread::get_id());
        leaveBusy();
    });
    m_threads.insert(thread.get_id());
    ++m_nBusy;
    return thread;
}

void FakeClock::join(std::thread &thread)
{
    // A thread of the player's counts as busy while it waits for another one to end.
    if (t_pClock != this) {
        std::unique_lock lock(m_mutex);
        passUntil(lock, [this, id = thread.get_id()] { return m_threads.count(id) == 0; });
    }
    thread.join();
}

void FakeClock::passUntil(std::unique_lock<std::mutex> &lock, const std::function<bool()> &happened)
{
    while (!happened()) {
        const auto next = nextDeadline();
        if (m_nBusy == 0 && next) {
            goTo(*next);
        } else {
            m_changed.wait(lock);
        }
    }
}

void FakeClock::leaveBusy()
{
    --m_nBusy;
    m_changed.notify_all();
}

bool FakeClock::wait(WaitQueue &queue, std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline)
{
    Waiter waiter{&queue, deadline, t_pClock == this};
    {
        std::unique_lock own(m_mutex);
        if (deadline && *deadline <= m_now) {
            return false;
        }
        m_waiters.push_back(&waiter);
        if (waiter.ofPlayer) {
            leaveBusy();
        }
        // From here on a notice reaches the waiter, so that its lock need not be held any longer.
        lock.unlock();
        if (waiter.ofPlayer) {
            waiter.wake.wait(own, [&] { return waiter.bWoken; });
        } else {
            passUntil(own, [&] { return waiter.bWoken; });
        }
    }
    lock.lock();
    return waiter.bNotified;
}

void FakeClock::wake(Waiter &waiter, bool bNotified)
{
    waiter.bWoken = true;
    waiter.bNotified = bNotified;
    m_nBusy += waiter.ofPlayer ? 1 : 0;
    m_nWakes += waiter.ofPlayer ? 1 : 0;
    m_waiters.erase(std::find(m_waiters.begin(), m_waiters.end(), &waiter));
    waiter.wake.notify_all();
    m_changed.notify_all();
}

void FakeClock::notify(WaitQueue &queue)
{
    const std::lock_guard lock(m_mutex);
    for (Waiter *pWaiter : std::vector<Waiter *>(m_waiters)) {
        if (pWaiter->pQueue == &queue) {
            wake(*pWaiter, true);
        }
    }
}

std::optional<Moment> FakeClock::nextDeadline() const
{
    std::optional<Moment> next;
    for (const Waiter *pWaiter : m_waiters) {
        if (pWaiter->deadline) {
            next = std::min(next.value_or(Moment::max()), *pWaiter->deadline);
        }
    }
    return next;
}

void FakeClock::goTo(Moment moment)
{
    m_now = std::max(m_now, moment);
    for (Waiter *pWaiter : std::vector<Waiter *>(m_waiters)) {
        if (pWaiter->deadline && *pWaiter->deadline <= m_now) {
            wake(*pWaiter, false);
        }
    }
}

void FakeClock::rest(std::unique_lock<std::mutex> &lock)
{
    if (!m_changed.wait_for(lock, kPatience, [this] { return m_nBusy == 0; })) {
        throw std::runtime_error("the player's threads do not come to rest");
    }
}

void FakeClock::settle()
{
    std::unique_lock lock(m_mutex);
    rest(lock);
}

void FakeClock::advance(std::chrono::microseconds duration)
{
    std::unique_lock lock(m_mutex);
    const Moment end = m_now + duration;
    rest(lock);
    for (auto next = nextDeadline(); next && *next <= end; next = nextDeadline()) {
        goTo(*next);
        rest(lock);
    }
    m_now = end;
}

bool FakeClock::advanceUntil(const std::function<bool()> &condition)
{
    const Moment end = now() + std::chrono::hours(1);
    settle();
    while (!condition()) {
        std::unique_lock lock(m_mutex);
        const auto next = nextDeadline();
        if (!next || *next > end) {
            return false;
        }
        goTo(*next);
        rest(lock);
    }
    return true;
}

int FakeClock::wakes()
{
    const std::lock_guard lock(m_mutex);
    return m_nWakes;
}

void FakeClock::spend(std::chrono::microseconds duration)
{
    std::mutex mutex;
    WaitQueue never;
    std::unique_lock lock(mutex);
    const Moment end = now() + duration;
    while (wait(never, lock, end)) {
    }
}

} // namespace player::test
