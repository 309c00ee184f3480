// Waits that a stop flag ends, on the computer's own time.
#include "device/src/Patience.h"
#include "device/src/Socket.h"

#include <gtest/gtest.h>

#include <thread>

namespace selvik
{
namespace
{

TEST(StopFlagTest, CanBeReadFromOnceItIsSet)
{
    StopFlag stop;
    ASSERT_NE(stop.socket(), nullptr);
    EXPECT_FALSE(stop.socket()->awaitItself(Milliseconds(0)));
    EXPECT_FALSE(stop);
    stop = true;
    EXPECT_TRUE(stop);
    EXPECT_TRUE(stop.socket()->awaitItself(Milliseconds(10000)));
    stop = true;
    EXPECT_TRUE(stop);
}

TEST(StopFlagTest, AWaitLooksAtItOnlyAtItsBeginningAndEnd)
{
    StopFlag stop;
    const Socket silent = Socket::toItself();
    int nLooks = 0;
    const Patience patience(realTime(), stop, realTime().now() + Milliseconds(300));
    EXPECT_FALSE(patience.pollSockets([&](Milliseconds most) {
        ++nLooks;
        return silent.awaitItself(most);
    }));
    // The system's waits may end a moment too soon.
    EXPECT_LE(nLooks, 3);
}

TEST(StopFlagTest, EndsAWaitForASocketThatNothingComesTo)
{
    StopFlag stop;
    const Socket silent = Socket::toItself();
    bool bReadable = true;
    std::thread waiter(
        [&] { bReadable = Socket::waitReadable({&silent}, Patience(realTime(), stop, TimeSource::kNoDeadline)); });
    stop = true;
    waiter.join();
    EXPECT_FALSE(bReadable);
}

TEST(StopFlagTest, ASocketThatCanBeReadIsFoundBesideIt)
{
    StopFlag stop;
    const Socket silent = Socket::toItself();
    const Socket other = Socket::toItself();
    other.sendToItself();
    EXPECT_TRUE(Socket::waitReadable({&silent, &other}, Patience(realTime(), stop, TimeSource::kNoDeadline)));
}

TEST(StopFlagTest, EndsASleep)
{
    StopFlag stop;
    std::thread sleeper([&] {
        const Patience patience(realTime(), stop, TimeSource::kNoDeadline);
        patience.sleepUntil(realTime().now() + std::chrono::hours(1));
    });
    stop = true;
    sleeper.join();
}

} // namespace
} // namespace selvik
