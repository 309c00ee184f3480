#include "device/src/TimeSource.h"

#include <algorithm>
#include <thread>

namespace selvik
{

namespace
{

class RealTime : public TimeSource
{
public:
    [[nodiscard]] Clock::time_point now() const override
    {
        return Clock::now();
    }

    bool wait(std::unique_lock<std::mutex> &lock, std::condition_variable &changed, Clock::time_point deadline,
              const std::function<bool()> &condition) override
    {
        if (deadline != kNoDeadline) {
            return changed.wait_until(lock, deadline, condition);
        }
        changed.wait(lock, condition);
        return true;
    }

    bool poll(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady) override
    {
        // So long a stop flag may go unnoticed.
        constexpr Milliseconds kSlice{30};
        return pollInSlices(duration, kSlice, isReady);
    }

    bool pollWoken(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady) override
    {
        constexpr Milliseconds kSlice{1000};
        return pollInSlices(duration, kSlice, isReady);
    }

    [[nodiscard]] std::shared_ptr<void> presence() override
    {
        return nullptr;
    }

private:
    bool pollInSlices(Milliseconds duration, Milliseconds slice, const std::function<bool(Milliseconds)> &isReady) const
    {
        const Clock::time_point end = now() + duration;
        for (;;) {
            const auto left = std::chrono::ceil<Milliseconds>(end - now());
            if (isReady(std::clamp(left, Milliseconds(0), slice))) {
                return true;
            }
            if (now() >= end) {
                return false;
            }
        }
    }
};

} // namespace

void TimeSource::sleep(Milliseconds duration)
{
    (void)poll(duration, [](Milliseconds most) {
        std::this_thread::sleep_for(most);
        return false;
    });
}

TimeSource &realTime()
{
    static auto *const pTime = new RealTime;
    return *pTime;
}

} // namespace selvik
