#include "player/src/live/LiveBuffer.h"

#include "player/tests/support/FakeClock.h"

#include <gtest/gtest.h>

#include <future>
#include <numeric>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::LiveBuffer;
using Bytes = std::vector<std::uint8_t>;

/** So many bytes that tell one place from another. */
Bytes record(std::size_t size, int first = 0)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(first));
    return bytes;
}

Error push(LiveBuffer &buffer, const Bytes &bytes)
{
    return buffer.push(bytes.data(), bytes.size());
}

Bytes read(LiveBuffer &buffer, std::size_t most)
{
    Bytes bytes(most);
    bytes.resize(buffer.read(bytes.data(), bytes.size()).count);
    return bytes;
}

class LiveBufferTest : public testing::Test
{
protected:
    player::test::FakeClock m_clock;
};

TEST_F(LiveBufferTest, GivesBackWhatWasPushedInItsOrder)
{
    LiveBuffer buffer(m_clock, 100);
    ASSERT_EQ(push(buffer, record(10)), Error::None);
    ASSERT_EQ(push(buffer, record(5, 10)), Error::None);
    EXPECT_EQ(read(buffer, 4), record(4));
    EXPECT_EQ(read(buffer, 100), record(11, 4));
    EXPECT_EQ(buffer.readPosition(), 15);
}

TEST_F(LiveBufferTest, TakesNothingOfARecordThatDoesNotFitWhole)
{
    LiveBuffer buffer(m_clock, 16);
    ASSERT_EQ(push(buffer, record(10)), Error::None);
    EXPECT_EQ(push(buffer, record(7)), Error::BufferFull);
    EXPECT_EQ(buffer.available(), 10u);
    EXPECT_EQ(push(buffer, record(6, 10)), Error::None);
    EXPECT_EQ(push(buffer, record(1)), Error::BufferFull);
    EXPECT_EQ(read(buffer, 100), record(10));
    EXPECT_EQ(read(buffer, 100), record(6, 10));
}

TEST_F(LiveBufferTest, RefusesARecordThatIsLargerThanItself)
{
    LiveBuffer buffer(m_clock, 16);
    EXPECT_EQ(push(buffer, record(17)), Error::BufferFull);
    EXPECT_EQ(push(buffer, record(16)), Error::None);
}

TEST_F(LiveBufferTest, GoesRoundWithoutLosingAByte)
{
    constexpr std::size_t kCapacity = 200000;
    LiveBuffer buffer(m_clock, kCapacity);
    int pushed = 0;
    int taken = 0;
    for (int round = 0; round < 300; ++round) {
        const auto size = static_cast<std::size_t>(1 + round * 7919 % 3000);
        ASSERT_EQ(push(buffer, record(size, pushed)), Error::None);
        pushed += static_cast<int>(size);
        const Bytes bytes = read(buffer, round % 3 == 0 ? 10000 : 900);
        ASSERT_EQ(bytes, record(bytes.size(), taken)) << round;
        taken += static_cast<int>(bytes.size());
        while (buffer.available() > kCapacity - 4000) {
            taken += static_cast<int>(read(buffer, 4000).size());
        }
    }
    EXPECT_EQ(buffer.readPosition(), taken);
}

TEST_F(LiveBufferTest, AReadThatWaitsEndsWithTheNextRecord)
{
    LiveBuffer buffer(m_clock, 100);
    auto waiting = std::async(std::launch::async, [&] { return read(buffer, 100); });
    ASSERT_EQ(push(buffer, record(3)), Error::None);
    EXPECT_EQ(waiting.get(), record(3));
}

TEST_F(LiveBufferTest, AReadThatWaitsEndsWhenItIsWokenOrInterrupted)
{
    LiveBuffer buffer(m_clock, 100);
    const auto outcome = [&] {
        std::uint8_t byte = 0;
        return buffer.read(&byte, 1).outcome;
    };
    auto waiting = std::async(std::launch::async, outcome);
    buffer.wake();
    EXPECT_EQ(waiting.get(), LiveBuffer::Outcome::Woken);
    waiting = std::async(std::launch::async, outcome);
    buffer.interrupt();
    EXPECT_EQ(waiting.get(), LiveBuffer::Outcome::Interrupted);
    EXPECT_EQ(outcome(), LiveBuffer::Outcome::Interrupted);
    EXPECT_EQ(push(buffer, record(1)), Error::Order);
}

