// Streams as real devices send them, with what is unusual about them: which pictures come out, and when.
#include "player/src/core/Codec.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/Collector.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PushedContainer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace
{

using namespace std::chrono_literals;
using player::test::Bytes;
using player::test::CodedPicture;
using player::test::Collector;
using player::test::expectWhole;
using player::test::liveFlash;
using player::test::liveFragments;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveProgram;
using player::test::liveRaw;
using player::test::liveTransport;
using player::test::place;
using player::test::PushedContainer;
using player::test::PushedStream;
using player::test::range;
using player::test::unitsOf;
using testing::ElementsAreArray;

/** As Pellora opens a stream. */
constexpr std::size_t kSourceBuffer = 5 * 1024 * 1024;

/** Makes every key picture larger by so much. */
LiveOptions largeKeys(std::size_t size)
{
    LiveOptions options;
    options.edit = [size](CodedPicture &picture) {
        if (picture.key) {
            appendUnit(picture, player::test::filler(size));
        }
    };
    return options;
}

class ALargeKeyPicture : public testing::TestWithParam<PushedContainer>
{
protected:
    /** From the middle of a group on, so that small pictures come before the first key picture. */
    static constexpr int kFrom = 10;
    static constexpr int kKey = 25;

    /** The header of a transport stream has the first picture in it. */
    static std::vector<int> afterHeader(Collector &collector)
    {
        auto numbers = collector.numbers();
        numbers.erase(std::remove(numbers.begin(), numbers.end(), 0), numbers.end());
        return numbers;
    }
};

TEST_P(ALargeKeyPicture, IsShownAfterSmallPictures)
{
    for (const std::size_t size : {300000U, 1000000U, 4000000U}) {
        const PushedStream stream = GetParam().make(GetParam().file, largeKeys(size));
        Collector collector(stream.header, kSourceBuffer);
        for (std::size_t i = place(stream, kFrom); i < stream.records.size(); ++i) {
            collector.push(stream, i, i + 1);
            collector.clock().settle();
        }
        EXPECT_THAT(afterHeader(collector), ElementsAreArray(range(kKey, GetParam().last + 1))) << size;
    }
}

TEST_P(ALargeKeyPicture, IsShownWhereItTakesLongToCome)
{
    const PushedStream stream = GetParam().make(GetParam().file, largeKeys(600000));
    Collector collector(stream.header, kSourceBuffer);
    for (std::size_t i = place(stream, kFrom); i < place(stream, kKey) + 5; ++i) {
        // Eight seconds.
        constexpr std::size_t kPiece = 7500;
        const Bytes &bytes = stream.records[i].bytes;
        for (std::size_t at = 0; at < bytes.size(); at += kPiece) {
            const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
            const auto end = begin + static_cast<std::ptrdiff_t>(std::min(kPiece, bytes.size() - at));
            collector.push({Bytes(begin, end), -1, false});
            collector.clock().advance(100ms);
        }
    }
    const auto numbers = afterHeader(collector);
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.front(), kKey);
}

INSTANTIATE_TEST_SUITE_P(Containers, ALargeKeyPicture,
                         testing::Values(PushedContainer{"matroska", liveMatroska, "h264.avi", 99},
                                         PushedContainer{"mp4", liveFragments, "h264.avi", 99},
                                         PushedContainer{"flv", liveFlash, "h264.mp4", 97},
                                         PushedContainer{"transport", liveTransport, "h264.avi", 97},
                                         PushedContainer{"program", liveProgram, "h264.avi", 98},
                                         PushedContainer{"raw", liveRaw, "h264.avi", 98}),
                         [](const auto &row) { return row.param.name; });

TEST(ALargeFirstPicture, IsShownAlthoughSoundComesBeforeIt)
{
    LiveOptions options = largeKeys(1500000);
    options.sound = true;
    const PushedStream stream = liveMatroska("h264-alaw.mkv", options);
    Collector collector(stream.header, kSourceBuffer);
    std::size_t sounds = 0;
    for (const auto &record : stream.records) {
        if (record.number < 0 && sounds++ < 20) {
            collector.push(record);
        }
    }
    collector.clock().settle();
    for (std::size_t i = 0; i < stream.records.size(); ++i) {
        collector.push(stream, i, i + 1);
        collector.clock().settle();
    }
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, 98)));
}

