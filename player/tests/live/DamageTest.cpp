// One picture of a stream is damaged: whatever is shown is what it is without the damage.
#include "player/tests/support/Clips.h"
#include "player/tests/support/Collector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

using player::test::Bytes;
using player::test::CodedPicture;
using player::test::Collector;
using player::test::expectWhole;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::PushedStream;

struct Damage {
    const char *name;
    void (*damage)(Bytes &bytes);
};

void cutInHalf(Bytes &bytes)
{
    bytes.resize(bytes.size() / 2);
}

void cutABit(Bytes &bytes)
{
    bytes.resize(bytes.size() * 9 / 10);
}

void takeFromTheMiddle(Bytes &bytes)
{
    const auto size = static_cast<std::ptrdiff_t>(bytes.size());
    bytes.erase(bytes.begin() + size / 3, bytes.begin() + size / 2);
}

struct Row {
    const char *file;
    Damage damage;
};

void PrintTo(const Row &row, std::ostream *pStream)
{
    *pStream << row.file << ", " << row.damage.name;
}

class ADamagedStream : public testing::TestWithParam<Row>
{
};

TEST_P(ADamagedStream, ShowsNothingThatIsMadeOfTheDamage)
{
    const PushedStream whole = liveMatroska(GetParam().file);
    // Of these some are made of others that are shown later, and some of none.
    for (const int number : {25, 30, 31, 32, 40}) {
        LiveOptions options;
        options.edit = [number](CodedPicture &picture) {
            if (picture.number == number) {
                GetParam().damage.damage(picture.bytes);
            }
        };
        const PushedStream stream = liveMatroska(GetParam().file, options);
        Collector collector(stream.header);
        collector.push(stream, 0, stream.records.size());
        EXPECT_GE(collector.numbers().size(), 60u) << number;
        expectWhole(collector, whole);
    }
}

constexpr Damage kHalf{"cut_in_half", cutInHalf};
constexpr Damage kBit{"cut_a_bit", cutABit};
constexpr Damage kMiddle{"without_its_middle", takeFromTheMiddle};

INSTANTIATE_TEST_SUITE_P(Streams, ADamagedStream,
                         testing::Values(Row{"h264.avi", kHalf}, Row{"h264.avi", kBit}, Row{"h264.mp4", kHalf},
                                         Row{"h264.mp4", kBit}, Row{"h264.mp4", kMiddle}, Row{"mpeg1.mkv", kHalf},
                                         Row{"mpeg1.mkv", kMiddle}, Row{"mpeg2.mkv", kHalf}, Row{"mpeg2.mkv", kBit},
                                         Row{"mpeg2.mkv", kMiddle}),
                         [](const auto &row) {
                             return player::test::testName(row.param.file) + "_" + row.param.damage.name;
                         });

} // namespace
