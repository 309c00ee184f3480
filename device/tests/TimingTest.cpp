#include "device/src/Backoff.h"
#include "device/src/ReorderBuffer.h"
#include "device/src/Resolver.h"
#include "device/src/SenderFilter.h"
#include "device/src/Timeline.h"
#include "device/tests/FakeTime.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

TEST(Backoff, Waits1248AndThenAlways8SecondsWithJitter)
{
    Backoff backoff(1);
    for (const int nSeconds : {1, 2, 4, 8, 8, 8}) {
        const Milliseconds wait = backoff.next();
        EXPECT_GE(wait, Milliseconds(900) * nSeconds);
        EXPECT_LE(wait, Milliseconds(1100) * nSeconds);
    }
    backoff.reset();
    EXPECT_LE(backoff.next(), Milliseconds(1100));
}

TEST(Backoff, DiffersFromPreviewToPreview)
{
    Backoff first(1);
    Backoff second(2);
    EXPECT_NE(first.next(), second.next());
}

Bytes numbered(std::uint16_t sequence)
{
    return {0x80, 96, static_cast<std::uint8_t>(sequence >> 8), static_cast<std::uint8_t>(sequence)};
}

std::vector<int> popAll(ReorderBuffer &buffer, Clock::time_point now)
{
    std::vector<int> numbers;
    while (const std::optional<Bytes> packet = buffer.pop(now)) {
        numbers.push_back(read16(packet->data() + 2));
    }
    return numbers;
}

TEST(ReorderBuffer, PutsPacketsInOrderAcrossTheWrap)
{
    ReorderBuffer buffer;
    const Clock::time_point now = Clock::now();
    for (const std::uint16_t sequence : {65534, 0, 65535, 2, 1}) {
        buffer.push(numbered(sequence), now);
    }
    EXPECT_EQ(popAll(buffer, now), (std::vector<int>{65534, 65535, 0, 1, 2}));
}

TEST(ReorderBuffer, WaitsOnlyShortlyForAMissingOne)
{
    ReorderBuffer buffer;
    const Clock::time_point now = Clock::now();
    buffer.push(numbered(1), now);
    buffer.push(numbered(3), now);
    EXPECT_EQ(popAll(buffer, now), (std::vector<int>{1}));
    EXPECT_EQ(popAll(buffer, now + Milliseconds(500)), (std::vector<int>{3}));
    // Too late now.
    buffer.push(numbered(2), now);
    EXPECT_TRUE(popAll(buffer, now + Milliseconds(500)).empty());
}

TEST(ReorderBuffer, FollowsACameraThatNumbersAnew)
{
    ReorderBuffer buffer;
    const Clock::time_point now = Clock::now();
    buffer.push(numbered(1), now);
    EXPECT_EQ(popAll(buffer, now), (std::vector<int>{1}));
    buffer.push(numbered(20000), now);
    EXPECT_EQ(popAll(buffer, now), (std::vector<int>{20000}));
}

TEST(ReorderBuffer, LetsPassWhatIsInOrder)
{
    ReorderBuffer buffer;
    const Clock::time_point now = Clock::now();
    EXPECT_TRUE(buffer.passes(65535));
    EXPECT_TRUE(buffer.passes(0));
    EXPECT_FALSE(buffer.passes(2));
    buffer.push(numbered(2), now);
    // As long as one waits, the others keep their order behind it.
    EXPECT_FALSE(buffer.passes(1));
    buffer.push(numbered(1), now);
    EXPECT_EQ(popAll(buffer, now), (std::vector<int>{1, 2}));
    EXPECT_TRUE(buffer.passes(3));
}

TEST(SenderFilter, TakesOnlyTheCamerasHost)
{
    SenderFilter filter;
    filter.allow("192.0.2.7");
    filter.allow("fe80::1%3");
    const Clock::time_point now = Clock::now();
    EXPECT_TRUE(filter.accepts({"192.0.2.7", 6970}, now));
    EXPECT_TRUE(filter.accepts({"::ffff:192.0.2.7", 6970}, now));
    EXPECT_TRUE(filter.accepts({"fe80::1", 6970}, now));
    EXPECT_FALSE(filter.accepts({"192.0.2.8", 6970}, now));
    EXPECT_FALSE(filter.accepts({"fe80::2", 6970}, now));
}

TEST(SenderFilter, FollowsARouterThatGivesAnotherPort)
{
    SenderFilter filter;
    filter.allow("192.0.2.7");
    filter.expectPort(6970);
    const Clock::time_point now = Clock::now();
    EXPECT_TRUE(filter.accepts({"192.0.2.7", 40000}, now)) << "the named port may be wrong";
    EXPECT_FALSE(filter.accepts({"192.0.2.7", 40001}, now)) << "somebody else on that host";
    EXPECT_TRUE(filter.accepts({"192.0.2.7", 40001}, now + Milliseconds(2000))) << "the router has forgotten the port";
    EXPECT_TRUE(filter.accepts({"192.0.2.7", 6970}, now + Milliseconds(2100))) << "the named port";
    EXPECT_FALSE(filter.accepts({"192.0.2.7", 40001}, now + Milliseconds(2200)));
}

unsigned long errorOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Failure &failure) {
        return failure.error();
    }
    return SELVIK_ERROR_NONE;
}

