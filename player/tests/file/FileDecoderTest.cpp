#include "player/src/file/FileDecoder.h"

#include "player/src/core/SystemClock.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PictureNumber.h"
#include "player/tests/support/StdioBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <string_view>

namespace
{

using player::Error;
using player::FileDecoder;
using player::OpenFailure;
using player::Picture;
using player::test::Clip;
using player::test::MemoryBytes;
using player::test::numberOf;

/** Matroska and FLV write whole milliseconds; a picture may begin by so much later or earlier than it should. */
constexpr double kRounding = 1000;

/** The AVI writer holds the first picture for two where the sound begins later. */
double toleranceOf(const Clip &clip)
{
    return clip.file.rfind(".avi") == std::string::npos ? kRounding : static_cast<double>(clip.timeOf(1));
}

player::SystemClock g_clock;

std::unique_ptr<FileDecoder> open(const std::string &path)
{
    return std::make_unique<FileDecoder>(g_clock, player::test::StdioBytes::open(path));
}

bool never()
{
    return false;
}

/** When each picture begins according to the file, which the seek has to agree with; at the end the end. */
std::vector<std::int64_t> timesOf(const Clip &clip)
{
    const auto pDecoder = open(clip.path());
    std::vector<std::int64_t> times;
    for (Picture picture = pDecoder->next(); picture; picture = pDecoder->next()) {
        times.push_back(picture.time);
    }
    times.push_back(times.back() + clip.timeOf(1));
    return times;
}

class EveryClip : public testing::TestWithParam<Clip>
{
};

TEST_P(EveryClip, GivesEveryPictureInOrderWithItsTime)
{
    const auto pDecoder = open(GetParam().path());
    for (int i = 0; i < GetParam().pictures; ++i) {
        const Picture picture = pDecoder->next();
        ASSERT_TRUE(picture) << "ends before picture " << i;
        ASSERT_EQ(numberOf(picture), i);
        ASSERT_NEAR(static_cast<double>(picture.time), static_cast<double>(GetParam().timeOf(i)),
                    toleranceOf(GetParam()))
            << i;
    }
    EXPECT_FALSE(pDecoder->next());
    EXPECT_FALSE(pDecoder->next());
}

TEST_P(EveryClip, TellsSizeAndLength)
{
    const auto pDecoder = open(GetParam().path());
    EXPECT_EQ(pDecoder->facts().shape.width, GetParam().width);
    EXPECT_EQ(pDecoder->facts().shape.height, GetParam().height);
    if (GetParam().isRaw()) {
        EXPECT_FALSE(pDecoder->facts().length) << "nothing but an index can tell";
        return;
    }
    ASSERT_TRUE(pDecoder->facts().length);
    const double length = static_cast<double>(GetParam().timeOf(GetParam().pictures));
    // Where sound goes on behind the last picture, some containers tell its end.
    EXPECT_NEAR(static_cast<double>(*pDecoder->facts().length), length, 100000);
}

TEST_P(EveryClip, SeeksToExactlyThePictureOnDisplayAndGoesOnFromThere)
{
    const Clip &clip = GetParam();
    const auto times = timesOf(clip);
    const auto pDecoder = open(clip.path());
    std::mt19937 random(7);
    std::uniform_int_distribution<int> any(0, clip.pictures - 1);
    for (int round = 0; round < 12; ++round) {
        const int number = round == 0 ? clip.pictures - 1 : round == 1 ? 0 : any(random);
        // The first and the last moment of the picture in turns.
        const auto place = static_cast<std::size_t>(number);
        const std::int64_t time = round % 2 == 0 ? times[place] : times[place + 1] - 1;
        ASSERT_EQ(numberOf(pDecoder->seek(time, never)), number) << "round " << round;
        const Picture following = pDecoder->next();
        ASSERT_EQ(following ? numberOf(following) : clip.pictures, number + 1) << "round " << round;
    }
}

TEST_P(EveryClip, SeeksPastTheEndToTheLastPicture)
{
    const auto pDecoder = open(GetParam().path());
    EXPECT_EQ(numberOf(pDecoder->seek(std::int64_t{3600} * 1000000, never)), GetParam().pictures - 1);
    EXPECT_FALSE(pDecoder->next());
    EXPECT_EQ(numberOf(pDecoder->seek(0, never)), 0);
}

INSTANTIATE_TEST_SUITE_P(Clips, EveryClip, testing::ValuesIn(player::test::numberedClips()),
                         [](const auto &row) { return player::test::testName(row.param.file); });

struct BadFile {
    const char *file;
    std::vector<Error> errors;
};

void PrintTo(const BadFile &bad, std::ostream *pStream)
{
    *pStream << bad.file;
}

class ABadFile : public testing::TestWithParam<BadFile>
{
};

TEST_P(ABadFile, IsRefusedWithItsError)
{
    try {
        open(player::test::mediaPath(GetParam().file));
        FAIL() << "was opened";
    } catch (const OpenFailure &failure) {
        EXPECT_THAT(GetParam().errors, testing::Contains(failure.error));
    }
}

INSTANTIATE_TEST_SUITE_P(Files, ABadFile,
                         testing::Values(BadFile{"broken/empty.mp4", {Error::Corrupt}},
                                         BadFile{"broken/no-index.mp4", {Error::Corrupt}},
                                         BadFile{"broken/cut-h264.mov", {Error::Corrupt}}, // its index was at the end
                                         BadFile{"broken/garbage.bin", {Error::Unsupported, Error::Corrupt}},
                                         BadFile{"broken/garbage.mp4", {Error::Unsupported, Error::Corrupt}},
                                         BadFile{"broken/garbage.ts", {Error::Unsupported, Error::Corrupt}},
                                         BadFile{"broken/garbage.h264", {Error::Unsupported, Error::Corrupt}},
                                         BadFile{"sound-only.mp4", {Error::Unsupported}},
                                         BadFile{"sound-only.ts", {Error::Unsupported}}),
                         [](const auto &row) { return player::test::testName(row.param.file); });

class ACutFile : public testing::TestWithParam<const char *>
{
};

TEST_P(ACutFile, PlaysAsFarAsItGoes)
{
    const Clip whole = player::test::clip(GetParam());
    const auto pDecoder = open(player::test::mediaPath(std::string("broken/cut-") + GetParam()));
    int number = 0;
    for (Picture picture = pDecoder->next(); picture; picture = pDecoder->next()) {
        ++number;
    }
    EXPECT_GT(number, whole.pictures / 4);
    EXPECT_LT(number, whole.pictures);
    EXPECT_EQ(numberOf(pDecoder->seek(timesOf(whole)[10], never)), 10);
}

INSTANTIATE_TEST_SUITE_P(Files, ACutFile,
                         testing::Values("h264.mp4", "h264-alaw.mkv", "vp9.webm", "h264.avi", "h264.ts", "mpeg2.mpg",
                                         "h264.flv", "raw.h264", "raw.h265", "fragmented.mp4"),
                         [](const auto &row) { return player::test::testName(row.param); });

class ADamagedFile : public testing::TestWithParam<const char *>
{
};

TEST_P(ADamagedFile, PlaysToItsEnd)
{
    const auto pDecoder = open(player::test::mediaPath(std::string("broken/damaged-") + GetParam()));
    std::int64_t time = -1;
    int pictures = 0;
    for (Picture picture = pDecoder->next(); picture; picture = pDecoder->next()) {
        EXPECT_GT(picture.time, time);
        time = picture.time;
        ++pictures;
    }
    EXPECT_GT(pictures, 30);
}

INSTANTIATE_TEST_SUITE_P(Files, ADamagedFile, testing::Values("h264-alaw.mkv", "h264.ts", "h264.avi", "raw.h264"),
                         [](const auto &row) { return player::test::testName(row.param); });

TEST(FileDecoder, KnowsTheRecordingTime)
{
    EXPECT_EQ(open(player::test::mediaPath("recorded.mkv"))->facts().recordingTime, 1709251198500000);
    EXPECT_EQ(open(player::test::mediaPath("recorded.mp4"))->facts().recordingTime, 1709251198000000);
    EXPECT_EQ(open(player::test::mediaPath("h264.ts"))->facts().recordingTime, std::nullopt);
}

TEST(FileDecoder, OpensPicturesOfOddSizes)
{
    for (const char *file : {"pixel-1x1.avi", "wide-16384x16.avi", "tall-16x16384.avi"}) {
        const Clip clip = player::test::clip(file);
        const auto pDecoder = open(clip.path());
        EXPECT_EQ(pDecoder->facts().shape.width, clip.width) << file;
        EXPECT_EQ(pDecoder->facts().shape.height, clip.height) << file;
        int pictures = 0;
        while (pDecoder->next()) {
            ++pictures;
        }
        EXPECT_EQ(pictures, clip.pictures) << file;
    }
}

TEST(FileDecoder, ASupersededSeekComesToNothingAndTheNextOneIsExact)
{
    const auto pDecoder = open(player::test::mediaPath("one-gop.mp4"));
    int asked = 0;
    EXPECT_FALSE(pDecoder->seek(11000000, [&] { return ++asked > 40; }));
    EXPECT_EQ(numberOf(pDecoder->seek(2020000, never)), 50);
}

TEST(FileDecoder, HurriesToAKeyPictureAndMarksTheGap)
{
    const auto pDecoder = open(player::test::mediaPath("long.mp4"));
    pDecoder->next();
    pDecoder->hurryTo(60000000);
    const Picture picture = pDecoder->next();
    EXPECT_TRUE(picture.afterGap);
    EXPECT_GE(picture.time, 56000000);
    EXPECT_LE(picture.time, 64000000);
    EXPECT_EQ(numberOf(picture), picture.time / 40000);
}

/** The numbers of all pictures from here on, and that their times rise. */
std::vector<int> numbersOf(FileDecoder &reader)
{
    std::vector<int> numbers;
    std::int64_t time = -1;
    for (Picture picture = reader.next(); picture; picture = reader.next()) {
        EXPECT_GT(picture.time, time);
        time = picture.time;
        numbers.push_back(numberOf(picture));
    }
    return numbers;
}

/** First to end - 1, then again from nought. */
std::vector<int> counted(int first, int end, int again = 0)
{
    std::vector<int> numbers;
    for (int number = first; number < end; ++number) {
        numbers.push_back(number);
    }
    for (int number = 0; number < again; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

TEST(FileDecoder, FollowsASizeThatChangesInTheMiddle)
{
    using player::test::mediaPath;
    FileDecoder reader(g_clock, std::make_unique<MemoryBytes>(player::test::codedPicturesOf(
                                    {mediaPath("mjpeg.avi"), mediaPath("odd-321x243.avi")})));
    EXPECT_EQ(reader.facts().shape.width, 320);
    for (int i = 0; i < 100; ++i) {
        const Picture picture = reader.next();
        ASSERT_EQ(numberOf(picture), i);
        ASSERT_EQ(picture.shape.width, 320);
    }
    for (int i = 0; i < 25; ++i) {
        const Picture picture = reader.next();
        ASSERT_EQ(numberOf(picture), i);
        ASSERT_EQ(picture.shape.width, 321);
        ASSERT_EQ(picture.shape.height, 243);
    }
    EXPECT_FALSE(reader.next());
}

TEST(FileDecoder, GoesOnThroughJoinedFilesWhoseTimesStartOver)
{
    std::vector<std::uint8_t> bytes = player::test::bytesOf(player::test::mediaPath("h264.ts"));
    const std::vector<std::uint8_t> once = bytes;
    bytes.insert(bytes.end(), once.begin(), once.end());
    FileDecoder reader(g_clock, std::make_unique<MemoryBytes>(bytes));
    EXPECT_EQ(numbersOf(reader), counted(0, 100, 100));
}

/** A clip whose edit list, which is FFmpeg's own otherwise, begins later and ends earlier. */
std::vector<std::uint8_t> clipWithEditList(std::uint32_t firstTick, std::uint32_t milliseconds)
{
    std::vector<std::uint8_t> bytes = player::test::bytesOf(player::test::mediaPath("h264.mp4"));
    constexpr std::string_view kEditList = "elst";
    const auto found = std::search(bytes.begin(), bytes.end(), kEditList.begin(), kEditList.end());
    const auto put = [&](std::ptrdiff_t offset, std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            found[offset++] = static_cast<std::uint8_t>(value >> shift);
        }
    };
    // Behind the name: version and flags, number of entries; then length and first tick of the only one.
    put(12, milliseconds);
    put(16, firstTick);
    return bytes;
}

TEST(FileDecoder, LeavesOutWhatTheEditListLeavesOut)
{
    // 512 ticks a picture; the first one is at 1024. Picture 30 is no key picture.
    const auto bytes = clipWithEditList(1024 + 30 * 512, 2000);
    FileDecoder reader(g_clock, std::make_unique<MemoryBytes>(bytes));
    EXPECT_EQ(reader.facts().length, 2000000);
    EXPECT_EQ(numbersOf(reader), counted(30, 80));
    EXPECT_EQ(numberOf(reader.seek(0, never)), 30);
    EXPECT_EQ(numberOf(reader.seek(1000000, never)), 55);
    EXPECT_EQ(numberOf(reader.seek(3600000000, never)), 79);
}

/** A file that can be taken away, as where a share is gone. */
class LostBytes : public MemoryBytes
{
public:
    using MemoryBytes::MemoryBytes;

    int read(std::uint8_t *pBuffer, int size) override
    {
        return s_bLost ? -1 : MemoryBytes::read(pBuffer, size);
    }

    bool seek(std::int64_t position) override
    {
        return !s_bLost && MemoryBytes::seek(position);
    }

    static inline std::atomic<bool> s_bLost{false};
};

/** A file that is lost after so many reads. */
class FleetingBytes : public MemoryBytes
{
public:
    FleetingBytes(const std::string &file, int reads)
        : MemoryBytes(player::test::bytesOf(player::test::mediaPath(file))), m_nReads(reads)
    {
    }

    int read(std::uint8_t *pBuffer, int size) override
    {
        return m_nReads-- > 0 ? MemoryBytes::read(pBuffer, size) : -1;
    }

private:
    int m_nReads;
};

TEST(FileDecoder, SurvivesAFileThatIsLostAtAnyMoment)
{
    for (const char *file : {"live.mkv", "h264.flv", "h264.ts"}) {
        for (int reads = 0; reads < 12; ++reads) {
            try {
                FileDecoder reader(g_clock, std::make_unique<FleetingBytes>(file, reads));
                reader.seek(3000000, never);
                reader.seek(0, never);
            } catch (const OpenFailure &) {
                continue;
            }
        }
    }
}

class ALostFile : public testing::TestWithParam<const char *>
{
};

TEST_P(ALostFile, IsSoughtInForNothingAndPlaysAgainWhenItIsBack)
{
    FileDecoder reader(g_clock,
                       std::make_unique<LostBytes>(player::test::bytesOf(player::test::mediaPath(GetParam()))));
    LostBytes::s_bLost = true;
    for (const std::int64_t time : {0, 3000000, 0, 1000000}) {
        reader.seek(time, never);
        reader.next();
    }
    LostBytes::s_bLost = false;
    const std::int64_t time = timesOf(player::test::clip(GetParam()))[50];
    EXPECT_EQ(numberOf(reader.seek(time, never)), 50);
    EXPECT_EQ(numberOf(reader.next()), 51);
}

INSTANTIATE_TEST_SUITE_P(Files, ALostFile,
                         testing::Values("h264.mp4", "live.mkv", "h264.ts", "raw.h264", "fragmented.mp4", "h264.avi",
                                         "h264.flv", "h264.mpg"),
                         [](const auto &row) { return player::test::testName(row.param); });

/** A recording whose second cluster claims to begin at the end of all times. */
std::vector<std::uint8_t> clipOfHostileTimes(std::uint8_t first)
{
    const std::vector<std::uint8_t> bytes = player::test::bytesOf(player::test::mediaPath("live.mkv"));
    const std::uint8_t clusterId[] = {0x1F, 0x43, 0xB6, 0x75};
    auto found = std::search(bytes.begin(), bytes.end(), std::begin(clusterId), std::end(clusterId));
    found = std::search(found + 4, bytes.end(), std::begin(clusterId), std::end(clusterId));
    const auto stamp = std::find(found, bytes.end(), 0xE7);
    std::vector<std::uint8_t> edited(bytes.begin(), stamp);
    edited.insert(edited.end(), {0xE7, 0x88, first, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF0, 0x00});
    edited.insert(edited.end(), stamp + 2 + (stamp[1] & 0x0F), bytes.end());
    return edited;
}

TEST(FileDecoder, SurvivesHostileTimes)
{
    for (const std::uint8_t first : {0x7F, 0x3F, 0x0F, 0x01, 0x80, 0xFF}) {
        FileDecoder reader(g_clock, std::make_unique<MemoryBytes>(clipOfHostileTimes(first)));
        EXPECT_GT(numbersOf(reader).size(), 20u);
        for (const std::int64_t time : {std::int64_t{0}, std::int64_t{3000000}, std::int64_t{0xFFFFFFFF} * 1000}) {
            reader.seek(time, never);
            reader.next();
        }
    }
}

} // namespace
