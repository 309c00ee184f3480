#include "player/src/win/SystemTime.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

using player::systemTime;

TEST(SystemTime, IsTheDateOfMicrosecondsSince1970)
{
    const auto time = systemTime(1709251198500000);
    ASSERT_TRUE(time);
    EXPECT_EQ(time->dwYear, 2024u);
    EXPECT_EQ(time->dwMonth, 2u);
    EXPECT_EQ(time->dwDay, 29u);
    EXPECT_EQ(time->dwHour, 23u);
    EXPECT_EQ(time->dwMinute, 59u);
    EXPECT_EQ(time->dwSecond, 58u);
    EXPECT_EQ(time->dwMillisecond, 500u);
}

TEST(SystemTime, BeginsWith1601)
{
    constexpr std::int64_t kBegin = -11644473600000000;
    const auto first = systemTime(kBegin);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->dwYear, 1601u);
    EXPECT_FALSE(systemTime(kBegin - 1));
}

TEST(SystemTime, IsNoneWhereNumbersWouldOverflow)
{
    EXPECT_FALSE(systemTime(std::numeric_limits<std::int64_t>::min()));
    EXPECT_FALSE(systemTime(std::numeric_limits<std::int64_t>::max()));
    EXPECT_FALSE(systemTime(std::numeric_limits<std::int64_t>::max() / 10));
}

} // namespace
