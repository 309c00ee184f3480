#include "player/src/core/WaitQueue.h"

#ifdef _WIN32
#include <windows.h>

#include <algorithm>
#include <cstdint>
#endif

namespace player
{

#ifdef _WIN32

namespace
{

static_assert(sizeof(SRWLOCK) == sizeof(void *) && sizeof(CONDITION_VARIABLE) == sizeof(void *));

SRWLOCK *gateIn(void *&pGate)
{
    return reinterpret_cast<SRWLOCK *>(&pGate);
}

CONDITION_VARIABLE *conditionIn(void *&pCondition)
{
    return reinterpret_cast<CONDITION_VARIABLE *>(&pCondition);
}

/** Not before the deadline, which would only be a wake more. */
DWORD millisecondsUntil(const std::optional<Moment> &deadline)
{
    using std::chrono::milliseconds;
    constexpr std::int64_t kLongest = 24 * 3600 * 1000;
    if (!deadline) {
        return INFINITE;
    }
    const auto left = std::chrono::ceil<milliseconds>(*deadline - Moment::clock::now()).count();
    return static_cast<DWORD>(std::clamp<std::int64_t>(left, 0, kLongest));
}

} // namespace

bool WaitQueue::wait(std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline)
{
    const DWORD duration = millisecondsUntil(deadline);
    AcquireSRWLockExclusive(gateIn(m_pGate));
    // From here on nobody can wake before this thread waits.
    lock.unlock();
    const bool bWoken = SleepConditionVariableSRW(conditionIn(m_pCondition), gateIn(m_pGate), duration, 0) != 0;
    ReleaseSRWLockExclusive(gateIn(m_pGate));
    lock.lock();
    return bWoken || !deadline || Moment::clock::now() < *deadline;
}

void WaitQueue::wakeAll()
{
    AcquireSRWLockExclusive(gateIn(m_pGate));
    ReleaseSRWLockExclusive(gateIn(m_pGate));
    WakeAllConditionVariable(conditionIn(m_pCondition));
}

#else

bool WaitQueue::wait(std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline)
{
    if (deadline) {
        return m_condition.wait_until(lock, *deadline) == std::cv_status::no_timeout;
    }
    m_condition.wait(lock);
    return true;
}

void WaitQueue::wakeAll()
{
    m_condition.notify_all();
}

#endif

} // namespace player
