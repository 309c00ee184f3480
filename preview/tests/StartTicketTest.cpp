#include "preview/StartTicket.h"
#include "preview/LivePanes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace pellora;

namespace
{

TEST(StartTicketTest, HandsTheResultToAnOwnerThatWaits)
{
    StartTicket ticket;
    std::vector<long> delivered;
    EXPECT_TRUE(ticket.begin());
    EXPECT_EQ(ticket.result(), std::nullopt);
    EXPECT_TRUE(ticket.finish(9, [&](long lHandle) { delivered.push_back(lHandle); }));
    EXPECT_EQ(delivered, std::vector<long>{9});
    EXPECT_EQ(ticket.result(), 9);
}

TEST(StartTicketTest, IsNotBegunForAnOwnerThatGaveUpBefore)
{
    StartTicket ticket;
    EXPECT_EQ(ticket.abandon(), std::nullopt);
    EXPECT_FALSE(ticket.begin());
}

TEST(StartTicketTest, LeavesADeviceToItsCarrierWhenTheOwnerGaveUpMeanwhile)
{
    StartTicket ticket;
    ASSERT_TRUE(ticket.begin());
    EXPECT_EQ(ticket.abandon(), std::nullopt);
    bool bDelivered = false;
    EXPECT_FALSE(ticket.finish(9, [&](long) { bDelivered = true; }));
    EXPECT_FALSE(bDelivered);
}

TEST(StartTicketTest, LeavesADeviceToAnOwnerThatGivesUpAfterwards)
{
    StartTicket ticket;
    ASSERT_TRUE(ticket.finish(9, [](long) {}));
    EXPECT_EQ(ticket.abandon(), 9);
}

TEST(StartTicketTest, CanBeAskedFromInsideTheDelivery)
{
    StartTicket ticket;
    std::optional<long> seen;
    ASSERT_TRUE(ticket.finish(9, [&](long) { seen = ticket.result(); }));
    EXPECT_EQ(seen, 9);
}

// Both sides at once, many times: exactly one of them gets the device.
TEST(StartTicketTest, GivesEachDeviceToExactlyOneSide)
{
    for (int i = 0; i < 2000; ++i) {
        auto pTicket = std::make_shared<StartTicket>();
        std::atomic<int> nDelivered{0};
        std::atomic<int> nCarriers{0};
        std::thread carrier([pTicket, &nDelivered, &nCarriers] {
            if (!pTicket->begin()) {
                return;
            }
            if (!pTicket->finish(1, [&](long) { ++nDelivered; })) {
                ++nCarriers;
            }
        });
        if (i % 2 != 0) {
            std::this_thread::yield();
        }
        const bool bOwners = pTicket->abandon().has_value();
        carrier.join();
        EXPECT_EQ(nDelivered, bOwners ? 1 : 0);
        EXPECT_LE(nCarriers + nDelivered, 1);
    }
}

class CountingSink : public StreamSink
{
public:
    void input(long, unsigned int, unsigned char *, unsigned int) override {}
};

TEST(LivePanesTest, FindsNothingAtAnAddressWithoutAPane)
{
    LivePanes panes;
    int nPane = 0;
    EXPECT_EQ(panes.find(&nPane), nullptr);
    EXPECT_EQ(panes.find(nullptr), nullptr);
}

TEST(LivePanesTest, KeepsTheSinkOfAPaneThatIsGoneForWhoeverFoundIt)
{
    LivePanes panes;
    int nPane = 0;
    std::weak_ptr<StreamSink> watched;
    {
        auto pSink = std::make_shared<CountingSink>();
        watched = pSink;
        panes.add(&nPane, pSink);
    }
    std::shared_ptr<StreamSink> pFound = panes.find(&nPane);
    ASSERT_NE(pFound, nullptr);
    panes.remove(&nPane);
    EXPECT_EQ(panes.find(&nPane), nullptr);
    EXPECT_FALSE(watched.expired());
    pFound.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(LivePanesTest, CountsTheStartsThatGoOnWithoutTheirPane)
{
    LivePanes panes;
    int nPane = 0;
    EXPECT_FALSE(panes.hasUnclaimedStart(&nPane));
    panes.addUnclaimedStart(LivePanes::unclaimedStart(&nPane));
    panes.addUnclaimedStart(LivePanes::unclaimedStart(&nPane));
    panes.removeUnclaimedStart(&nPane);
    EXPECT_TRUE(panes.hasUnclaimedStart(&nPane));
    panes.removeUnclaimedStart(&nPane);
    EXPECT_FALSE(panes.hasUnclaimedStart(&nPane));
    panes.removeUnclaimedStart(&nPane);
    EXPECT_FALSE(panes.hasUnclaimedStart(&nPane));
}

} // namespace