/** A system whose look-ups hang until they are released. */
class HangingSystem
{
public:
    [[nodiscard]] NameLookup lookup()
    {
        return [this](const std::string &) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_bReleased; });
            ++m_nEnded;
            m_changed.notify_all();
            return std::vector<std::string>();
        };
    }
    /** Ends all look-ups that were begun. */
    void release(int nLookups)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_bReleased = true;
        m_changed.notify_all();
        EXPECT_TRUE(m_changed.wait_for(lock, std::chrono::minutes(1), [&] { return m_nEnded == nLookups; }));
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bReleased = false;
    int m_nEnded = 0;
};

TEST(Resolver, AnswersNumbersAtOnceAndIsStoppedByItsCaller)
{
    FakeTime time;
    HangingSystem system;
    std::atomic<bool> stop{false};
    EXPECT_EQ(resolveHost("127.0.0.1", {time, stop, time.now()}), (std::vector<std::string>{"127.0.0.1"}));
    stop = true;
    EXPECT_THROW((void)resolveHost("slow", {time, stop, TimeSource::kNoDeadline}, system.lookup()), Stopped);
    system.release(1);
}

/** Lets look-ups hang until no more are allowed: how many that were. */
int fillLookups(HangingSystem &system)
{
    FakeTime time;
    const std::atomic<bool> never{false};
    const auto resolve = [&] {
        (void)resolveHost("slow", {time, never, time.now() + Milliseconds(100)}, system.lookup());
    };
    int nLookups = 0;
    for (;;) {
        const Clock::time_point begin = time.now();
        const unsigned long error = errorOf(resolve);
        if (error == SELVIK_ERROR_HOST) {
            EXPECT_EQ(time.now(), begin);
            return nLookups;
        }
        ++nLookups;
        EXPECT_EQ(error, static_cast<unsigned long>(SELVIK_ERROR_TIMEOUT));
        EXPECT_EQ(time.now() - begin, Milliseconds(100));
        if (nLookups > kMaxLookups) {
            return nLookups;
        }
    }
}

TEST(Resolver, LeavesASystemThatHangsAloneAndAsksItOnlySoOften)
{
    // Earlier tests asked the system for names that do not exist. It may still look for them, for as long as it likes,
    // and each of them is one look-up less here.
    const Clock::time_point end = Clock::now() + std::chrono::minutes(1);
    int nLookups = 0;
    do {
        HangingSystem system;
        nLookups = fillLookups(system);
        system.release(nLookups);
    } while (nLookups < kMaxLookups && Clock::now() < end);
    EXPECT_EQ(nLookups, kMaxLookups);
    // The threads give their places back right after that.
    const std::atomic<bool> never{false};
    const NameLookup finds = [](const std::string &) { return std::vector<std::string>{"192.0.2.7"}; };
    const auto ask = [&] { (void)resolveHost("quick", {realTime(), never, TimeSource::kNoDeadline}, finds); };
    while (errorOf(ask) == SELVIK_ERROR_HOST && Clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_LT(Clock::now(), end);
}

TEST(FakeTimeDeathTest, SaysWhoWaitsWhenItCannotPass)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto standStill = [] {
        FakeTime time(Milliseconds(200));
        std::mutex mutex;
        const std::unique_lock<std::mutex> held(mutex);
        // Takes part, and waits for something else than time.
        std::thread busy([&mutex, presence = time.presence()] { const std::lock_guard<std::mutex> lock(mutex); });
        busy.detach();
        time.sleep(Milliseconds(1500));
    };
    EXPECT_DEATH(standStill(), "stood still for 200 ms. Of 2 threads that take part 1 wait");
}

std::int64_t placed(Timeline &timeline, std::size_t track, std::int64_t media, std::int64_t arrival,
                    std::int64_t capture = AV_NOPTS_VALUE)
{
    MediaUnit unit;
    unit.track = track;
    unit.packet.reset(av_packet_alloc());
    unit.packet->pts = media;
    unit.captureTime = capture;
    timeline.place(unit, arrival);
    return unit.packet->pts;
}

TEST(Timeline, AnchorsEachTrackToItsArrival)
{
    Timeline timeline(2, 0);
    EXPECT_EQ(placed(timeline, 0, 700, 10000), 10000);
    EXPECT_EQ(placed(timeline, 0, 40700, 99999), 50000);
    EXPECT_EQ(placed(timeline, 1, 5, 60000), 60000);
}

TEST(Timeline, BridgesJumpsOfTheCamerasClock)
{
    Timeline timeline(1, 0);
    EXPECT_EQ(placed(timeline, 0, 5000000, 0), 0);
    EXPECT_EQ(placed(timeline, 0, 5040000, 40000), 40000);
    // Back by five seconds, then forward by an hour.
    EXPECT_EQ(placed(timeline, 0, 0, 80000), 80000);
    EXPECT_EQ(placed(timeline, 0, 3600000000, 120000), 120000);
}

TEST(Timeline, LetsPicturesBeReordered)
{
    Timeline timeline(1, 0);
    EXPECT_EQ(placed(timeline, 0, 0, 1000000), 1000000);
    EXPECT_EQ(placed(timeline, 0, 120000, 1040000), 1120000);
    EXPECT_EQ(placed(timeline, 0, 40000, 1080000), 1040000);
}

TEST(Timeline, MovesSoundToThePicturesOfTheSameMoment)
{
    Timeline timeline(2, 0);
    EXPECT_EQ(placed(timeline, 0, 0, 100000, 50000000), 100000);
    // Taken 20 ms after the picture, arrived 300 ms after it.
    EXPECT_EQ(placed(timeline, 1, 0, 400000, 50020000), 120000);
    EXPECT_EQ(placed(timeline, 1, 20000, 500000, 50040000), 140000);
}

} // namespace
} // namespace selvik
