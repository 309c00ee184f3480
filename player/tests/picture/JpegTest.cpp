// JPEG files, decoded again and compared with the picture they were made of.
#include "player/src/picture/JpegEncoder.h"
#include "player/src/picture/PictureConverter.h"
#include "player/tests/picture/TestFrames.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <memory>
#include <string>
#include <vector>

namespace player::test
{
namespace
{

struct DecompressorDeleter {
    void operator()(void *pDecompressor) const
    {
        tjDestroy(pDecompressor);
    }
};

/** What a JPEG file holds; no pixels where it is none. */
struct Decoded {
    int width = 0;
    int height = 0;
    int subsampling = -1;
    std::vector<std::uint8_t> pixels;

    [[nodiscard]] Colour at(int x, int y) const
    {
        const std::uint8_t *pPixel = pixels.data() + 4 * (std::size_t(y) * width + x);
        return {double(pPixel[2]), double(pPixel[1]), double(pPixel[0])};
    }
};

Decoded decode(const std::vector<std::uint8_t> &jpeg)
{
    const std::unique_ptr<void, DecompressorDeleter> decompressor(tjInitDecompress());
    Decoded result;
    int colourSpace = 0;
    if (tjDecompressHeader3(decompressor.get(), jpeg.data(), jpeg.size(), &result.width, &result.height,
                            &result.subsampling, &colourSpace) != 0) {
        return {};
    }
    result.pixels.resize(std::size_t(4) * result.width * result.height);
    if (tjDecompress2(decompressor.get(), jpeg.data(), jpeg.size(), result.pixels.data(), result.width, 0,
                      result.height, TJPF_BGRX, 0) != 0) {
        return {};
    }
    return result;
}

struct Row {
    std::string name;
    FrameKind kind;
};

class JpegOf : public testing::TestWithParam<Row>
{
};

TEST_P(JpegOf, ThePictureHasItsColours)
{
    const Frame frame = bars(GetParam().kind, 320, 240);
    JpegEncoder encoder;
    const Decoded jpeg = decode(encoder.encode(*frame, shapeOf(*frame, nullptr), {0, 0, 320, 240}, 95));
    ASSERT_EQ(jpeg.width, 320);
    ASSERT_EQ(jpeg.height, 240);
    EXPECT_EQ(jpeg.subsampling, int{TJSAMP_420});
    for (int bar = 0; bar < 8; ++bar) {
        EXPECT_LE(distance(jpeg.at(40 * bar + 20, 120), barColour(bar)), 4) << "bar " << bar;
    }
}

TEST_P(JpegOf, AnOddRegionMatchesTheShownPicture)
{
    const Frame frame = paintedFrame(GetParam().kind, 320, 240, [](int x, int y) {
        return Colour{40 + x / 2.0, 40 + y / 2.0, 200 - (x + y) / 4.0};
    });
    const PictureShape shape = shapeOf(*frame, nullptr);
    const PixelRect region{101, 33, 202, 100};
    JpegEncoder encoder;
    const Decoded jpeg = decode(encoder.encode(*frame, shape, region, 100));
    ASSERT_EQ(jpeg.width, region.width());
    ASSERT_EQ(jpeg.height, region.height());
    const GuardedImage shown(region.width(), region.height());
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shape, region, shown.image()));
    double sum = 0;
    for (int y = 0; y < jpeg.height; ++y) {
        for (int x = 0; x < jpeg.width; ++x) {
            sum += distance(jpeg.at(x, y), shown.at(x, y));
        }
    }
    EXPECT_LT(sum / (jpeg.width * jpeg.height), 2);
}

const Row kRows[] = {
    {"Bt601", {AV_PIX_FMT_YUV420P, kBt601, false}},
    {"Bt709", {AV_PIX_FMT_YUV420P, kBt709, false, AVCOL_SPC_BT709}},
    {"FullRange", {AV_PIX_FMT_YUVJ420P, kBt601, true}},
    {"TenBit", {AV_PIX_FMT_YUV420P10LE, kBt709, false, AVCOL_SPC_BT709}},
    {"Rgb", {AV_PIX_FMT_GBRP, kBt601, true}},
};

