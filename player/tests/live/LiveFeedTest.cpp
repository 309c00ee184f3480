// Which pictures of a stream come out at all. By the stream's own clock none is left out for the sake of time, so that
// each one that comes out is seen here.
#include "player/src/live/LiveFeed.h"

#include "player/tests/support/Clips.h"
#include "player/tests/support/Collector.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PictureNumber.h"
#include "player/tests/support/PushedStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::LiveFeed;
using player::Picture;
using player::StreamMode;
using player::test::apart;
using player::test::Bytes;
using player::test::bytesOf;
using player::test::Collector;
using player::test::FakeClock;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveTransport;
using player::test::mediaPath;
using player::test::numberOf;
using player::test::operator+;
using player::test::place;
using player::test::PushedStream;
using player::test::range;
using player::test::Record;
using testing::ElementsAreArray;

struct Codec {
    const char *file;
    /** The last picture that comes out while the stream goes on. */
    int last;
};

void PrintTo(const Codec &codec, std::ostream *pStream)
{
    *pStream << codec.file;
}

class EveryCodec : public testing::TestWithParam<Codec>
{
};

TEST_P(EveryCodec, ComesOutPictureByPictureInTheOrderOfShowing)
{
    const PushedStream stream = liveMatroska(GetParam().file);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, GetParam().last + 1)));
}

INSTANTIATE_TEST_SUITE_P(Clips, EveryCodec,
                         testing::Values(Codec{"h264.avi", 99}, Codec{"h264.mp4", 97}, Codec{"h264-10bit.mp4", 47},
                                         Codec{"h265.mp4", 97}, Codec{"h265-10bit.mp4", 47}, Codec{"mjpeg.mov", 99},
                                         Codec{"mpeg4.avi", 99}, Codec{"mpeg4.mp4", 98}, Codec{"av1.mp4", 99},
                                         Codec{"vp8.mkv", 99}, Codec{"vp9.mkv", 99}, Codec{"mpeg2.mkv", 98},
                                         Codec{"mpeg1.mkv", 98}, Codec{"msmpeg4v2.mkv", 99}, Codec{"msmpeg4v3.mkv", 99},
                                         Codec{"open-gop.mkv", 97}, Codec{"odd-321x243.mp4", 48}),
                         [](const auto &row) { return player::test::testName(row.param.file); });

TEST(LiveFeedTest, GivesOutTheRightPicturesOfATransportStream)
{
    const PushedStream stream = liveTransport("h265.mp4");
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, 96)));
}

struct Loss {
    const char *file;
    int lost;
    /** What comes out before it, and where pictures begin again. */
    int before;
    int again;
    int last;
};

void PrintTo(const Loss &loss, std::ostream *pStream)
{
    *pStream << loss.file << " without " << loss.lost;
}

class ALostPicture : public testing::TestWithParam<Loss>
{
};

TEST_P(ALostPicture, LeavesOutEverythingUpToTheNextKeyPicture)
{
    PushedStream stream = liveMatroska(GetParam().file);
    stream.records.erase(stream.records.begin() + static_cast<std::ptrdiff_t>(place(stream, GetParam().lost)));
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    EXPECT_THAT(collector.numbers(),
                ElementsAreArray(range(0, GetParam().before) + range(GetParam().again, GetParam().last + 1)));
}

INSTANTIATE_TEST_SUITE_P(Codecs, ALostPicture,
                         testing::Values(Loss{"h264.avi", 30, 30, 50, 99}, Loss{"h264.avi", 26, 26, 50, 99},
                                         Loss{"h264.avi", 25, 25, 50, 99}, Loss{"h264.avi", 0, 0, 25, 99}),
                         [](const auto &row) {
                             return player::test::testName(row.param.file) + "_" + std::to_string(row.param.lost);
                         });

class ALostReference : public testing::TestWithParam<const char *>
{
};

