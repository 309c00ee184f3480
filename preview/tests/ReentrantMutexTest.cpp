#include "preview/ReentrantMutex.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

using namespace pellora;

namespace
{

TEST(ReentrantMutexTest, IsLockedAgainByTheThreadThatHoldsIt)
{
    ReentrantMutex mutex;
    const std::lock_guard<ReentrantMutex> outer(mutex);
    const std::lock_guard<ReentrantMutex> inner(mutex);
}

// The thread sanitizer sees an inner lock that lets others in; the sum does, too.
TEST(ReentrantMutexTest, KeepsOthersOutUntilTheOutermostLockIsGone)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 5000;
    ReentrantMutex mutex;
    int nSum = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < kRounds; ++n) {
                const std::lock_guard<ReentrantMutex> outer(mutex);
                const int nBefore = nSum;
                {
                    const std::lock_guard<ReentrantMutex> inner(mutex);
                }
                nSum = nBefore + 1;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(nSum, kThreads * kRounds);
}

} // namespace
