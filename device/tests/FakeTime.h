#ifndef DEVICE_TESTS_FAKETIME_H
#define DEVICE_TESTS_FAKETIME_H

#include "device/src/TimeSource.h"

#include <thread>
#include <vector>

namespace selvik
{

/**
 * Time that passes only while everybody waits for it: then it jumps to the earliest end of a wait. So a test takes as
 * long as its computing, and what it measures does not depend on how busy the machine is. When it cannot pass for a
 * minute of the system's time, since some thread is busy, hangs elsewhere or is gone, it says who waits and aborts.
 *
 * Threads: those that hold a presence() take part, and the one that makes the object. They must wait through it alone;
 *          for another wait a thread has to be Absent.
 */
class FakeTime : public TimeSource
{
public:
    explicit FakeTime(Milliseconds longestStandstill = std::chrono::minutes(1));
    /** Waits until the other threads that took part have ended. */
    ~FakeTime() override;

    [[nodiscard]] Clock::time_point now() const override;
    bool wait(std::unique_lock<std::mutex> &lock, std::condition_variable &changed, Clock::time_point deadline,
              const std::function<bool()> &condition) override;
    bool poll(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady) override;
    [[nodiscard]] std::shared_ptr<void> presence() override;

    /** While it lives, time does not wait for the thread that made it. */
    class Absent
    {
    public:
        explicit Absent(FakeTime &time) : m_time(time)
        {
            m_time.leave(1);
        }
        ~Absent()
        {
            m_time.comeBack();
        }
        Absent(const Absent &) = delete;
        Absent &operator=(const Absent &) = delete;

    private:
        FakeTime &m_time;
    };

private:
    /** Somebody who waits in awaitRound(), and for how long. */
    struct Waiter {
        std::thread::id thread;
        Clock::time_point deadline;
    };

    void comeBack();
    void leave(int nAbsent = 0);
    /** Waits until the condition holds, on the system's time. */
    template <typename Condition>
    void await(std::unique_lock<std::mutex> &lock, Condition condition);
    [[noreturn]] void reportStandstill() const;
    /** Ends when everybody waits: then each of them is to look again at what it waits for. */
    void awaitRound(Clock::time_point deadline, bool bFirst);
    [[nodiscard]] bool isEverybodyWaiting() const;
    void beginRound();

    const Milliseconds m_longestStandstill;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    Clock::time_point m_now;
    int m_nPresent = 1;
    int m_nAbsent = 0; /**< threads that will come back */
    std::vector<Waiter> m_waiting;
    unsigned long m_nRound = 0;
    bool m_bBusy = false; /**< since the last round somebody did something else than wait */
    Clock::time_point m_earliest = kNoDeadline;
};

} // namespace selvik

#endif
