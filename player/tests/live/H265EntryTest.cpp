// Streams of H.265 that are joined where older pictures are missing: which pictures come out, and whether they are
// whole.
#include "player/tests/support/Clips.h"
#include "player/tests/support/Collector.h"
#include "player/tests/support/PushedContainer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>

namespace
{

using namespace std::chrono_literals;
using player::test::Bytes;
using player::test::CodedPicture;
using player::test::Collector;
using player::test::expectWhole;
using player::test::liveFragments;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveProgram;
using player::test::liveRaw;
using player::test::liveTransport;
// clang-tidy does not see that it joins the bytes below.
using player::test::operator+; // NOLINT(misc-unused-using-decls)
using player::test::place;
using player::test::PushedContainer;
using player::test::PushedStream;
using player::test::range;
using player::test::unitsOf;
using testing::ElementsAreArray;

// Types of units of ITU-T H.265, table 7-1.
constexpr int kRaslN = 8;
constexpr int kRaslR = 9;
constexpr int kIdr = 20;
constexpr int kCra = 21;
constexpr int kInformation = 39;

constexpr char kOpenGroups[] = "h265-open-gop.mkv";
/** Pictures from one clean random access to the next; before each there are three that look across it. */
constexpr int kGroup = 24;
constexpr int kLeading = 3;

int typeOf(const Bytes &unit)
{
    return unit.front() >> 1 & 63;
}

bool isSlice(const Bytes &unit)
{
    return typeOf(unit) < 32;
}

/** The type of each picture's slices, by its number. */
std::map<int, int> typesOf(const char *file)
{
    std::map<int, int> types;
    LiveOptions options;
    options.edit = [&types](CodedPicture &picture) {
        for (const Bytes &unit : unitsOf(picture)) {
            if (isSlice(unit)) {
                types[picture.number] = typeOf(unit);
            }
        }
    };
    static_cast<void>(liveMatroska(file, options));
    return types;
}

class AStreamOfOpenGroups : public testing::TestWithParam<PushedContainer>
{
protected:
    void SetUp() override
    {
        // The clip is what the tests are about.
        const std::map<int, int> types = typesOf(kOpenGroups);
        ASSERT_EQ(types.size(), 100u);
        for (const int key : {1, 2, 3}) {
            ASSERT_EQ(types.at(kGroup * key), kCra);
            for (int i = 1; i <= kLeading; ++i) {
                ASSERT_THAT(types.at(kGroup * key - i), testing::AnyOf(kRaslN, kRaslR));
            }
        }
        ASSERT_EQ(types.at(0), kIdr);
        m_stream = withoutPictureInHeader(GetParam().make(GetParam().file, {}));
    }

    /** The header of a transport stream has the first picture in it; its tables are in the first three packets. */
    static PushedStream withoutPictureInHeader(PushedStream stream)
    {
        constexpr std::ptrdiff_t kTables = std::ptrdiff_t{3} * 188;
        if (stream.header.front() == 0x47) {
            const auto begin = stream.header.begin() + kTables;
            stream.records.insert(stream.records.begin(), {Bytes(begin, stream.header.end()), 0, true});
            stream.header.erase(begin, stream.header.end());
        }
        return stream;
    }

    PushedStream m_stream;
};

TEST_P(AStreamOfOpenGroups, IsShownWholeFromItsBeginning)
{
    Collector collector(m_stream.header);
    collector.push(m_stream, 0, m_stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(0, GetParam().last + 1)));
}

TEST_P(AStreamOfOpenGroups, JoinedAtARandomAccessShowsNothingThatLooksAcrossIt)
{
    const std::size_t key = place(m_stream, kGroup);
    ASSERT_LT(m_stream.records[key + 1].number, kGroup) << "the pictures that look across it are sent behind it";
    Collector collector(m_stream.header);
    collector.push(m_stream, key, m_stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(kGroup, GetParam().last + 1)));
    expectWhole(collector, m_stream);
}

TEST_P(AStreamOfOpenGroups, JoinedInAGroupIsShownFromTheNextRandomAccess)
{
    Collector collector(m_stream.header);
    collector.push(m_stream, place(m_stream, kGroup - 2 * kLeading), m_stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(kGroup, GetParam().last + 1)));
    expectWhole(collector, m_stream);
}