TEST_P(ALostReference, ShowsNothingThatIsMadeOfIt)
{
    // Where the order of showing differs from that of sending, which pictures came out before the loss was noticed
    // depends on the coder; after the lost one, none may come out until the next key picture.
    PushedStream stream = liveMatroska(GetParam());
    const std::size_t key = place(stream, 25);
    ASSERT_TRUE(stream.records[key].key);
    const int lost = stream.records[key - 6].number;
    std::size_t reference = key - 6;
    for (std::size_t i = key - 8; i < key - 3; ++i) {
        // Sent before pictures that are shown before it: others refer to it.
        reference = stream.records[i].number > stream.records[i + 1].number ? i : reference;
    }
    ASSERT_GT(stream.records[reference].number, stream.records[reference + 1].number) << lost;
    const int first = stream.records[reference + 1].number;
    stream.records.erase(stream.records.begin() + static_cast<std::ptrdiff_t>(reference));
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    for (const int number : numbers) {
        EXPECT_TRUE(number < first || number >= 25) << number;
    }
    EXPECT_THAT(std::vector<int>(std::find(numbers.begin(), numbers.end(), 25), numbers.end()),
                ElementsAreArray(range(25, 98)));
}

INSTANTIATE_TEST_SUITE_P(Codecs, ALostReference, testing::Values("h264.mp4", "h265.mp4"),
                         [](const auto &row) { return player::test::testName(row.param); });

class ADamagedPicture : public testing::TestWithParam<Loss>
{
};

TEST_P(ADamagedPicture, IsNotShownNorIsWhatRefersToIt)
{
    PushedStream stream = liveMatroska(GetParam().file);
    Bytes &bytes = stream.records[place(stream, GetParam().lost)].bytes;
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.end(), std::uint8_t{0xFF});
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    EXPECT_THAT(collector.numbers(),
                ElementsAreArray(range(0, GetParam().before) + range(GetParam().again, GetParam().last + 1)));
}

INSTANTIATE_TEST_SUITE_P(Codecs, ADamagedPicture,
                         testing::Values(Loss{"h264.avi", 30, 30, 50, 99}, Loss{"h264.avi", 50, 50, 75, 99},
                                         Loss{"h264.avi", 99, 99, 99, 98}),
                         [](const auto &row) {
                             return player::test::testName(row.param.file) + "_" + std::to_string(row.param.lost);
                         });

TEST(LiveFeedTest, JoinedInTheMiddleShowsNothingBeforeTheFirstKeyPicture)
{
    const PushedStream stream = liveMatroska("h264.avi");
    Collector collector(stream.header);
    collector.push(stream, 10, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(25, 100)));
}

TEST(LiveFeedTest, JoinedInTheMiddleOfRawPicturesShowsNothingBeforeTheFirstKeyPicture)
{
    const Bytes bytes = bytesOf(mediaPath("raw.h264"));
    // Behind the first two kilobytes, that is in the middle of the first group.
    const PushedStream stream = player::test::cut(Bytes(bytes.begin() + 20000, bytes.end()), 1000);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    const auto numbers = collector.numbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.front() % 25, 0);
    EXPECT_THAT(numbers, ElementsAreArray(range(numbers.front(), 97)));
}

TEST(LiveFeedTest, JoinedAtAnOpenGroupLeavesOutThePicturesThatNeedTheGroupBefore)
{
    const PushedStream stream = liveMatroska("open-gop.mkv");
    std::size_t key = 1;
    while (!stream.records[key].key) {
        ++key;
    }
    ASSERT_LT(stream.records[key + 1].number, stream.records[key].number) << "the group is not open";
    Collector collector(stream.header);
    collector.push(stream, key, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(stream.records[key].number, 98)));
}

/** Pictures are renewed by waves, which begin at 25, 50 and 75 and come through all of them within 25 more. */
class AWaveThatRenewsThePicture : public testing::Test
{
protected:
    void SetUp() override
    {
        m_whole.push(m_stream, 0, m_stream.records.size());
        ASSERT_THAT(m_whole.numbers(), ElementsAreArray(range(0, 100)));
    }
    /** Collected up to the last one, they are what they are when nothing is missing. */
    void expectWhole(Collector &collector)
    {
        for (const Picture &picture : collector.pictures()) {
            const int number = numberOf(picture);
            ASSERT_GE(number, 0);
            EXPECT_EQ(apart(picture, m_whole.pictures()[static_cast<std::size_t>(number)]), 0) << number;
        }
    }

    PushedStream m_stream = liveMatroska("intra-refresh.mkv");
    Collector m_whole{m_stream.header};
};

