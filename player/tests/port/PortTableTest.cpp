#include "player/src/port/PortTable.h"

#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace
{

using player::PortTable;

class PortTableTest : public testing::Test
{
protected:
    player::test::FakeClock m_clock;
    player::test::FakePlatform m_platform{m_clock};
    PortTable m_ports{m_platform};
};

TEST_F(PortTableTest, HandsOutTwoHundredAndFiftySixPortsAndNoMore)
{
    std::set<int> slots;
    for (int i = 0; i < PortTable::kMostPorts; ++i) {
        const auto pPort = m_ports.add();
        ASSERT_TRUE(pPort);
        EXPECT_EQ(pPort->number(), i);
        slots.insert(pPort->slot());
    }
    EXPECT_EQ(slots.size(), 256u);
    EXPECT_FALSE(m_ports.add());
    m_ports.remove(17);
    EXPECT_TRUE(m_ports.add());
}

TEST_F(PortTableTest, NeverUsesANumberTwice)
{
    const auto first = m_ports.add()->number();
    ASSERT_TRUE(m_ports.remove(first));
    EXPECT_NE(m_ports.add()->number(), first);
    EXPECT_FALSE(m_ports.find(first));
    EXPECT_FALSE(m_ports.remove(first));
}

TEST_F(PortTableTest, FindsNothingUnderOddNumbers)
{
    m_ports.add();
    for (const std::int64_t number : {std::int64_t{-1}, std::int64_t{1}, std::int64_t{0x7FFFFFFF},
                                      std::numeric_limits<std::int64_t>::min(), std::int64_t{1} << 32}) {
        EXPECT_FALSE(m_ports.find(number)) << number;
    }
}

TEST_F(PortTableTest, APortThatWasFoundOutlivesItsRemoval)
{
    const auto number = m_ports.add()->number();
    const auto pFound = m_ports.find(number);
    m_ports.remove(number);
    EXPECT_EQ(pFound->openFile("no such file"), player::Error::Open);
}

} // namespace
