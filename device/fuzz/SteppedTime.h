#ifndef DEVICE_FUZZ_STEPPEDTIME_H
#define DEVICE_FUZZ_STEPPEDTIME_H

#include "device/src/TimeSource.h"

namespace selvik
{

/** Time that passes where somebody waits, and by step(). Threads: one. */
class SteppedTime : public TimeSource
{
public:
    void step(Milliseconds duration)
    {
        m_now += duration;
    }

    [[nodiscard]] Clock::time_point now() const override
    {
        return m_now;
    }
    bool wait(std::unique_lock<std::mutex> & /*lock*/, std::condition_variable & /*changed*/,
              Clock::time_point deadline, const std::function<bool()> &condition) override
    {
        if (!condition() && deadline != kNoDeadline) {
            m_now = std::max(m_now, deadline);
        }
        return condition();
    }
    bool poll(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady) override
    {
        if (isReady(Milliseconds(0))) {
            return true;
        }
        m_now += duration;
        return false;
    }
    [[nodiscard]] std::shared_ptr<void> presence() override
    {
        return nullptr;
    }

private:
    Clock::time_point m_now{std::chrono::hours(1)};
};

} // namespace selvik

#endif