TEST_F(LiveBufferTest, PeekingTakesNothing)
{
    LiveBuffer buffer(m_clock, 100);
    push(buffer, record(20));
    Bytes bytes;
    ASSERT_EQ(buffer.peek(5, 8, bytes), LiveBuffer::Outcome::Bytes);
    EXPECT_EQ(bytes, record(8));
    EXPECT_EQ(read(buffer, 100), record(20));
}

TEST_F(LiveBufferTest, KnowsWhereARefusedRecordIsMissing)
{
    LiveBuffer buffer(m_clock, 16);
    push(buffer, record(10));
    push(buffer, record(7, 1));
    read(buffer, 100);
    EXPECT_EQ(push(buffer, record(3, 2)), Error::None);
    push(buffer, record(3, 3));
    EXPECT_EQ(buffer.latestGap(), -1) << "not yet read";
    EXPECT_EQ(read(buffer, 100).size(), 6u);
    EXPECT_EQ(buffer.latestGap(), 10);
}

TEST_F(LiveBufferTest, NeverReadsAcrossAGap)
{
    LiveBuffer buffer(m_clock, 16);
    push(buffer, record(10));
    push(buffer, record(7, 1));
    push(buffer, record(3, 2));
    EXPECT_EQ(read(buffer, 100), record(10));
    EXPECT_EQ(read(buffer, 100), record(3, 2));
    EXPECT_EQ(buffer.latestGap(), 10);
}

TEST_F(LiveBufferTest, ARecordThatIsPushedAgainLeavesNoGap)
{
    LiveBuffer buffer(m_clock, 16);
    push(buffer, record(10));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(push(buffer, record(7, 10)), Error::BufferFull);
    }
    read(buffer, 100);
    ASSERT_EQ(push(buffer, record(7, 10)), Error::None);
    read(buffer, 100);
    EXPECT_EQ(buffer.latestGap(), -1);
}

TEST_F(LiveBufferTest, TwoRefusedRecordsLeaveAGapEvenIfTheSecondIsPushedAgain)
{
    LiveBuffer buffer(m_clock, 16);
    push(buffer, record(10));
    push(buffer, record(7, 1));
    push(buffer, record(8, 2));
    read(buffer, 100);
    ASSERT_EQ(push(buffer, record(8, 2)), Error::None);
    read(buffer, 100);
    EXPECT_EQ(buffer.latestGap(), 10);
}

TEST_F(LiveBufferTest, WhatIsPushedAfterDiscardingDoesNotContinueIt)
{
    LiveBuffer buffer(m_clock, 100);
    push(buffer, record(10));
    buffer.discard();
    EXPECT_EQ(buffer.available(), 0u);
    push(buffer, record(5, 50));
    EXPECT_EQ(read(buffer, 100), record(5, 50));
    EXPECT_EQ(buffer.latestGap(), 10);
    EXPECT_EQ(buffer.readPosition(), 15);
}

TEST_F(LiveBufferTest, RemembersWhenEachByteCame)
{
    LiveBuffer buffer(m_clock, 100);
    push(buffer, record(10));
    const auto first = buffer.arrivalOf(3);
    m_clock.advance(5ms);
    push(buffer, record(10));
    EXPECT_EQ(buffer.arrivalOf(10).moment - first.moment, 5ms);
    EXPECT_EQ(buffer.arrivalOf(10).utc - first.utc, 5000);
    read(buffer, 15);
    EXPECT_EQ(buffer.arrivalOf(9).moment, first.moment);
}

TEST_F(LiveBufferTest, StaysWithinBoundsWhenPushedByteByByte)
{
    LiveBuffer buffer(m_clock, 50000);
    const std::uint8_t byte = 7;
    for (int i = 0; i < 50000; ++i) {
        ASSERT_EQ(buffer.push(&byte, 1), Error::None);
    }
    EXPECT_EQ(buffer.push(&byte, 1), Error::BufferFull);
}

} // namespace
