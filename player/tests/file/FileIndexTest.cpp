#include "player/src/file/FileIndex.h"

#include "player/src/core/SystemClock.h"

#include <gtest/gtest.h>

namespace
{

using player::FileIndex;

class FileIndexTest : public testing::Test
{
protected:
    void addKey(std::int64_t number)
    {
        FileIndex::Key key;
        key.number = number;
        m_index.addKey(key);
    }

    player::SystemClock m_clock;
    FileIndex m_index{m_clock};
};

TEST_F(FileIndexTest, KnowsThePictureOnDisplayOnlyAsFarAsItHasGrown)
{
    EXPECT_FALSE(m_index.ordinalAt(0));
    for (int i = 0; i < 1000; ++i) {
        m_index.addPicture(i, i * 40000);
    }
    EXPECT_EQ(m_index.ordinalAt(0), 0);
    EXPECT_EQ(m_index.ordinalAt(39999), 0);
    EXPECT_EQ(m_index.ordinalAt(40000), 1);
    EXPECT_EQ(m_index.ordinalAt(998 * 40000 + 39999), 998);
    EXPECT_FALSE(m_index.ordinalAt(999 * 40000)) << "the next picture might begin at once";
    EXPECT_FALSE(m_index.end());
    m_index.complete(40000000);
    EXPECT_EQ(m_index.ordinalAt(INT64_MAX), 999);
    EXPECT_EQ(m_index.end(), 40000000);
    EXPECT_EQ(m_index.lastTime(), 999 * 40000);
}

TEST_F(FileIndexTest, KeepsPausesOfAnyLength)
{
    const std::int64_t times[] = {0, 1000000, 7200000000, 7200040000, 900000000000, 900000000001};
    for (int i = 0; i < 6; ++i) {
        m_index.addPicture(i, times[i]);
    }
    m_index.complete(900000040000);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(m_index.timeOf(i), times[i]);
        EXPECT_EQ(m_index.ordinalAt(times[i]), i);
        EXPECT_EQ(m_index.placeOf(i)->time, times[i]);
    }
    EXPECT_EQ(m_index.ordinalAt(7199999999), 1);
}

TEST_F(FileIndexTest, FindsPicturesOfPacketsThatAreDecodedInAnotherOrder)
{
    // Every second packet of four is shown last; two packets of each hundred are never shown.
    std::int64_t ordinal = 0;
    for (std::int64_t group = 0; group < 4000; group += 4) {
        for (const int place : {0, 2, 3, 1}) {
            if ((group + place) % 50 != 49) {
                m_index.addPicture(group + place, ordinal++ * 1000);
            }
        }
    }
    ordinal = 0;
    for (std::int64_t group = 0; group < 4000; group += 4) {
        for (const int place : {0, 2, 3, 1}) {
            const auto found = m_index.placeOf(group + place);
            ASSERT_EQ(found.has_value(), (group + place) % 50 != 49) << group + place;
            if (found) {
                ASSERT_EQ(found->ordinal, ordinal) << group + place;
                ASSERT_EQ(found->time, ordinal * 1000);
                ++ordinal;
            }
        }
    }
    EXPECT_FALSE(m_index.placeOf(4000));
    EXPECT_FALSE(m_index.placeOf(-1));
}

TEST_F(FileIndexTest, KeepsNoMoreKeysThanAreWorthIt)
{
    for (int i = 0; i < 1000; ++i) {
        addKey(i);
        m_index.addPicture(i, i * 40000);
    }
    EXPECT_EQ(m_index.keyFor(0)->number, 0);
    EXPECT_EQ(m_index.keyFor(11)->number, 0);
    EXPECT_EQ(m_index.keyFor(12)->number, 12);
    const auto key = m_index.keyFor(999);
    EXPECT_EQ(key->number, 996);
    EXPECT_EQ(m_index.keyBefore(*key, 2)->number, 996 - 24);
    EXPECT_EQ(m_index.keyBefore(*key, 4000)->number, 0);
    EXPECT_FALSE(m_index.keyBefore(*m_index.keyFor(0), 1));
}

TEST_F(FileIndexTest, WaitsNoLongerThanItIsWorth)
{
    m_index.addPicture(0, 0);
    m_index.waitFor(
        1000000, [] { return true; }, std::nullopt);
    m_index.waitFor(
        1000000, [] { return false; }, m_clock.now());
    m_index.giveUp();
    m_index.waitFor(
        1000000, [] { return false; }, std::nullopt);
    EXPECT_FALSE(m_index.ordinalAt(1000000));
}

} // namespace