/** Writes a number over the first place where the other one stands; big-endian, like all of MP4 and FLV. */
void replaceNumber(Bytes &bytes, std::size_t from, std::uint32_t old, std::uint32_t now, int size)
{
    for (std::size_t at = from; at + static_cast<std::size_t>(size) <= bytes.size(); ++at) {
        std::uint32_t number = 0;
        for (int i = 0; i < size; ++i) {
            number = number << 8 | bytes[at + static_cast<std::size_t>(i)];
        }
        if (number == old) {
            for (int i = 0; i < size; ++i) {
                bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(now >> (8 * (size - 1 - i)));
            }
            return;
        }
    }
    FAIL() << "no such number";
}

TEST(ALengthThatIsBroken, CostsTheRestOfTheGroupWhereTheNextFragmentTellsIt)
{
    PushedStream stream = liveFragments("bench-1080p.mp4", {});
    constexpr std::size_t kAt = 20;
    Bytes &bytes = stream.records[kAt].bytes;
    constexpr char kData[] = {'m', 'd', 'a', 't'};
    const auto data = std::search(bytes.begin(), bytes.end(), std::begin(kData), std::end(kData));
    ASSERT_NE(data, bytes.end());
    const auto size = static_cast<std::uint32_t>(bytes.end() - data - 4);
    replaceNumber(bytes, 0, size, 3000000, 4);
    Collector collector(stream.header, kSourceBuffer);
    collector.push(stream, 0, 150);
    const auto numbers = collector.numbers();
    const auto key = std::find(numbers.begin(), numbers.end(), 49);
    EXPECT_GE(key - numbers.begin(), 17);
    EXPECT_THAT(std::vector<int>(key, numbers.end()), ElementsAreArray(range(49, 148)));
}

TEST(ALengthThatIsBroken, CostsTheRestOfTheGroupWhereTheNextTagTellsIt)
{
    PushedStream stream = liveFlash("bench-1080p.mp4", {});
    constexpr std::size_t kAt = 20;
    Bytes &bytes = stream.records[kAt].bytes;
    replaceNumber(bytes, 1, static_cast<std::uint32_t>(bytes.size() - 15), 3000000, 3);
    Collector collector(stream.header, kSourceBuffer);
    collector.push(stream, 0, 150);
    const auto numbers = collector.numbers();
    const auto key = std::find(numbers.begin(), numbers.end(), 49);
    EXPECT_GE(key - numbers.begin(), 17);
    EXPECT_THAT(std::vector<int>(key, numbers.end()), ElementsAreArray(range(49, 148)));
}

/** Pictures of which others are made last, pushed as a camera sends them. */
class APacedStream : public testing::TestWithParam<PushedContainer>
{
};

TEST_P(APacedStream, IsShownWithAllItsPicturesAlthoughTheNextOneTellsThatOneIsWhole)
{
    // Five pictures a second: the next one is further away than any delay that is borne.
    const PushedStream stream = GetParam().make(GetParam().file, {});
    Collector collector(stream.header, kSourceBuffer, player::StreamMode::RealTime);
    collector.pushPaced(stream, 0, stream.records.size(), 200ms);
    auto numbers = collector.numbers();
    // A program stream is known by its third picture; those before it have come too long ago by then.
    constexpr int kKnown = 6;
    numbers.erase(numbers.begin(), std::find(numbers.begin(), numbers.end(), kKnown));
    EXPECT_THAT(numbers, ElementsAreArray(range(kKnown, GetParam().last + 1)));
}

INSTANTIATE_TEST_SUITE_P(Containers, APacedStream,
                         testing::Values(PushedContainer{"matroska", liveMatroska, "h264.mp4", 97},
                                         PushedContainer{"mp4", liveFragments, "h264.mp4", 97},
                                         PushedContainer{"flv", liveFlash, "h264.mp4", 97},
                                         PushedContainer{"transport", liveTransport, "h264.mp4", 95},
                                         PushedContainer{"transport_mpeg2", liveTransport, "mpeg2.mkv", 96},
                                         PushedContainer{"program_mpeg1", liveProgram, "mpeg1.mkv", 97},
                                         PushedContainer{"program_mpeg2", liveProgram, "mpeg2.mkv", 97}),
                         [](const auto &row) { return row.param.name; });