INSTANTIATE_TEST_SUITE_P(, JpegOf, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Row> &testRow) { return testRow.param.name; });

TEST(Jpeg, IsTurnedAndStretchedAsDisplayed)
{
    const Frame frame = bars({}, 320, 240);
    // The bars run from left to right; turned by a quarter, from top to bottom.
    JpegEncoder encoder;
    const Decoded jpeg = decode(encoder.encode(*frame, {240, 640, 90, false}, {0, 0, 240, 640}, 95));
    ASSERT_EQ(jpeg.width, 240);
    ASSERT_EQ(jpeg.height, 640);
    for (int bar = 0; bar < 8; ++bar) {
        EXPECT_LE(distance(jpeg.at(120, 80 * bar + 40), barColour(bar)), 4) << "bar " << bar;
    }
}

TEST(Jpeg, RegionIsClampedToThePicture)
{
    const Frame frame = bars({}, 320, 240);
    JpegEncoder encoder;
    const Decoded jpeg = decode(encoder.encode(*frame, shapeOf(*frame, nullptr), {300, -5, 400, 20}, 90));
    EXPECT_EQ(jpeg.width, 20);
    EXPECT_EQ(jpeg.height, 20);
}

TEST(Jpeg, OfAnEmptyOrOutsideRegionIsEmpty)
{
    const Frame frame = bars({}, 320, 240);
    const PictureShape shape = shapeOf(*frame, nullptr);
    JpegEncoder encoder;
    EXPECT_TRUE(encoder.encode(*frame, shape, {10, 10, 10, 20}, 85).empty());
    EXPECT_TRUE(encoder.encode(*frame, shape, {320, 0, 400, 240}, 85).empty());
}

TEST(Jpeg, OfAFormatThatCannotBeConvertedIsEmpty)
{
    const Frame frame = bars({}, 64, 48);
    frame->format = AV_PIX_FMT_D3D11;
    JpegEncoder encoder;
    EXPECT_TRUE(encoder.encode(*frame, {64, 48, 0, false}, {0, 0, 64, 48}, 85).empty());
}

TEST(Jpeg, GrowsWithItsQuality)
{
    const Frame frame = paintedFrame({}, 320, 240, [](int x, int y) {
        const double level = 40 + (x * 37 + y * 101) % 180;
        return Colour{level, level, level};
    });
    const PictureShape shape = shapeOf(*frame, nullptr);
    JpegEncoder encoder;
    const auto low = encoder.encode(*frame, shape, {0, 0, 320, 240}, 10);
    const auto high = encoder.encode(*frame, shape, {0, 0, 320, 240}, 90);
    ASSERT_FALSE(low.empty());
    EXPECT_LT(low.size() * 2, high.size());
}

TEST(Jpeg, QualityIsClamped)
{
    const Frame frame = bars({}, 64, 48);
    const PictureShape shape = shapeOf(*frame, nullptr);
    JpegEncoder encoder;
    EXPECT_EQ(encoder.encode(*frame, shape, {0, 0, 64, 48}, -7), encoder.encode(*frame, shape, {0, 0, 64, 48}, 1));
    EXPECT_EQ(encoder.encode(*frame, shape, {0, 0, 64, 48}, 900), encoder.encode(*frame, shape, {0, 0, 64, 48}, 100));
}

TEST(Jpeg, OfOnePixelAndOfThousandsInARow)
{
    JpegEncoder encoder;
    const Frame pixel = paintedFrame({}, 1, 1, [](int, int) { return barColour(5); });
    const Decoded small = decode(encoder.encode(*pixel, shapeOf(*pixel, nullptr), {0, 0, 1, 1}, 95));
    ASSERT_EQ(small.width, 1);
    EXPECT_LE(distance(small.at(0, 0), barColour(5)), 4);

    const Frame wide = bars({}, 16384, 16);
    const Decoded large = decode(encoder.encode(*wide, shapeOf(*wide, nullptr), {0, 0, 16384, 16}, 95));
    ASSERT_EQ(large.width, 16384);
    EXPECT_LE(distance(large.at(15000, 8), barColour(7)), 4);
}

} // namespace
} // namespace player::test
