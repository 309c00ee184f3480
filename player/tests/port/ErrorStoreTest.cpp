#include "player/src/port/ErrorStore.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{

using player::Error;
using player::ErrorStore;

TEST(ErrorStore, KeepsOnePerPort)
{
    ErrorStore::set(0, 10, Error::Order);
    ErrorStore::set(1, 11, Error::None);
    EXPECT_EQ(ErrorStore::get(0, 10), Error::Order);
    EXPECT_EQ(ErrorStore::get(1, 11), Error::None);
}

TEST(ErrorStore, IsSeenByTheThreadThatMadeTheCallOnly)
{
    ErrorStore::set(2, 20, Error::Limit);
    Error elsewhere = Error::Limit;
    std::thread([&] {
        elsewhere = ErrorStore::get(2, 20);
        ErrorStore::set(2, 20, Error::BufferFull);
    }).join();
    EXPECT_EQ(elsewhere, Error::None);
    EXPECT_EQ(ErrorStore::get(2, 20), Error::Limit);
}

TEST(ErrorStore, ShowsNothingOfThePortThatHadThePlaceBefore)
{
    ErrorStore::set(3, 30, Error::End);
    EXPECT_EQ(ErrorStore::get(3, 31), Error::None);
}

TEST(ErrorStore, AnswersTheLatestErrorOfAnyCallForANumberThatIsNoPort)
{
    ErrorStore::set(4, 40, Error::NoTime);
    EXPECT_EQ(ErrorStore::get(-1, 12345), Error::NoTime);
    ErrorStore::set(-1, 12345, Error::Argument);
    EXPECT_EQ(ErrorStore::get(-1, 777), Error::Argument);
    EXPECT_EQ(ErrorStore::get(4, 40), Error::NoTime);
}

} // namespace