/** A recorded file in pieces, as fast as it plays. */
class APacedFile : public testing::TestWithParam<const char *>
{
};

TEST_P(APacedFile, IsShownWithAllItsPictures)
{
    const Bytes bytes = player::test::bytesOf(player::test::mediaPath(GetParam()));
    const PushedStream stream = player::test::cut(bytes, bytes.size() / 100);
    Collector collector(stream.header, kSourceBuffer, player::StreamMode::RealTime);
    collector.pushPaced(stream, 0, stream.records.size(), 40ms);
    const auto numbers = collector.numbers();
    ASSERT_GE(numbers.size(), 90u);
    EXPECT_THAT(numbers, ElementsAreArray(range(numbers.front(), numbers.back() + 1)));
    EXPECT_LE(numbers.front(), 2);
}

INSTANTIATE_TEST_SUITE_P(Files, APacedFile,
                         testing::Values("mpeg1.mpg", "mpeg2.mpg", "h264.mpg", "h264.ts", "h265.ts", "mpeg2.ts",
                                         "mpeg4.ts", "raw.h264", "raw.h265"),
                         [](const auto &row) { return player::test::testName(row.param); });

template <typename Predicate>
void removeUnits(CodedPicture &picture, const Predicate &unwanted)
{
    const std::vector<Bytes> units = unitsOf(picture);
    picture.bytes.clear();
    for (const Bytes &unit : units) {
        if (!unwanted(unit)) {
            appendUnit(picture, unit);
        }
    }
}

bool isInformation264(const Bytes &unit)
{
    return (unit.front() & 31) == 6;
}

/** What a camera sends that never sends a picture at which decoders may begin, or does not say so. */
struct NoKeys {
    const char *name;
    const char *file;
    bool information;
    /** Within so many pictures the first one is shown. */
    int within;
};

void PrintTo(const NoKeys &row, std::ostream *pStream)
{
    *pStream << row.name;
}

class AStreamWithoutKeyPictures : public testing::TestWithParam<NoKeys>
{
};

TEST_P(AStreamWithoutKeyPictures, IsShownWithinASecondOrTheNextIntraPictureAndWhole)
{
    LiveOptions options;
    const bool bInformation = GetParam().information;
    options.edit = [bInformation](CodedPicture &picture) {
        picture.key = false;
        if (!bInformation) {
            removeUnits(picture, isInformation264);
        }
    };
    const PushedStream whole = liveMatroska(GetParam().file);
    const PushedStream stream = liveMatroska(GetParam().file, options);
    Collector collector(stream.header);
    // From behind the only picture that is a key picture by itself.
    collector.pushPaced(stream, 3, stream.records.size(), 40ms);
    const auto numbers = collector.numbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_LE(numbers.front(), 3 + GetParam().within);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    EXPECT_GE(numbers.back(), 97);
    expectWhole(collector, whole);
}

INSTANTIATE_TEST_SUITE_P(Streams, AStreamWithoutKeyPictures,
                         testing::Values(NoKeys{"recovery_points", "open-gop.mkv", true, 30},
                                         NoKeys{"a_wave_of_intra_blocks", "intra-refresh.mkv", true, 50},
                                         NoKeys{"intra_pictures_that_nothing_tells", "open-gop.mkv", false, 50}),
                         [](const auto &row) { return row.param.name; });

class TimesOfNoUse : public testing::TestWithParam<std::int64_t>
{
};

TEST_P(TimesOfNoUse, CostNoPictureAndKeepTheOrder)
{
    LiveOptions options;
    const std::int64_t same = GetParam();
    options.edit = [same](CodedPicture &picture) {
        picture.pts -= picture.pts % same;
        picture.dts = picture.pts;
    };
    const PushedStream stream = liveMatroska("h264.avi", options);
    for (const auto mode : {player::StreamMode::File, player::StreamMode::RealTime}) {
        Collector collector(stream.header, kSourceBuffer, mode);
        collector.pushPaced(stream, 0, stream.records.size(), 40ms);
        EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, 100)));
        const auto &pictures = collector.pictures();
        for (std::size_t i = 1; i < pictures.size(); ++i) {
            EXPECT_GT(pictures[i].time, pictures[i - 1].time) << i;
        }
    }
}

