#include "threadpool/SyncQueue.h"

#include "threadpool/tests/PoolLogDouble.h"

#include <gtest/gtest.h>

#include <chrono>

namespace publicdatacontroller
{
namespace
{

class SyncQueueTest : public testing::Test
{
protected:
    /** Waits, with a deadline, until a putter has found the queue full so many times more than at the start. */
    [[nodiscard]] bool waitUntilFullWasSeen(int times) const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (poolLogCounts().full - m_nFullBefore < times) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }

    [[nodiscard]] static int take(SyncQueue<int> &queue)
    {
        int nItem = -1;
        queue.Take(nItem);
        return nItem;
    }

    CaughtOutput m_output;
    int m_nFullBefore = poolLogCounts().full;
};

std::string ownThreadId()
{
    std::ostringstream text;
    text << std::this_thread::get_id();
    return text.str();
}

TEST_F(SyncQueueTest, HandsOutTheOldestFirst)
{
    SyncQueue<int> queue(10);
    const int nFirst = 1;
    queue.Put(nFirst);
    queue.Put(2);
    queue.PutList({3, 4});
    for (int nExpected = 1; nExpected <= 4; ++nExpected) {
        EXPECT_EQ(take(queue), nExpected);
    }
}

TEST_F(SyncQueueTest, PrintsNothingWhileNobodyWaits)
{
    SyncQueue<int> queue(10);
    queue.Put(1);
    EXPECT_EQ(take(queue), 1);
    EXPECT_EQ(m_output.text(), "");
    EXPECT_EQ(poolLogCounts().full, m_nFullBefore);
}

TEST_F(SyncQueueTest, ATakerOfAnEmptyQueuePrintsALineWithTheBytesThatProgramsRead)
{
    SyncQueue<int> queue(10);
    std::string threadId;
    std::thread taker([&] {
        threadId = ownThreadId();
        EXPECT_EQ(take(queue), 7);
    });
    while (m_output.lines() == 0) {
        std::this_thread::yield();
    }
    queue.Put(7);
    taker.join();
    EXPECT_EQ(m_output.text(), "empty,waiting\xA3\xAC"
                               "thread id: " +
                                   threadId + "\n");
}

TEST_F(SyncQueueTest, APutterOfAFullQueuePrintsLogsAndWaitsForATaker)
{
    SyncQueue<int> queue(2);
    queue.PutList({1, 2});
    std::string threadId;
    std::atomic<bool> bPut{false};
    std::thread putter([&] {
        threadId = ownThreadId();
        queue.Put(3);
        bPut = true;
    });
    ASSERT_TRUE(waitUntilFullWasSeen(1));
    EXPECT_FALSE(bPut);
    EXPECT_EQ(take(queue), 1);
    putter.join();
    EXPECT_EQ(take(queue), 2);
    EXPECT_EQ(take(queue), 3);
    EXPECT_EQ(m_output.text(), "full, waiting\xA3\xAC"
                               "thread id: " +
                                   threadId + "\n");
}

TEST_F(SyncQueueTest, EveryWakeUpWhileFullIsToldAgain)
{
    SyncQueue<int> queue(1);
    // Beyond its capacity, so that the putter finds it full again after the first taker.
    queue.PutList({1, 2, 3});
    std::thread putter([&] { queue.Put(4); });
    ASSERT_TRUE(waitUntilFullWasSeen(1));
    EXPECT_EQ(take(queue), 1);
    ASSERT_TRUE(waitUntilFullWasSeen(2));
    EXPECT_EQ(take(queue), 2);
    ASSERT_TRUE(waitUntilFullWasSeen(3));
    EXPECT_EQ(take(queue), 3);
    putter.join();
    EXPECT_EQ(occurrences(m_output.text(), "full, waiting\xA3\xAC"), 3);
    EXPECT_EQ(poolLogCounts().full - m_nFullBefore, 3);
}

TEST_F(SyncQueueTest, AListIsAddedWholeWhereOneItemFits)
{
    SyncQueue<int> queue(3);
    queue.PutList({1, 2});
    queue.PutList({3, 4, 5, 6});
    for (int nExpected = 1; nExpected <= 6; ++nExpected) {
        EXPECT_EQ(take(queue), nExpected);
    }
    EXPECT_EQ(poolLogCounts().full, m_nFullBefore);
}

TEST_F(SyncQueueTest, AListWaitsWhileTheQueueIsFull)
{
    SyncQueue<int> queue(1);
    queue.Put(1);
    std::thread putter([&] { queue.PutList({2, 3}); });
    ASSERT_TRUE(waitUntilFullWasSeen(1));
    EXPECT_EQ(take(queue), 1);
    putter.join();
    EXPECT_EQ(take(queue), 2);
    EXPECT_EQ(take(queue), 3);
}

TEST_F(SyncQueueTest, StopReleasesPuttersWithoutAdding)
{
    SyncQueue<int> queue(1);
    queue.Put(1);
    std::thread putter([&] { queue.Put(2); });
    std::thread listPutter([&] { queue.PutList({3, 4}); });
    ASSERT_TRUE(waitUntilFullWasSeen(2));
    queue.Stop();
    putter.join();
    listPutter.join();
    EXPECT_EQ(take(queue), -1);
}

TEST_F(SyncQueueTest, AfterStopNothingIsAddedOrTaken)
{
    SyncQueue<int> queue(1);
    queue.Put(1);
    queue.Stop();
    queue.Put(2);
    queue.PutList({3});
    EXPECT_EQ(take(queue), -1);
    EXPECT_EQ(m_output.text(), "");
}

TEST_F(SyncQueueTest, NothingIsLostBetweenManyPuttersAndTakers)
{
    constexpr int kThreads = 4;
    constexpr int kItems = 500;
    SyncQueue<int> queue(8);
    std::atomic<long> sum{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&queue] {
            for (int nItem = 1; nItem <= kItems; ++nItem) {
                queue.Put(nItem);
            }
        });
        threads.emplace_back([&queue, &sum] {
            for (int n = 0; n < kItems; ++n) {
                sum += take(queue);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sum, static_cast<long>(kThreads) * kItems * (kItems + 1) / 2);
}

} // namespace
} // namespace publicdatacontroller
