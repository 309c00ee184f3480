#include "player/src/file/FileFeed.h"

#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/PictureNumber.h"
#include "player/tests/support/StdioBytes.h"

#include <gtest/gtest.h>

#include <new>

namespace
{

using player::FileDecoder;
using player::FileFeed;
using player::test::FakeClock;

/** A client for which memory runs out. */
class PoorClient : public player::FeedClient
{
public:
    Pace pace() override
    {
        if (m_bPoor) {
            throw std::bad_alloc();
        }
        return {};
    }

    void feedChanged() override {}

    std::atomic<bool> m_bPoor{true};
};

TEST(FileFeed, EndsTheFileWhenMemoryRunsOutAndGoesOnAtASeek)
{
    FakeClock clock;
    PoorClient client;
    const std::string path = player::test::mediaPath("h264.mp4");
    FileFeed feed(clock, std::make_unique<FileDecoder>(clock, player::test::StdioBytes::open(path)), client);
    feed.start();
    clock.settle();
    EXPECT_TRUE(feed.isDrained());
    client.m_bPoor = false;
    feed.seek(400000);
    clock.settle();
    EXPECT_EQ(player::test::numberOf(feed.takeSought()), 10);
    EXPECT_FALSE(feed.isDrained());
    feed.stop();
}

TEST(FileFeed, IsRefilledInBursts)
{
    FakeClock clock;
    PoorClient client;
    client.m_bPoor = false;
    const std::string path = player::test::mediaPath("long.mp4");
    FileFeed feed(clock, std::make_unique<FileDecoder>(clock, player::test::StdioBytes::open(path)), client);
    feed.start();
    clock.settle();
    const int before = clock.wakes();
    for (int number = 0; number < 120; ++number) {
        ASSERT_EQ(player::test::numberOf(feed.take()), number);
        clock.settle();
    }
    // One for three of the six pictures, and the reader's own.
    EXPECT_LE(clock.wakes() - before, 120 / 3 + 15);
    feed.stop();
}

} // namespace
