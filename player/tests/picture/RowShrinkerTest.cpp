// Making rows narrower by hand against the arithmetic it stands for, and against libyuv's way.
#include "player/src/picture/RowShrinker.h"
#include "player/src/picture/PlaneScaler.h"

#include <gtest/gtest.h>
#include <libyuv/cpu_id.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace
{

using player::Plane;
using player::PlaneScaler;
using player::RowShrinker;
using Samples = std::vector<std::uint8_t>;

/** Edges, slopes and single dots. */
std::uint8_t sampleAt(int x, int y)
{
    return static_cast<std::uint8_t>(x % 37 == 0 ? 255 : x / 50 % 2 == 0 ? 3 * x + 7 * y : 16 + y % 5);
}

struct Widths {
    int from;
    int to;
};

class RowsOf : public testing::TestWithParam<Widths>
{
};

TEST_P(RowsOf, AreMixedOfTheTwoSamplesAroundEachPlace)
{
    if (!RowShrinker::isAvailable()) {
        GTEST_SKIP() << "this processor has no SSSE3";
    }
    const auto [from, to] = GetParam();
    Samples source(static_cast<std::size_t>(from + RowShrinker::kReadsBehind), 99);
    for (int x = 0; x < from; ++x) {
        source[static_cast<std::size_t>(x)] = sampleAt(x, 0);
    }
    constexpr std::uint8_t kUntouched = 201;
    Samples target(static_cast<std::size_t>(to + 16), kUntouched);
    RowShrinker shrinker;
    ASSERT_TRUE(shrinker.prepare(from, to));
    shrinker.shrink(source.data(), target.data());
    for (int x = 0; x < to; ++x) {
        const double place = std::clamp((x + 0.5) * from / to - 0.5, 0.0, from - 1.0);
        const auto left = static_cast<std::size_t>(place);
        const std::size_t right = std::min(left + 1, static_cast<std::size_t>(from) - 1);
        const double share = place - std::floor(place);
        ASSERT_NEAR(target[static_cast<std::size_t>(x)], source[left] * (1 - share) + source[right] * share, 1.6) << x;
    }
    for (std::size_t x = static_cast<std::size_t>(to); x < target.size(); ++x) {
        EXPECT_EQ(target[x], kUntouched);
    }
}

INSTANTIATE_TEST_SUITE_P(AllWidths, RowsOf,
                         testing::Values(Widths{960, 640}, Widths{480, 320}, Widths{1280, 640}, Widths{1279, 640},
                                         Widths{641, 640}, Widths{16384, 8193}, Widths{7, 4}, Widths{2, 1},
                                         Widths{3, 2}, Widths{17, 9}, Widths{352, 351}),
                         [](const auto &row) {
                             return std::to_string(row.param.from) + "To" + std::to_string(row.param.to);
                         });

/** The whole plane at another size. */
Samples scaled(int fromWidth, int fromHeight, int width, int height)
{
    Samples source;
    for (int y = 0; y < fromHeight; ++y) {
        for (int x = 0; x < fromWidth; ++x) {
            source.push_back(sampleAt(x, y));
        }
    }
    Samples target(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    PlaneScaler scaler;
    EXPECT_TRUE(
        scaler.scale(Plane{source.data(), fromWidth, fromWidth, fromHeight}, target.data(), width, width, height));
    return target;
}

TEST(PlaneScaler, GivesTheSameOnProcessorsThatLackTheInstructions)
{
    const Samples fast = scaled(1920, 270, 640, 90);
    libyuv::MaskCpuFlags(1);
    EXPECT_FALSE(RowShrinker::isAvailable());
    const Samples plain = scaled(1920, 270, 640, 90);
    libyuv::MaskCpuFlags(-1);
    int worst = 0;
    for (std::size_t i = 0; i < fast.size(); ++i) {
        worst = std::max(worst, std::abs(fast[i] - plain[i]));
    }
    EXPECT_LE(worst, 3); // libyuv mixes in 128ths
}

} // namespace