// Two pictures share a time; ten; all of them.
INSTANTIATE_TEST_SUITE_P(Milliseconds, TimesOfNoUse, testing::Values(80, 400, 1000000));

TEST(TimesBeyondAllBounds, AreSurvived)
{
    constexpr std::int64_t kTimes[] = {0, INT64_MAX / 1000, INT64_MIN / 1000, 1, INT64_MAX - 1, INT64_MIN + 1, 40};
    std::size_t next = 0;
    player::test::FakeClock clock;
    player::LiveDecoder decoder(clock);
    const PushedStream stream = liveMatroska("h264.avi");
    player::LiveBuffer buffer(clock, 64 * 1024 * 1024);
    player::LiveDemuxer demuxer(clock, stream.header, buffer, [] {});
    for (const auto &record : stream.records) {
        ASSERT_EQ(buffer.push(record.bytes.data(), record.bytes.size()), player::Error::None);
    }
    ASSERT_TRUE(demuxer.open());
    int shown = 0;
    constexpr int kPictures = 90;
    for (int i = 0; i < kPictures; ++i) {
        auto packet = demuxer.read();
        ASSERT_TRUE(packet);
        packet->pPacket->pts = kTimes[next++ % std::size(kTimes)];
        packet->pPacket->dts = packet->pPacket->pts;
        decoder.feed(*packet, demuxer.pictureStream(), false);
        for (auto picture = decoder.take(); picture; picture = decoder.take()) {
            // A century either way.
            EXPECT_LE(std::abs(picture.time), std::int64_t{3155760000000000});
            ++shown;
        }
    }
    EXPECT_GT(shown, 0);
}

TEST(TimesBeyondAllBounds, EndAtACenturyWhateverTheTick)
{
    constexpr std::int64_t kCentury = 3155760000000000;
    using player::microsecondsBetween;
    EXPECT_EQ(microsecondsBetween(INT64_MIN, INT64_MAX, {1, 1}), kCentury);
    EXPECT_EQ(microsecondsBetween(INT64_MAX, INT64_MIN, {1, 1000}), -kCentury);
    EXPECT_EQ(microsecondsBetween(0, INT64_MAX, {INT32_MAX, 1}), kCentury);
    EXPECT_EQ(microsecondsBetween(0, INT64_MIN, {INT32_MAX, 1}), -kCentury);
    EXPECT_EQ(microsecondsBetween(5, 10, {0, 1}), 0);
    EXPECT_EQ(microsecondsBetween(5, 10, {1, 1000}), 5000);
}

class ABadMessage : public testing::TestWithParam<PushedContainer>
{
};

TEST_P(ABadMessage, InThePicturesCostsNone)
{
    LiveOptions options;
    const bool b265 = std::string(GetParam().file).find("265") != std::string::npos;
    options.edit = [b265](CodedPicture &picture) {
        if (!picture.key) {
            // Of picture timing and buffering periods that claim more than is there, before the slices.
            CodedPicture messages = picture;
            messages.bytes.clear();
            appendUnit(messages, b265 ? Bytes{39 << 1, 1, 1, 200, 1, 2} : Bytes{6, 1, 200, 1, 2});
            appendUnit(messages, b265 ? Bytes{39 << 1, 1, 0, 9, 255, 255, 255} : Bytes{6, 0, 9, 0xFF, 0xFF, 0xFF});
            picture.bytes.insert(picture.bytes.begin(), messages.bytes.begin(), messages.bytes.end());
        }
    };
    const PushedStream stream = GetParam().make(GetParam().file, options);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, GetParam().last + 1)));
}

INSTANTIATE_TEST_SUITE_P(Codecs, ABadMessage,
                         testing::Values(PushedContainer{"h264", liveMatroska, "h264.mp4", 97},
                                         PushedContainer{"h264_start_codes", liveMatroska, "h264.avi", 99},
                                         PushedContainer{"h265", liveMatroska, "h265.mp4", 97}),
                         [](const auto &row) { return row.param.name; });

} // namespace
