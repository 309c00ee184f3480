#include "player/src/core/CallbackSlot.h"

#include "player/src/core/SystemClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace
{

using player::CallbackSlot;

class CallbackSlotTest : public testing::Test
{
protected:
    player::SystemClock m_clock;
};

TEST_F(CallbackSlotTest, CallsWhatIsSetAndNothingElse)
{
    CallbackSlot<int> slot{m_clock};
    slot.call(1);
    int sum = 0;
    slot.set([&](int value) { sum += value; });
    slot.call(2);
    slot.set(nullptr);
    slot.call(4);
    EXPECT_EQ(sum, 2);
    EXPECT_FALSE(slot.isSet());
}

TEST_F(CallbackSlotTest, SettingWaitsForTheCallThatRuns)
{
    CallbackSlot<> slot{m_clock};
    std::promise<void> entered;
    std::promise<void> mayReturn;
    std::atomic<bool> returned{false};
    slot.set([&] {
        entered.set_value();
        mayReturn.get_future().wait();
        returned = true;
    });
    std::thread caller([&] { slot.call(); });
    entered.get_future().wait();
    auto cleared = std::async(std::launch::async, [&] {
        slot.set(nullptr);
        return returned.load();
    });
    EXPECT_EQ(cleared.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(cleared.get());
    caller.join();
}

TEST_F(CallbackSlotTest, CanBeClearedFromInsideItsOwnCall)
{
    CallbackSlot<> slot{m_clock};
    int calls = 0;
    slot.set([&] {
        ++calls;
        slot.set(nullptr);
    });
    slot.call();
    slot.call();
    EXPECT_EQ(calls, 1);
}

TEST_F(CallbackSlotTest, WhatIsSetFromInsideIsCalledNext)
{
    CallbackSlot<> slot{m_clock};
    int first = 0;
    int second = 0;
    slot.set([&] {
        ++first;
        slot.set([&] { ++second; });
    });
    slot.call();
    slot.call();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST_F(CallbackSlotTest, IsFreeAgainAfterACallThatThrows)
{
    auto pSlot = std::make_shared<CallbackSlot<>>(m_clock);
    pSlot->set([] { throw 1; });
    EXPECT_THROW(pSlot->call(), int);
    // On a thread that a failure leaves behind.
    auto pSet = std::make_shared<std::promise<void>>();
    std::thread([=] {
        pSlot->set(nullptr);
        pSet->set_value();
    }).detach();
    ASSERT_EQ(pSet->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    pSlot->call();
}

} // namespace