TEST_F(AWaveThatRenewsThePicture, IsWaitedForWhereTheStreamIsJoined)
{
    Collector collector(m_stream.header);
    collector.push(m_stream, 10, m_stream.records.size());
    const auto numbers = collector.numbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_GT(numbers.front(), 25);
    EXPECT_LE(numbers.front(), 50);
    EXPECT_THAT(numbers, ElementsAreArray(range(numbers.front(), 100)));
    expectWhole(collector);
}

TEST_F(AWaveThatRenewsThePicture, IsWaitedForAfterALoss)
{
    m_stream.records.erase(m_stream.records.begin() + 30);
    Collector collector(m_stream.header);
    collector.push(m_stream, 0, m_stream.records.size());
    const auto numbers = collector.numbers();
    ASSERT_GT(numbers.size(), 30u);
    EXPECT_GT(numbers[30], 50);
    EXPECT_LE(numbers[30], 75);
    EXPECT_THAT(numbers, ElementsAreArray(range(0, 30) + range(numbers[30], 100)));
    expectWhole(collector);
}

TEST(LiveFeedTest, GarbageBetweenRecordsCostsNoMoreThanTheGroup)
{
    PushedStream stream = liveMatroska("h264.avi");
    stream.records.insert(stream.records.begin() + 40, Record{Bytes(5000), -1, false});
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    EXPECT_THAT(std::vector<int>(std::find(numbers.begin(), numbers.end(), 50), numbers.end()),
                ElementsAreArray(range(50, 100)));
    EXPECT_GE(numbers.size(), 90u);
}

TEST(LiveFeedTest, ARecordThatBreaksOffCostsNoMoreThanTwoGroups)
{
    PushedStream stream = liveMatroska("h264.avi");
    Bytes &bytes = stream.records[30].bytes;
    bytes.resize(bytes.size() / 2);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_THAT(std::vector<int>(numbers.begin(), numbers.begin() + 30), ElementsAreArray(range(0, 30)));
    for (const int number : numbers) {
        EXPECT_TRUE(number < 30 || number >= 50) << number;
    }
    EXPECT_THAT(std::vector<int>(std::find(numbers.begin(), numbers.end(), 75), numbers.end()),
                ElementsAreArray(range(75, 100)));
}

/** Bytes in a stream that are not what its container is made of. */
struct Astray {
    const char *name;
    Bytes bytes;
    /** The container tells where it goes on, so that nothing is lost but what stood in FFmpeg's buffer. */
    bool finds;
};

void PrintTo(const Astray &astray, std::ostream *pStream)
{
    *pStream << astray.name;
}

class AContainerThatLosesItsWay : public testing::TestWithParam<Astray>
{
};

TEST_P(AContainerThatLosesItsWay, LosesNoMoreThanTheRestOfTheGroup)
{
    PushedStream stream = liveMatroska("bench-1080p.mp4");
    // In the first group, which has 49 pictures; no more than three of them are kept back for the order of showing.
    constexpr int kAt = 20;
    constexpr int kNextKey = 49;
    ASSERT_TRUE(stream.records[place(stream, kNextKey)].key);
    stream.records.insert(stream.records.begin() + kAt, Record{GetParam().bytes, -1, false});
    Collector collector(stream.header, 5 * 1024 * 1024);
    for (std::size_t i = 0; i < 150; ++i) {
        collector.push(stream, i, i + 1);
        collector.clock().settle();
    }
    const auto numbers = collector.numbers();
    if (GetParam().finds) {
        EXPECT_THAT(numbers, ElementsAreArray(range(0, 147)));
        return;
    }
    const auto key = std::find(numbers.begin(), numbers.end(), kNextKey);
    EXPECT_THAT(std::vector<int>(key, numbers.end()), ElementsAreArray(range(kNextKey, 147)));
    const std::vector<int> before(numbers.begin(), key);
    EXPECT_GE(before.size(), kAt - 3u);
    EXPECT_THAT(before, ElementsAreArray(range(0, static_cast<int>(before.size()))));
}

