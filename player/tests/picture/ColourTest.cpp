// The colours of every matrix, range and pixel format.
#include "player/src/picture/PictureConverter.h"
#include "player/tests/picture/TestFrames.h"

#include <gtest/gtest.h>

#include <string>

namespace player::test
{
namespace
{

struct Row {
    std::string name;
    FrameKind kind;
    int width = 320;
    int height = 240;
};

class EveryColour : public testing::TestWithParam<Row>
{
protected:
    /** The bars' middles in a target of the size, and the guards around it. */
    static void expectBars(const Row &row, int targetWidth, int targetHeight)
    {
        const Frame frame = bars(row.kind, row.width, row.height);
        const GuardedImage target(targetWidth, targetHeight);
        PictureConverter converter;
        ASSERT_TRUE(converter.convert(*frame, shapeOf(*frame, nullptr), {0, 0, row.width, row.height}, target.image()));
        for (int bar = 0; bar < 8; ++bar) {
            const int x = (2 * bar + 1) * targetWidth / 16;
            EXPECT_LE(distance(target.at(x, targetHeight / 2), barColour(bar)), 2) << "bar " << bar;
            EXPECT_EQ(target.alphaAt(x, targetHeight / 2), 255);
        }
        EXPECT_TRUE(target.guardsAreWhole());
    }
};

TEST_P(EveryColour, IsExactAtFullSize)
{
    expectBars(GetParam(), GetParam().width, GetParam().height);
}

TEST_P(EveryColour, IsExactWhenMadeSmaller)
{
    expectBars(GetParam(), 161, 91);
}

TEST_P(EveryColour, IsExactWhenMadeLarger)
{
    expectBars(GetParam(), GetParam().width * 2 + 1, GetParam().height * 2 + 1);
}

const Row kRows[] = {
    {"Bt601Limited", {AV_PIX_FMT_YUV420P, kBt601, false, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG}},
    {"Bt601Full", {AV_PIX_FMT_YUV420P, kBt601, true, AVCOL_SPC_BT470BG, AVCOL_RANGE_JPEG}},
    {"Bt709Limited", {AV_PIX_FMT_YUV420P, kBt709, false, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG}},
    {"Bt709Full", {AV_PIX_FMT_YUV420P, kBt709, true, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG}},
    {"Bt2020Limited", {AV_PIX_FMT_YUV420P, kBt2020, false, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG}},
    {"Bt2020Full", {AV_PIX_FMT_YUV420P, kBt2020, true, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_JPEG}},
    {"UntoldSmallIsBt601Limited", {AV_PIX_FMT_YUV420P, kBt601, false}},
    {"UntoldFrom720RowsIsBt709", {AV_PIX_FMT_YUV420P, kBt709, false}, 640, 720},
    {"UntoldFrom1280ColumnsIsBt709", {AV_PIX_FMT_YUV420P, kBt709, false}, 1280, 96},
    {"UntoldBelowBothIsBt601", {AV_PIX_FMT_YUV420P, kBt601, false}, 1264, 718},
    {"JpegFormatIsFullRange", {AV_PIX_FMT_YUVJ420P, kBt601, true}},
    {"Jpeg422", {AV_PIX_FMT_YUVJ422P, kBt601, true}},
    {"Jpeg444", {AV_PIX_FMT_YUVJ444P, kBt601, true}},
    {"Jpeg440", {AV_PIX_FMT_YUVJ440P, kBt601, true}},
    {"Jpeg411", {AV_PIX_FMT_YUVJ411P, kBt601, true}},
    {"Planar422", {AV_PIX_FMT_YUV422P, kBt709, false, AVCOL_SPC_BT709}},
    {"Planar444", {AV_PIX_FMT_YUV444P, kBt709, true, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG}},
    {"WithAlpha", {AV_PIX_FMT_YUVA420P, kBt601, false}},
    {"Nv12Bt601Limited", {AV_PIX_FMT_NV12, kBt601, false, AVCOL_SPC_SMPTE170M}},
    {"Nv12Bt709Full", {AV_PIX_FMT_NV12, kBt709, true, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG}},
    {"Yuyv", {AV_PIX_FMT_YUYV422, kBt601, false}},
    {"TenBit420Bt601Limited", {AV_PIX_FMT_YUV420P10LE, kBt601, false}},
    {"TenBit420Bt709Limited", {AV_PIX_FMT_YUV420P10LE, kBt709, false, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG}},
    {"TenBit420Bt709Full", {AV_PIX_FMT_YUV420P10LE, kBt709, true, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG}},
    {"TenBit420Bt2020Limited", {AV_PIX_FMT_YUV420P10LE, kBt2020, false, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG}},
    {"TenBit422", {AV_PIX_FMT_YUV422P10LE, kBt709, false, AVCOL_SPC_BT709}},
    {"TenBit444", {AV_PIX_FMT_YUV444P10LE, kBt601, true, AVCOL_SPC_BT470BG, AVCOL_RANGE_JPEG}},
    {"TwelveBit420", {AV_PIX_FMT_YUV420P12LE, kBt601, false}},
    {"P010", {AV_PIX_FMT_P010LE, kBt709, false, AVCOL_SPC_BT709}},
    {"PlanarRgb", {AV_PIX_FMT_GBRP, kBt601, true, AVCOL_SPC_RGB, AVCOL_RANGE_JPEG}},
    {"Rgb24", {AV_PIX_FMT_RGB24}},
    {"Bgra", {AV_PIX_FMT_BGRA}},
};

INSTANTIATE_TEST_SUITE_P(, EveryColour, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Row> &testRow) { return testRow.param.name; });

class EveryGrey : public testing::TestWithParam<Row>
{
};

TEST_P(EveryGrey, IsExactFromBlackToWhite)
{
    const Frame frame = paintedFrame(GetParam().kind, 256, 16, [](int x, int) {
        return Colour{double(x), double(x), double(x)};
    });
    const GuardedImage target(256, 16);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shapeOf(*frame, nullptr), {0, 0, 256, 16}, target.image()));
    for (int level = 0; level < 256; ++level) {
        EXPECT_LE(distance(target.at(level, 8), {double(level), double(level), double(level)}), 2);
    }
}

