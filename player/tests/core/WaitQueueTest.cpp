// On the computer's own time: what is tried here is the system's waiting.
#include "player/src/core/WaitQueue.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using player::Moment;
using player::WaitQueue;

class WaitQueueTest : public testing::Test
{
protected:
    template <typename Predicate>
    void await(std::unique_lock<std::mutex> &lock, Predicate isMet)
    {
        while (!isMet()) {
            m_queue.wait(lock, std::nullopt);
        }
    }

    std::mutex m_mutex;
    WaitQueue m_queue;
};

TEST_F(WaitQueueTest, ComesBackAtTheDeadlineWithTheLock)
{
    std::unique_lock lock(m_mutex);
    const Moment deadline = Moment::clock::now() + 20ms;
    while (m_queue.wait(lock, deadline)) {
    }
    EXPECT_GE(Moment::clock::now(), deadline);
    EXPECT_TRUE(lock.owns_lock());
}

TEST_F(WaitQueueTest, DoesNotWaitForADeadlineThatHasPassed)
{
    std::unique_lock lock(m_mutex);
    EXPECT_FALSE(m_queue.wait(lock, Moment::clock::now() - 1h));
    EXPECT_TRUE(lock.owns_lock());
}

TEST_F(WaitQueueTest, WakesEverybodyAndGivesEachTheLock)
{
    bool open = false;
    int through = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, bDeadline = i % 2 == 0] {
            std::unique_lock lock(m_mutex);
            while (!open) {
                m_queue.wait(lock, bDeadline ? std::optional(Moment::clock::now() + 1h) : std::nullopt);
            }
            ++through;
        });
    }
    {
        const std::lock_guard lock(m_mutex);
        open = true;
    }
    m_queue.wakeAll();
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(through, 8);
}

TEST_F(WaitQueueTest, LosesNoWakeBetweenLookingAndWaiting)
{
    // Two threads take turns; one that is lost would hold both up for ever.
    constexpr int kTurns = 20000;
    int turn = 0;
    const auto takeTurns = [&](int parity) {
        for (int i = 0; i < kTurns; ++i) {
            {
                std::unique_lock lock(m_mutex);
                await(lock, [&] { return turn % 2 == parity; });
                ++turn;
            }
            m_queue.wakeAll();
        }
    };
    std::thread other(takeTurns, 1);
    takeTurns(0);
    other.join();
    EXPECT_EQ(turn, 2 * kTurns);
}

} // namespace