Bytes blockOf(std::initializer_list<std::uint8_t> element)
{
    Bytes bytes{0x1F, 0x43, 0xB6, 0x75, 0xFF, 0xE7, 0x81, 0x00};
    bytes.insert(bytes.end(), element);
    bytes.insert(bytes.end(), {0x81, 0x00, 0x00});
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Claims, AContainerThatLosesItsWay,
    testing::Values(Astray{"a_cluster_longer_than_anything",
                           Bytes{0x1F, 0x43, 0xB6, 0x75, 0x01, 0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF,
                                 0xFE, 0x55, 0x55, 0x08, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0x00},
                           true},
                    Astray{"a_block_longer_than_anything", blockOf({0xA3, 0x18, 0x00, 0x00, 0x00}), true},
                    Astray{"a_block_longer_than_the_buffer", blockOf({0xA3, 0x10, 0x60, 0x00, 0x00}), true},
                    Astray{"a_block_shorter_than_the_buffer", blockOf({0xA3, 0x10, 0x20, 0x00, 0x00}), true},
                    Astray{"a_block_longer_than_a_few_pictures", blockOf({0xA3, 0x10, 0x04, 0x00, 0x00}), true},
                    Astray{"padding_that_swallows_pictures", blockOf({0xEC, 0x10, 0x20, 0x00, 0x00}), false},
                    Astray{"elements_of_any_length", Bytes(5000, 0x55), false}),
    [](const auto &row) { return std::string(row.param.name); });

class TimesThatJump : public testing::TestWithParam<std::int64_t>
{
};

TEST_P(TimesThatJump, AreSurvivedWithoutLosingAPicture)
{
    LiveOptions options;
    options.jumpAt = 50;
    options.jump = GetParam();
    const PushedStream stream = liveMatroska("h264.avi", options);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, 100)));
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, TimesThatJump, testing::Values(-1900, 3600000, 86400000));

TEST(LiveFeedTest, AnotherSizeInTheMiddleIsShown)
{
    const PushedStream small = liveTransport("long.mp4");
    const PushedStream large = liveTransport("h264.mp4");
    Collector collector(large.header);
    collector.push(large, 0, 40);
    collector.push(small, 0, 60);
    const auto &pictures = collector.pictures();
    ASSERT_FALSE(pictures.empty());
    EXPECT_EQ(pictures.front().shape.width, 320);
    EXPECT_EQ(pictures.back().shape.width, 160);
    EXPECT_EQ(pictures.back().shape.height, 120);
    EXPECT_EQ(numberOf(pictures.back()), 56);
    EXPECT_EQ(collector.feed().shape()->width, 160);
}

TEST(LiveFeedTest, CarriesTheTimeThatTheDeviceStampedThroughTheOrderOfShowing)
{
    LiveOptions options;
    options.captured = 1700000000123456;
    const PushedStream stream = liveMatroska("h264.mp4", options);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    const auto &pictures = collector.pictures();
    ASSERT_EQ(pictures.size(), 98u);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        ASSERT_EQ(pictures[i].utc, options.captured + pictures[0].utc - options.captured + pictures[i].time) << i;
    }
    EXPECT_NEAR(static_cast<double>(pictures[0].utc), static_cast<double>(options.captured), 200000.0);
}

TEST(LiveFeedTest, TakesTheDateInTheHeaderWhereNoPictureIsStamped)
{
    LiveOptions options;
    options.date = 1700000000000000;
    const PushedStream stream = liveMatroska("h264.avi", options);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    const auto &pictures = collector.pictures();
    ASSERT_EQ(pictures.size(), 100u);
    EXPECT_EQ(pictures[99].utc - pictures[0].utc, pictures[99].time);
    EXPECT_NEAR(static_cast<double>(pictures[0].utc), static_cast<double>(options.date), 200000.0);
}

TEST(LiveFeedTest, TakesTheTimeOfArrivalWhereNothingElseIsKnown)
{
    const PushedStream stream = liveMatroska("h264.avi");
    Collector collector(stream.header);
    const auto came = collector.clock().utc();
    collector.push(stream, 0, 1);
    collector.clock().advance(5s);
    ASSERT_EQ(collector.pictures().size(), 1u);
    EXPECT_EQ(collector.pictures()[0].utc, came);
}