TEST_P(AStreamOfOpenGroups, AfterALossIsShownFromTheNextRandomAccess)
{
    // The picture before the random access in the order of sending, to which those that look across it refer.
    const int lost = kGroup - kLeading - 1;
    m_stream.records.erase(m_stream.records.begin() + static_cast<std::ptrdiff_t>(place(m_stream, lost)));
    const PushedStream whole = withoutPictureInHeader(GetParam().make(GetParam().file, {}));
    Collector collector(m_stream.header);
    collector.push(m_stream, 0, m_stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    const auto again = std::find(numbers.begin(), numbers.end(), 2 * kGroup);
    EXPECT_THAT(std::vector<int>(again, numbers.end()), ElementsAreArray(range(2 * kGroup, GetParam().last + 1)));
    expectWhole(collector, whole);
}

TEST_P(AStreamOfOpenGroups, WithTheEndOfAGroupMissingShowsNothingThatLooksThere)
{
    const PushedStream whole = m_stream;
    const auto begin = m_stream.records.begin();
    m_stream.records.erase(begin + static_cast<std::ptrdiff_t>(place(m_stream, 12)),
                           begin + static_cast<std::ptrdiff_t>(place(m_stream, kGroup)));
    Collector collector(m_stream.header);
    collector.push(m_stream, 0, m_stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    for (const int leading : range(kGroup - kLeading, kGroup)) {
        EXPECT_THAT(numbers, testing::Not(testing::Contains(leading)));
    }
    const auto again = std::find(numbers.begin(), numbers.end(), 2 * kGroup);
    EXPECT_THAT(std::vector<int>(again, numbers.end()), ElementsAreArray(range(2 * kGroup, GetParam().last + 1)));
    expectWhole(collector, whole);
}

INSTANTIATE_TEST_SUITE_P(Containers, AStreamOfOpenGroups,
                         testing::Values(PushedContainer{"matroska", liveMatroska, kOpenGroups, 97},
                                         PushedContainer{"mp4", liveFragments, kOpenGroups, 97},
                                         PushedContainer{"transport", liveTransport, "h265-open-gop.ts", 95},
                                         PushedContainer{"program", liveProgram, "h265-open-gop.ts", 96},
                                         PushedContainer{"raw", liveRaw, "h265-open-gop.ts", 96}),
                         [](const auto &row) { return row.param.name; });

// Messages of ITU-T H.265, D.2.8: recovery points whose pictures are whole ten pictures later, and at once.
const Bytes kWholeAfterTen{kInformation << 1, 1, 6, 2, 0x0A, 0x10, 0x80};
const Bytes kWholeAtOnce{kInformation << 1, 1, 6, 1, 0x90, 0x80};

/** The message stands before pictures 25, 50 and 75. */
PushedStream withRecoveryPoints(const char *file, const Bytes &message)
{
    LiveOptions options;
    options.edit = [&message](CodedPicture &picture) {
        if (picture.number > 0 && picture.number % 25 == 0) {
            const Bytes slices = std::exchange(picture.bytes, {});
            appendUnit(picture, message);
            picture.bytes.insert(picture.bytes.end(), slices.begin(), slices.end());
        }
    };
    return liveMatroska(file, options);
}

/** Waves that renew the picture begin at 25, 50 and 75. The first, which is looked at, is through after nine. */
class AWaveOfH265 : public testing::Test
{
protected:
    static constexpr int kLast = 99;

    void SetUp() override
    {
        std::map<int, int> types = typesOf("h265-intra-refresh.mkv");
        ASSERT_EQ(types.at(0), kIdr);
        types.erase(0);
        for (const auto &type : types) {
            ASSERT_LT(type.second, 2) << "a picture that is no random access";
        }
        m_stream = withRecoveryPoints("h265-intra-refresh.mkv", kWholeAfterTen);
    }

    PushedStream m_stream;
};

TEST_F(AWaveOfH265, IsWaitedForWhereTheStreamIsJoined)
{
    Collector collector(m_stream.header);
    collector.push(m_stream, 10, m_stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_THAT(numbers, ElementsAreArray(range(35, kLast + 1)));
    expectWhole(collector, m_stream);
}

TEST_F(AWaveOfH265, IsWaitedForAfterALoss)
{
    const PushedStream whole = m_stream;
    m_stream.records.erase(m_stream.records.begin() + 10);
    Collector collector(m_stream.header);
    collector.push(m_stream, 0, m_stream.records.size());
    const auto numbers = collector.numbers();
    EXPECT_THAT(numbers, ElementsAreArray(range(0, 10) + range(35, kLast + 1)));
    expectWhole(collector, whole);
}

/** Every 25 pictures one that is made of nothing but itself, but at which the stream does not say that one may begin.
 */
class IntraPicturesOfH265 : public testing::Test
{
protected:
    static constexpr char kFile[] = "h265-intra.mkv";

    void SetUp() override
    {
        const std::map<int, int> types = typesOf(kFile);
        ASSERT_EQ(types.at(0), kIdr);
        ASSERT_EQ(types.at(25), 1) << "no random access";
        ASSERT_EQ(types.at(50), 1);
    }
};

TEST_F(IntraPicturesOfH265, WillDoAfterASecondWhereNothingElseIsPromised)
{
    const PushedStream stream = liveMatroska(kFile);
    Collector collector(stream.header);
    // Joined at 3, there is one at 25, before the second has passed, and the next one at 50.
    collector.pushPaced(stream, 3, stream.records.size(), 40ms);
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(50, 100)));
    expectWhole(collector, stream);
}

TEST_F(IntraPicturesOfH265, WillDoAtOnceWhereTheyAreRecoveryPoints)
{
    const PushedStream stream = withRecoveryPoints(kFile, kWholeAtOnce);
    Collector collector(stream.header);
    collector.push(stream, 3, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(25, 100)));
    expectWhole(collector, stream);
}

TEST_F(IntraPicturesOfH265, StillTellALossBehindThem)
{
    PushedStream stream = withRecoveryPoints(kFile, kWholeAtOnce);
    const PushedStream whole = stream;
    stream.records.erase(stream.records.begin() + 30);
    Collector collector(stream.header);
    collector.push(stream, 3, stream.records.size());
    EXPECT_THAT(collector.numbers(), ElementsAreArray(range(25, 30) + range(50, 100)));
    expectWhole(collector, whole);
}

} // namespace
