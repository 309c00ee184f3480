#include "player/src/core/SystemClock.h"

namespace player
{

Moment SystemClock::now()
{
    return Moment::clock::now();
}

std::int64_t SystemClock::utc()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

std::thread SystemClock::startThread(std::function<void()> body)
{
    return std::thread(std::move(body));
}

void SystemClock::join(std::thread &thread)
{
    thread.join();
}

bool SystemClock::wait(std::condition_variable &condition, std::unique_lock<std::mutex> &lock,
                       const std::optional<Moment> &deadline)
{
    if (deadline) {
        return condition.wait_until(lock, *deadline) == std::cv_status::no_timeout;
    }
    condition.wait(lock);
    return true;
}

void SystemClock::notify(std::condition_variable &condition)
{
    condition.notify_all();
}

} // namespace player