TEST(LiveFeedTest, ARefusedRecordIsALossEvenWhereTheCodecCannotTell)
{
    const PushedStream stream = liveMatroska("mpeg4.avi");
    std::size_t largest = 0;
    for (const Record &record : stream.records) {
        largest = std::max(largest, record.key ? 0 : record.bytes.size());
    }
    // The first key picture comes with the header; none of the others ever fits.
    Bytes header = stream.header;
    header.insert(header.end(), stream.records[0].bytes.begin(), stream.records[0].bytes.end());
    Collector collector(header, largest);
    for (std::size_t i = 1; i < 50; ++i) {
        const auto &record = stream.records[i];
        collector.clock().settle();
        const Error error = collector.feed().push(record.bytes.data(), record.bytes.size());
        ASSERT_EQ(error, record.bytes.size() <= largest ? Error::None : Error::BufferFull) << i;
    }
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, 25))) << "a picture without its key picture";
}

TEST(LiveFeedTest, WhereDecodingIsTooSlowThePictureIsNeverFarBehind)
{
    // Whoever is told of a picture holds the decoding thread up, as a decoder that is too slow would: a picture in 120
    // milliseconds instead of the 40 in which they come.
    const PushedStream stream = liveMatroska("h264.avi");
    FakeClock clock;
    std::vector<player::Moment> pushed(stream.records.size());
    std::vector<int> numbers;
    std::chrono::steady_clock::duration most{};
    LiveFeed feed(clock, stream.header, 64 * 1024 * 1024, StreamMode::RealTime, [&] {
        const int number = numberOf(feed.take());
        ASSERT_GE(number, 0);
        numbers.push_back(number);
        most = std::max(most, clock.now() - pushed[static_cast<std::size_t>(number)]);
        clock.spend(120ms);
    });
    feed.start();
    for (const Record &record : stream.records) {
        pushed[static_cast<std::size_t>(record.number)] = clock.now();
        ASSERT_EQ(feed.push(record.bytes.data(), record.bytes.size()), Error::None);
        clock.advance(40ms);
    }
    // Decoding each would take twelve seconds.
    clock.advance(500ms);
    feed.stop();
    EXPECT_LT(most, 1500ms);
    ASSERT_FALSE(numbers.empty());
    EXPECT_GE(numbers.back(), 75) << "the newest group has begun";
    EXPECT_LT(numbers.size(), 60u);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_TRUE(numbers[i] == numbers[i - 1] + 1 || (numbers[i] > numbers[i - 1] && numbers[i] % 25 == 0))
            << numbers[i - 1] << ", then " << numbers[i];
    }
}

TEST(LiveFeedTest, WhereItIsLateAndReadsOnIntoAPictureThatHasComeInPartItShowsTheNewestWholeOne)
{
    // Each picture is a key picture.
    const PushedStream stream = liveMatroska("mjpeg.avi");
    const auto bytesOfRecords = [&stream](std::size_t from, std::size_t to) {
        Bytes bytes;
        for (std::size_t i = from; i < to; ++i) {
            bytes.insert(bytes.end(), stream.records[i].bytes.begin(), stream.records[i].bytes.end());
        }
        return bytes;
    };
    const Bytes late = bytesOfRecords(3, 20);
    const Bytes fresh = bytesOfRecords(20, 40);
    // Wherever it breaks off: only in some places more is wanted than has been read ahead.
    for (std::size_t part = 1; part < 100; ++part) {
        const std::size_t cut = fresh.size() * part / 100;
        FakeClock clock;
        std::vector<int> numbers;
        LiveFeed feed(clock, stream.header, 64 * 1024 * 1024, StreamMode::RealTime, [&] {
            numbers.push_back(numberOf(feed.take()));
            if (numbers.back() == 2) {
                // A picture that takes long. Behind it there are some that are late, and some that have just come.
                EXPECT_EQ(feed.push(late.data(), late.size()), Error::None);
                clock.spend(400ms);
                EXPECT_EQ(feed.push(fresh.data(), cut), Error::None);
            }
        });
        feed.start();
        const Bytes first = bytesOfRecords(0, 3);
        ASSERT_EQ(feed.push(first.data(), first.size()), Error::None);
        clock.advance(500ms);
        const int newest = numbers.back();
        std::size_t whole = 20;
        for (std::size_t end = stream.records[20].bytes.size(); end <= cut; end += stream.records[whole].bytes.size()) {
            ++whole;
        }
        EXPECT_GE(newest, static_cast<int>(whole) - 2) << "cut at " << cut;
        ASSERT_EQ(feed.push(fresh.data() + cut, fresh.size() - cut), Error::None);
        clock.settle();
        feed.stop();
        EXPECT_GE(numbers.back(), 38) << "cut at " << cut;
    }
}

