#include "device/tests/FakeTime.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace selvik
{

// Any beginning will do that is not the zero of an unset point in time.
FakeTime::FakeTime() : m_now(std::chrono::hours(1000)) {}

FakeTime::~FakeTime()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_nPresent == 1; });
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
    join();
    return {this, [](FakeTime *pTime) { pTime->leave(); }};
}

void FakeTime::join()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_nPresent;
}

void FakeTime::leave()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_nPresent;
    m_bBusy = true;
    if (m_nWaiting == m_nPresent && m_nPresent > 0) {
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
    if (++m_nWaiting == m_nPresent) {
        beginRound();
        m_changed.notify_all();
    } else {
        m_changed.wait(lock, [&] { return m_nRound != nRound; });
    }
}

void FakeTime::beginRound()
{
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
    m_nWaiting = 0;
    m_earliest = kNoDeadline;
    ++m_nRound;
}

} // namespace selvik
