#include "rules/CoordinateMapping.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <limits>

namespace pellora
{
namespace
{

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

PictureGeometry pictureOf(PixelRect picture, std::uint16_t nOriginPos)
{
    PictureGeometry geometry;
    geometry.picture = picture;
    geometry.width = picture.right - picture.left;
    geometry.height = picture.bottom - picture.top;
    geometry.originPos = nOriginPos;
    return geometry;
}

void expectNormalised(const PictureGeometry &geometry, PixelPoint point, std::int32_t nX, std::int32_t nY)
{
    const NormalisedPoint result = geometry.toNormalised(point);
    EXPECT_EQ(result.nX, nX);
    EXPECT_EQ(result.nY, nY);
}

TEST(CoordinateMapping, CountsRowsFromTheTop)
{
    const PictureGeometry geometry = pictureOf({10, 20, 650, 380}, 1);
    expectNormalised(geometry, {10, 20}, 0, 0);
    expectNormalised(geometry, {650, 380}, 1000, 1000);
    // 101 of 640 is 157.8 thousandths, 100 of 360 is 277.7.
    expectNormalised(geometry, {111, 120}, 157, 277);
    // 157 × 640 / 1000 = 100.48 + 10, 277 × 360 / 1000 = 99.72 + 20.
    EXPECT_EQ(geometry.toPixels({157, 277}), (PixelPoint{110, 119}));
    EXPECT_EQ(geometry.toPixels({1000, 1000}), (PixelPoint{650, 380}));
}

TEST(CoordinateMapping, CountsRowsFromTheBottom)
{
    const PictureGeometry geometry = pictureOf({10, 20, 650, 380}, 2);
    expectNormalised(geometry, {10, 20}, 0, 1000);
    expectNormalised(geometry, {10, 380}, 0, 0);
    // (360 - 100) of 360 is 722.2; (1000 - 722) × 360 / 1000 = 100.08 + 20.
    expectNormalised(geometry, {10, 120}, 0, 722);
    EXPECT_EQ(geometry.toPixels({0, 722}), (PixelPoint{10, 120}));
    EXPECT_EQ(geometry.toPixels({1000, 1000}), (PixelPoint{650, 20}));
}

TEST(CoordinateMapping, OfAPictureWithoutSizeGivesTheSmallestNumber)
{
    expectNormalised(pictureOf({0, 0, 0, 0}, 1), {0, 0}, kMin, kMin);
    expectNormalised(pictureOf({0, 0, 0, 0}, 2), {5, -5}, kMin, kMin);
}

TEST(CoordinateMapping, FormsTheProductIn32Bits)
{
    const PictureGeometry geometry = pictureOf({0, 0, 640, 360}, 1);
    // 2,147,483,647 × 640 is -640 modulo 2^32, × 360 is -360.
    EXPECT_EQ(geometry.toPixels({2147483647, 2147483647}), (PixelPoint{0, 0}));
    // 3,400,000 × 640 = 2,176,000,000 wraps to -2,118,967,296; a thousandth of it is -2,118,967.296.
    EXPECT_EQ(geometry.toPixels({3400000, 0}), (PixelPoint{-2118967, 0}));
}

TEST(CoordinateMapping, BeginsWithOnePixelThatAMoveAndAScaleMakeThePicture)
{
    PictureGeometry geometry;
    EXPECT_EQ(geometry.width, 0);
    geometry.move(0, 0);
    EXPECT_EQ(geometry.width, 1);
    geometry.scale(640.0F, 360.0F);
    EXPECT_EQ(geometry.picture, (PixelRect{0, 0, 640, 360}));
    EXPECT_EQ(geometry.height, 360);
    geometry.scale(0.0F, 0.5F);
    EXPECT_EQ(geometry.picture, (PixelRect{0, 0, 640, 180}));
}

} // namespace
} // namespace pellora
