// Where there is no graphics card that decodes, as on the machines of these tests, nothing is different.
#include "player/src/core/HardwareDecoding.h"

#include "player/tests/support/Collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using player::test::Collector;
using player::test::liveMatroska;

class HardwareDecoding : public testing::TestWithParam<const char *>
{
protected:
    void TearDown() override
    {
        player::allowHardwareDecoding(false);
    }
};

TEST_P(HardwareDecoding, GivesTheSamePicturesWhereItIsAllowed)
{
    const auto stream = liveMatroska(GetParam());
    Collector plain(stream.header);
    plain.push(stream, 0, stream.records.size());
    player::allowHardwareDecoding(true);
    Collector allowed(stream.header);
    allowed.push(stream, 0, stream.records.size());
    EXPECT_THAT(allowed.numbers(), testing::ElementsAreArray(plain.numbers()));
    ASSERT_EQ(allowed.pictures().size(), plain.pictures().size());
    for (std::size_t i = 0; i < plain.pictures().size(); ++i) {
        EXPECT_EQ(player::test::apart(allowed.pictures()[i], plain.pictures()[i]), 0) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, HardwareDecoding, testing::Values("h264.mp4", "h265.mp4", "mpeg2.mkv"),
                         [](const auto &row) { return std::string(row.param).substr(0, 4); });

} // namespace
