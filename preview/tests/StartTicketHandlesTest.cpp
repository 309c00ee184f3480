#include "preview/StartTicket.h"
#include "tests/support/ProcessHandles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace pellora;

namespace
{

std::size_t events()
{
    return support::processHandles()["Event"];
}

/** The owner asks while the result is handed over. */
void meet()
{
    constexpr int kYields = 2000;
    StartTicket ticket;
    std::atomic<bool> bDelivering{false};
    std::atomic<bool> bAsking{false};
    std::thread owner([&] {
        while (!bDelivering) {
            std::this_thread::yield();
        }
        bAsking = true;
        ticket.awaitDelivery();
    });
    EXPECT_TRUE(ticket.finish(1, [&](long) {
        bDelivering = true;
        while (!bAsking) {
            std::this_thread::yield();
        }
        // The owner is about to wait. That it does is certain for most of the tickets, which is enough.
        for (int i = 0; i < kYields; ++i) {
            std::this_thread::yield();
        }
    }));
    owner.join();
}

TEST(StartTicketTest, LeavesNothingOfTheSystemsWhereBothSidesMet)
{
    constexpr int kTickets = 100;
    meet();
    const std::size_t nBefore = events();
    ASSERT_GT(nBefore, 0U);
    for (int i = 0; i < kTickets; ++i) {
        meet();
    }
    // What the system makes of its own accord is a matter of a few.
    EXPECT_LE(events(), nBefore + kTickets / 10);
}

} // namespace
