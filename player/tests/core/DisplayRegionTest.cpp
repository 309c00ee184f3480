// Rectangles as hosts give them, with whatever numbers are in them.
#include "player/src/core/Playback.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

using player::DisplayRegion;
using player::PictureShape;
using player::PixelRect;

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

struct Region {
    const char *name;
    DisplayRegion given;
    /** Of a picture of 320 x 240. */
    PixelRect clamped;
};

void PrintTo(const Region &region, std::ostream *pStream)
{
    *pStream << region.name;
}

class ARegion : public testing::TestWithParam<Region>
{
};

TEST_P(ARegion, IsClampedToThePicture)
{
    PictureShape shape;
    shape.width = 320;
    shape.height = 240;
    const PixelRect area = GetParam().given.on(shape);
    const PixelRect &expected = GetParam().clamped;
    EXPECT_EQ(area.isEmpty(), expected.isEmpty());
    if (!expected.isEmpty()) {
        EXPECT_EQ(area.left, expected.left);
        EXPECT_EQ(area.top, expected.top);
        EXPECT_EQ(area.right, expected.right);
        EXPECT_EQ(area.bottom, expected.bottom);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, ARegion,
    testing::Values(Region{"inside", {{10, 20, 30, 40}, false}, {10, 20, 30, 40}},
                    Region{"from_the_bottom", {{10, 40, 30, 20}, true}, {10, 200, 30, 220}},
                    Region{"everything", {{kLeast, kLeast, kMost, kMost}, false}, {0, 0, 320, 240}},
                    Region{"everything_from_the_bottom", {{kLeast, kMost, kMost, kLeast}, true}, {0, 0, 320, 240}},
                    Region{"nothing", {{kMost, kMost, kLeast, kLeast}, false}, {}},
                    Region{"nothing_from_the_bottom", {{kMost, kMost, kLeast, kLeast}, true}, {}},
                    Region{"below", {{0, kMost - 1, 320, kMost}, false}, {}},
                    Region{"above_from_the_bottom", {{0, kMost, 320, kMost - 1}, true}, {}},
                    Region{"below_from_the_bottom", {{0, kLeast + 1, 320, kLeast}, true}, {}}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
