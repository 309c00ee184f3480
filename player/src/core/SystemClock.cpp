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

bool SystemClock::wait(WaitQueue &queue, std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline)
{
    return queue.wait(lock, deadline);
}

void SystemClock::notify(WaitQueue &queue)
{
    queue.wakeAll();
}

} // namespace player