/** A cluster of Matroska that claims to be longer than anything, and enough of it for the claim to be doubted. */
Record clusterWithoutEnd()
{
    Bytes bytes{0x1F, 0x43, 0xB6, 0x75, 0x01, 0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF,
                0xFE, 0x55, 0x55, 0x08, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
    bytes.resize(100000);
    return {bytes, -1, false};
}

TEST(LiveFeedTest, AContainerThatLosesItsWayIsBegunAnewAfterTwoSecondsWithoutAPacket)
{
    const PushedStream stream = liveMatroska("h264.avi");
    Collector collector(stream.header);
    collector.push(stream, 0, 20);
    collector.push(clusterWithoutEnd());
    EXPECT_EQ(collector.numbers().back(), 19);
    collector.clock().advance(2100ms);
    collector.push(stream, 25, 40);
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, 20) + range(25, 40)));
}

TEST(LiveFeedTest, GoesOnAfterAPauseWhileTheContainerIsBeingBegunAnew)
{
    const PushedStream stream = liveMatroska("h264.avi");
    FakeClock clock;
    std::vector<int> numbers;
    LiveFeed feed(clock, stream.header, 64 * 1024 * 1024, StreamMode::RealTime,
                  [&] { numbers.push_back(numberOf(feed.take())); });
    feed.start();
    const auto push = [&](const Record &record) {
        ASSERT_EQ(feed.push(record.bytes.data(), record.bytes.size()), Error::None);
        clock.settle();
    };
    feed.hold(true);
    for (std::size_t i = 0; i < 20; ++i) {
        push(stream.records[i]);
    }
    push(clusterWithoutEnd());
    clock.advance(2100ms);
    push({Bytes(1), -1, false});
    // The pictures held so far are of a container that is closed, and the next one is not open yet.
    feed.hold(false);
    clock.settle();
    for (std::size_t i = 25; i < 30; ++i) {
        push(stream.records[i]);
    }
    feed.stop();
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.back(), 29);
}

struct Senseless {
    const char *name;
    Bytes header;
    Bytes data;
    Error error;
};

void PrintTo(const Senseless &senseless, std::ostream *pStream)
{
    *pStream << senseless.name;
}

Bytes noise(std::size_t size)
{
    Bytes bytes(size);
    std::uint32_t state = 1;
    for (auto &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24 | 0x10);
    }
    return bytes;
}

/** A description that would make FFmpeg open network addresses. */
Bytes sessionDescription()
{
    std::string text = "v=0\r\nc=IN IP4 127.0.0.1\r\nm=video 5004 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n";
    text.append(3000, '\n');
    return {text.begin(), text.end()};
}

class ASenselessHeader : public testing::TestWithParam<Senseless>
{
};

TEST_P(ASenselessHeader, IsFoundOutLaterAndThenNothingIsTaken)
{
    Collector collector(GetParam().header);
    if (!GetParam().data.empty()) {
        collector.push({GetParam().data, -1, false});
    }
    EXPECT_EQ(collector.failure(), GetParam().error);
    const std::uint8_t byte = 0;
    EXPECT_EQ(collector.feed().push(&byte, 1), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Headers, ASenselessHeader,
                         testing::Values(Senseless{"noise", noise(500), noise(70000), Error::Corrupt},
                                         Senseless{"zeros", Bytes(100), Bytes(70000), Error::Corrupt},
                                         Senseless{"session_description", sessionDescription(), {}, Error::Unsupported},
                                         Senseless{"broken_matroska",
                                                   Bytes{0x1A, 0x45, 0xDF, 0xA3, 0x8B, 0x42, 0x82, 0x88, 'm', 'a', 't',
                                                         'r', 'o', 's', 'k', 'a', 0x11, 0x22, 0x33},
                                                   noise(1200000), Error::Corrupt}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(LiveFeedTest, SoundAloneIsNotSupported)
{
    LiveOptions options;
    options.pictures = false;
    options.sound = true;
    const PushedStream stream = liveMatroska("h264-alaw.mkv", options);
    Collector collector(stream.header);
    collector.push(stream, 0, 1);
    EXPECT_EQ(collector.failure(), Error::Unsupported);
}

} // namespace
