#include "device/tests/FakeTime.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace selvik
{

// Any beginning will do that is not the zero of an unset point in time.
FakeTime::FakeTime(Milliseconds longestStandstill)
    : m_longestStandstill(longestStandstill), m_now(std::chrono::hours(1000))
{
}

FakeTime::~FakeTime()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    await(lock, [this] { return m_nPresent == 1; });
}

template <typename Condition>
void FakeTime::await(std::unique_lock<std::mutex> &lock, Condition condition)
{
    if (!m_changed.wait_for(lock, m_longestStandstill, condition)) {
        reportStandstill();
    }
}

void FakeTime::reportStandstill() const
{
    std::ostringstream text;
    text << "FakeTime: time has stood still for " << m_longestStandstill.count() << " ms. Of " << m_nPresent
         << " threads that take part " << m_waiting.size() << " wait, " << m_nAbsent
         << " more will come back. I am thread " << std::this_thread::get_id() << "; these wait:\n";
    for (const Waiter &waiter : m_waiting) {
        text << "  thread " << waiter.thread;
        if (waiter.deadline == kNoDeadline) {
            text << " for somebody\n";
        } else {
            text << " for " << std::chrono::ceil<Milliseconds>(waiter.deadline - m_now).count() << " ms\n";
        }
    }
    std::fputs(text.str().c_str(), stderr);
    std::fflush(stderr);
    std::abort();
}

Clock::time_point FakeTime::now() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_now;
}

bool FakeTime::wait(std::unique_lock<std::mutex> &lock, std::condition_variable & /*changed*/,
                    Clock::time_point deadline, const std::function<bool()> &condition)
{
    for (bool bFirst = true; !condition(); bFirst = false) {
        if (now() >= deadline) {
            return false;
        }
        lock.unlock();
        awaitRound(deadline, bFirst);
        lock.lock();
    }
    return true;
}

bool FakeTime::poll(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady)
{
    const Clock::time_point deadline = now() + duration;
    for (bool bFirst = true; !isReady(Milliseconds(0)); bFirst = false) {
        if (now() >= deadline) {
            return false;
        }
        awaitRound(deadline, bFirst);
    }
    return true;
}

std::shared_ptr<void> FakeTime::presence()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_nPresent;
    return {this, [](FakeTime *pTime) { pTime->leave(); }};
}

void FakeTime::comeBack()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_nPresent;
    --m_nAbsent;
}

void FakeTime::leave(int nAbsent)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_nPresent;
    m_nAbsent += nAbsent;
    m_bBusy = true;
    if (isEverybodyWaiting()) {
        beginRound();
    }
    // Under the lock: the destructor may be what waits.
    m_changed.notify_all();
}

void FakeTime::awaitRound(Clock::time_point deadline, bool bFirst)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_bBusy = m_bBusy || bFirst;
    m_earliest = std::min(m_earliest, deadline);
    const unsigned long nRound = m_nRound;
    m_waiting.push_back({std::this_thread::get_id(), deadline});
    if (isEverybodyWaiting()) {
        beginRound();
        m_changed.notify_all();
    }
    await(lock, [&] { return m_nRound != nRound; });
}

bool FakeTime::isEverybodyWaiting() const
{
    return !m_waiting.empty() && m_waiting.size() == static_cast<std::size_t>(m_nPresent);
}

void FakeTime::beginRound()
{
    if (!m_bBusy && m_earliest == kNoDeadline && m_nAbsent > 0) {
        // Whoever comes back may bring what everybody waits for.
        return;
    }
    if (m_bBusy) {
        // What one thread did may be what another one waits for: everybody looks once more at the same time.
        m_bBusy = false;
    } else {
        // What was sent through a socket may still be on its way inside the system.
        std::this_thread::sleep_for(Milliseconds(1));
        if (m_earliest == kNoDeadline) {
            std::fputs("FakeTime: everybody waits, and no wait ends by itself.\n", stderr);
            std::abort();
        }
        m_now = std::max(m_now, m_earliest);
    }
    m_waiting.clear();
    m_earliest = kNoDeadline;
    ++m_nRound;
}

} // namespace selvik