const Row kGreys[] = {
    {"Limited", {AV_PIX_FMT_GRAY8, kBt601, false}},
    {"Full", {AV_PIX_FMT_GRAY8, kBt601, true, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_JPEG}},
    {"TenBitLimited", {AV_PIX_FMT_GRAY10LE, kBt601, false}},
    {"LimitedInYuv", {AV_PIX_FMT_YUV420P, kBt601, false}},
    {"FullInYuv", {AV_PIX_FMT_YUVJ420P, kBt601, true}},
};

INSTANTIATE_TEST_SUITE_P(, EveryGrey, testing::ValuesIn(kGreys),
                         [](const testing::TestParamInfo<Row> &testRow) { return testRow.param.name; });

TEST(Palette, IsLookedUpInsideARegionToo)
{
    Frame frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_PAL8;
    frame->width = 32;
    frame->height = 8;
    ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    auto *pPalette = reinterpret_cast<std::uint32_t *>(frame->data[1]);
    pPalette[7] = 0xFF0A141EU;
    pPalette[9] = 0xFF64C832U;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 32; ++x) {
            frame->data[0][y * frame->linesize[0] + x] = x < 17 ? 7 : 9;
        }
    }
    const GuardedImage target(4, 2);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shapeOf(*frame, nullptr), {15, 3, 19, 5}, target.image()));
    EXPECT_LE(distance(target.at(0, 0), {10, 20, 30}), 1);
    EXPECT_LE(distance(target.at(1, 1), {10, 20, 30}), 1);
    EXPECT_LE(distance(target.at(2, 0), {100, 200, 50}), 1);
    EXPECT_LE(distance(target.at(3, 1), {100, 200, 50}), 1);
}

} // namespace
} // namespace player::test
