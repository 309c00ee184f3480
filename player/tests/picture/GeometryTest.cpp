// Where each pixel goes: shapes, turns, regions and sizes.
#include "player/src/picture/PictureConverter.h"
#include "player/tests/picture/TestFrames.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

namespace player::test
{
namespace
{

constexpr Colour kRed{180, 60, 60};
constexpr Colour kGreen{60, 180, 60};
constexpr Colour kBlue{60, 60, 180};
constexpr Colour kGrey{120, 120, 120};

/** Red, green / blue, grey. */
Colour quarters(int x, int y, int width, int height)
{
    return y < height / 2 ? (x < width / 2 ? kRed : kGreen) : (x < width / 2 ? kBlue : kGrey);
}

PixelRect wholeOf(const PictureShape &shape)
{
    return {0, 0, shape.width, shape.height};
}

/** A stream that lives as long as its context. */
class TestStream
{
public:
    TestStream() : m_pContext(avformat_alloc_context()), m_pStream(avformat_new_stream(m_pContext, nullptr)) {}
    ~TestStream()
    {
        avformat_free_context(m_pContext);
    }
    TestStream(const TestStream &) = delete;
    TestStream &operator=(const TestStream &) = delete;

    [[nodiscard]] AVStream &stream() const
    {
        return *m_pStream;
    }

    void setMatrix(const std::array<std::int32_t, 9> &matrix)
    {
        AVCodecParameters *pCodec = m_pStream->codecpar;
        AVPacketSideData *pData = av_packet_side_data_new(&pCodec->coded_side_data, &pCodec->nb_coded_side_data,
                                                          AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix, 0);
        std::memcpy(pData->data, matrix.data(), sizeof matrix);
    }

private:
    AVFormatContext *m_pContext;
    AVStream *m_pStream;
};

constexpr std::int32_t kOne = 1 << 16;

struct TurnRow {
    std::string name;
    std::array<std::int32_t, 9> matrix;
    int rotation;
    bool mirrored;
    /** Top left, top right, bottom left, bottom right. */
    std::array<Colour, 4> corners;
};

class EveryTurn : public testing::TestWithParam<TurnRow>
{
protected:
    static void expectCorners(const Frame &frame, const PictureShape &shape, int width, int height)
    {
        const GuardedImage target(width, height);
        PictureConverter converter;
        ASSERT_TRUE(converter.convert(*frame, shape, wholeOf(shape), target.image()));
        const auto &corners = GetParam().corners;
        for (int corner = 0; corner < 4; ++corner) {
            const int x = corner % 2 == 0 ? width / 4 : width * 3 / 4;
            const int y = corner / 2 == 0 ? height / 4 : height * 3 / 4;
            EXPECT_LE(distance(target.at(x, y), corners.at(corner)), 2) << "corner " << corner;
        }
        EXPECT_TRUE(target.guardsAreWhole());
    }
};

TEST_P(EveryTurn, IsReadFromTheMatrixOfTheFile)
{
    const Frame frame = bars({}, 64, 48);
    TestStream file;
    file.setMatrix(GetParam().matrix);
    const PictureShape shape = shapeOf(*frame, &file.stream());
    EXPECT_EQ(shape.rotation, GetParam().rotation);
    EXPECT_EQ(shape.mirrored, GetParam().mirrored);
    const bool isSideways = GetParam().rotation % 180 != 0;
    EXPECT_EQ(shape.width, isSideways ? 48 : 64);
    EXPECT_EQ(shape.height, isSideways ? 64 : 48);
}

TEST_P(EveryTurn, PutsEachCornerInItsPlace)
{
    const Frame frame = paintedFrame({}, 64, 48, [](int x, int y) { return quarters(x, y, 64, 48); });
    const bool isSideways = GetParam().rotation % 180 != 0;
    const PictureShape shape{isSideways ? 48 : 64, isSideways ? 64 : 48, GetParam().rotation, GetParam().mirrored};
    expectCorners(frame, shape, shape.width, shape.height);
    expectCorners(frame, shape, 31, 37);
    expectCorners(frame, shape, 333, 111);
}

TEST_P(EveryTurn, CutsRegionsInDisplayedPixels)
{
    const Frame frame = paintedFrame({}, 64, 48, [](int x, int y) { return quarters(x, y, 64, 48); });
    const bool isSideways = GetParam().rotation % 180 != 0;
    const PictureShape shape{isSideways ? 48 : 64, isSideways ? 64 : 48, GetParam().rotation, GetParam().mirrored};
    // Only the top right quarter, without its edges.
    const PixelRect region{shape.width / 2 + 3, 3, shape.width - 3, shape.height / 2 - 3};
    const GuardedImage target(40, 30);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shape, region, target.image()));
    for (const auto &[x, y] : {std::pair{0, 0}, {39, 0}, {0, 29}, {39, 29}, {20, 15}}) {
        EXPECT_LE(distance(target.at(x, y), GetParam().corners[1]), 2) << x << "," << y;
    }
}

const TurnRow kTurns[] = {
    {"Upright", {kOne, 0, 0, 0, kOne, 0, 0, 0, 1 << 30}, 0, false, {kRed, kGreen, kBlue, kGrey}},
    {"QuarterTurn", {0, kOne, 0, -kOne, 0, 0, 0, 0, 1 << 30}, 90, false, {kBlue, kRed, kGrey, kGreen}},
    {"HalfTurn", {-kOne, 0, 0, 0, -kOne, 0, 0, 0, 1 << 30}, 180, false, {kGrey, kBlue, kGreen, kRed}},
    {"ThreeQuarterTurn", {0, -kOne, 0, kOne, 0, 0, 0, 0, 1 << 30}, 270, false, {kGreen, kGrey, kRed, kBlue}},
    {"Mirrored", {-kOne, 0, 0, 0, kOne, 0, 0, 0, 1 << 30}, 0, true, {kGreen, kRed, kGrey, kBlue}},
    {"UpsideDown", {kOne, 0, 0, 0, -kOne, 0, 0, 0, 1 << 30}, 180, true, {kBlue, kGrey, kRed, kGreen}},
    {"MirroredQuarterTurn", {0, -kOne, 0, -kOne, 0, 0, 0, 0, 1 << 30}, 90, true, {kGrey, kGreen, kBlue, kRed}},
    {"MirroredThreeQuarterTurn", {0, kOne, 0, kOne, 0, 0, 0, 0, 1 << 30}, 270, true, {kRed, kBlue, kGreen, kGrey}},
};

INSTANTIATE_TEST_SUITE_P(, EveryTurn, testing::ValuesIn(kTurns),
                         [](const testing::TestParamInfo<TurnRow> &testRow) { return testRow.param.name; });

TEST(Shape, TakesTheMatrixOfTheFrameBeforeThatOfTheFile)
{
    const Frame frame = bars({}, 64, 48);
    AVFrameSideData *pData = av_frame_new_side_data(frame.get(), AV_FRAME_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t));
    ASSERT_NE(pData, nullptr);
    std::memcpy(pData->data, kTurns[1].matrix.data(), sizeof kTurns[1].matrix);
    TestStream file;
    file.setMatrix(kTurns[2].matrix);
    EXPECT_EQ(shapeOf(*frame, &file.stream()).rotation, 90);
}

TEST(Shape, RoundsACrookedMatrixToAQuarterTurn)
{
    const Frame frame = bars({}, 64, 48);
    TestStream file;
    std::array<std::int32_t, 9> matrix{};
    av_display_rotation_set(matrix.data(), 80);
    file.setMatrix(matrix);
    EXPECT_EQ(shapeOf(*frame, &file.stream()).rotation, 90);
}

struct AspectRow {
    std::string name;
    AVRational ofFrame;
    AVRational ofFile;
    int width;
    int height;
};

class EveryAspect : public testing::TestWithParam<AspectRow>
{
};

TEST_P(EveryAspect, EnlargesOneSide)
{
    const Frame frame = bars({}, 352, 288);
    frame->sample_aspect_ratio = GetParam().ofFrame;
    TestStream file;
    file.stream().sample_aspect_ratio = GetParam().ofFile;
    const PictureShape shape = shapeOf(*frame, &file.stream());
    EXPECT_EQ(shape.width, GetParam().width);
    EXPECT_EQ(shape.height, GetParam().height);
}

const AspectRow kAspects[] = {
    {"Untold", {0, 1}, {0, 1}, 352, 288},
    {"Square", {1, 1}, {0, 1}, 352, 288},
    {"Wide", {16, 11}, {0, 1}, 512, 288},
    {"Narrow", {32, 35}, {0, 1}, 352, 315},
    {"TheFilesGoesFirst", {16, 11}, {12, 11}, 384, 288},
    {"BeyondReasonIsSquare", {400, 1}, {0, 1}, 352, 288},
    {"BeyondReasonTheOtherWayIsSquare", {1, 400}, {0, 1}, 352, 288},
};

INSTANTIATE_TEST_SUITE_P(, EveryAspect, testing::ValuesIn(kAspects),
                         [](const testing::TestParamInfo<AspectRow> &testRow) { return testRow.param.name; });

TEST(Region, IsStretchedByThePixelAspect)
{
    const Frame frame = paintedFrame({}, 64, 48, [](int x, int y) { return quarters(x, y, 64, 48); });
    const PictureShape shape{128, 48, 0, false};
    const GuardedImage target(20, 10);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shape, {66, 2, 126, 22}, target.image()));
    EXPECT_LE(distance(target.at(0, 0), kGreen), 2);
    EXPECT_LE(distance(target.at(19, 9), kGreen), 2);
}

/** Formats that share chroma in different ways. */
class RegionOf : public testing::TestWithParam<AVPixelFormat>
{
};

/** Each pair of columns and rows has a colour of its own, so that a shifted plane shows. */
Colour mosaic(int x, int y)
{
    return {60.0 + x / 2 * 8 % 120, 60.0 + y / 2 * 8 % 120, 60.0 + (x / 2 + y / 2) * 8 % 120};
}

TEST_P(RegionOf, OddOffsetsIsTheSamePixelsUnscaled)
{
    const Frame frame = paintedFrame({GetParam()}, 64, 48, mosaic);
    const PictureShape shape = shapeOf(*frame, nullptr);
    PictureConverter converter;
    const GuardedImage whole(64, 48);
    ASSERT_TRUE(converter.convert(*frame, shape, wholeOf(shape), whole.image()));
    const PixelRect regions[] = {{1, 1, 12, 8}, {7, 4, 20, 17}, {10, 5, 33, 26}, {63, 47, 64, 48}, {0, 0, 1, 1}};
    for (const PixelRect &region : regions) {
        const GuardedImage target(region.width(), region.height());
        ASSERT_TRUE(converter.convert(*frame, shape, region, target.image()));
        for (int y = 0; y < region.height(); ++y) {
            for (int x = 0; x < region.width(); ++x) {
                ASSERT_LE(distance(target.at(x, y), whole.at(region.left + x, region.top + y)), 3)
                    << region.left << "," << region.top << " + " << x << "," << y;
            }
        }
        EXPECT_TRUE(target.guardsAreWhole());
    }
}

TEST_P(RegionOf, OddOffsetsKeepsColoursOnTheirShapesWhenEnlarged)
{
    // One red pair of columns on grey; the region starts between the two.
    const Frame frame = paintedFrame({GetParam()}, 64, 48, [](int x, int) { return x / 2 == 10 ? kRed : kGrey; });
    const GuardedImage target(80, 80);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shapeOf(*frame, nullptr), {19, 11, 24, 16}, target.image()));
    // The pair covers columns 1 and 2 of five, 16 target pixels each. Twice rounded: converted, then enlarged.
    EXPECT_LE(distance(target.at(32, 40), kRed), 4);
    EXPECT_LE(distance(target.at(0, 40), kGrey), 4);
    EXPECT_LE(distance(target.at(79, 40), kGrey), 4);
}

INSTANTIATE_TEST_SUITE_P(, RegionOf,
                         testing::Values(AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P, AV_PIX_FMT_NV12,
                                         AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_GBRP,
                                         AV_PIX_FMT_BGRA),
                         [](const testing::TestParamInfo<AVPixelFormat> &testRow) {
                             return std::string(av_get_pix_fmt_name(testRow.param));
                         });

TEST(Region, IsClampedToThePicture)
{
    const Frame frame = bars({}, 320, 240);
    const GuardedImage target(320, 240);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shapeOf(*frame, nullptr), {-100, -100, 1000, 1000}, target.image()));
    EXPECT_LE(distance(target.at(20, 120), barColour(0)), 2);
    EXPECT_LE(distance(target.at(300, 120), barColour(7)), 2);
}

struct BadRow {
    std::string name;
    PixelRect region;
};

class BadRegion : public testing::TestWithParam<BadRow>
{
};

TEST_P(BadRegion, FailsAndTouchesNothing)
{
    const Frame frame = bars({}, 64, 48);
    const GuardedImage target(8, 8);
    const Colour before = target.at(3, 3);
    PictureConverter converter;
    EXPECT_FALSE(converter.convert(*frame, shapeOf(*frame, nullptr), GetParam().region, target.image()));
    EXPECT_EQ(distance(target.at(3, 3), before), 0);
}

const BadRow kBadRegions[] = {
    {"Empty", {10, 10, 10, 10}}, {"NoWidth", {10, 10, 10, 20}}, {"UpsideDown", {10, 20, 20, 10}},
    {"Right", {64, 0, 100, 48}}, {"Below", {0, 48, 64, 60}},    {"LeftAndAbove", {-20, -20, 0, 0}},
};

INSTANTIATE_TEST_SUITE_P(, BadRegion, testing::ValuesIn(kBadRegions),
                         [](const testing::TestParamInfo<BadRow> &testRow) { return testRow.param.name; });

TEST(Target, OfNoSizeOrNoPixelsFails)
{
    const Frame frame = bars({}, 64, 48);
    const PictureShape shape = shapeOf(*frame, nullptr);
    const GuardedImage whole(8, 8);
    PictureConverter converter;
    BgraImage image = whole.image();
    image.width = 0;
    EXPECT_FALSE(converter.convert(*frame, shape, wholeOf(shape), image));
    image = whole.image();
    image.height = -1;
    EXPECT_FALSE(converter.convert(*frame, shape, wholeOf(shape), image));
    image = whole.image();
    image.pPixels = nullptr;
    EXPECT_FALSE(converter.convert(*frame, shape, wholeOf(shape), image));
    EXPECT_TRUE(whole.guardsAreWhole());
}

TEST(Format, OfAHardwareSurfaceOrNoneFails)
{
    const GuardedImage target(8, 8);
    PictureConverter converter;
    for (const int format : {int{AV_PIX_FMT_D3D11}, int{AV_PIX_FMT_NONE}, 100000}) {
        const Frame frame = bars({}, 64, 48);
        frame->format = format;
        EXPECT_FALSE(converter.convert(*frame, {64, 48, 0, false}, {0, 0, 64, 48}, target.image()));
    }
}

struct SizeRow {
    std::string name;
    AVPixelFormat format;
    int width;
    int height;
};

class EverySize : public testing::TestWithParam<SizeRow>
{
};

TEST_P(EverySize, FillsEveryTargetAndNothingBesides)
{
    const SizeRow &row = GetParam();
    const Frame frame = paintedFrame({row.format, kBt601, false, AVCOL_SPC_SMPTE170M}, row.width, row.height,
                                     [](int, int) { return kRed; });
    const PictureShape shape = shapeOf(*frame, nullptr);
    PictureConverter converter;
    const std::pair<int, int> targets[] = {
        {row.width, row.height}, {1, 1}, {2, 3}, {17, 5}, {64, 64}, {161, 91}, {641, 359}};
    for (const auto &[width, height] : targets) {
        const GuardedImage target(width, height);
        ASSERT_TRUE(converter.convert(*frame, shape, wholeOf(shape), target.image())) << width << "x" << height;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                ASSERT_LE(distance(target.at(x, y), kRed), 2)
                    << width << "x" << height << " at " << x << "," << y << " alpha " << target.alphaAt(x, y);
            }
        }
        EXPECT_TRUE(target.guardsAreWhole()) << width << "x" << height;
    }
}

const SizeRow kSizes[] = {
    {"OnePixel", AV_PIX_FMT_YUV420P, 1, 1},
    {"OnePixelNv12", AV_PIX_FMT_NV12, 1, 1},
    {"OnePixel444", AV_PIX_FMT_YUV444P, 1, 1},
    {"OnePixelTenBit", AV_PIX_FMT_YUV420P10LE, 1, 1},
    {"OnePixelRgb", AV_PIX_FMT_RGB24, 1, 1},
    {"Odd", AV_PIX_FMT_YUV420P, 321, 243},
    {"Odd422", AV_PIX_FMT_YUV422P, 321, 243},
    {"Odd444", AV_PIX_FMT_YUV444P, 321, 243},
    {"OddNv12", AV_PIX_FMT_NV12, 321, 243},
    {"OddTenBit", AV_PIX_FMT_YUV420P10LE, 321, 243},
    {"OddRgb", AV_PIX_FMT_RGB24, 321, 243},
    {"Wide", AV_PIX_FMT_YUV420P, 16384, 16},
    {"Tall", AV_PIX_FMT_YUV420P, 16, 16384},
    {"WideTenBit", AV_PIX_FMT_YUV420P10LE, 16384, 16},
    {"TallTenBit", AV_PIX_FMT_YUV420P10LE, 16, 16384},
    {"Line", AV_PIX_FMT_YUV420P, 640, 1},
    {"Column", AV_PIX_FMT_YUV420P, 1, 480},
};

INSTANTIATE_TEST_SUITE_P(, EverySize, testing::ValuesIn(kSizes),
                         [](const testing::TestParamInfo<SizeRow> &testRow) { return testRow.param.name; });

TEST(Smaller, PicturesAverageTheirPixels)
{
    const Frame frame = paintedFrame({}, 256, 128, [](int x, int y) {
        const double level = (x + y) % 2 == 0 ? 40 : 200;
        return Colour{level, level, level};
    });
    const GuardedImage target(64, 32);
    PictureConverter converter;
    ASSERT_TRUE(converter.convert(*frame, shapeOf(*frame, nullptr), {0, 0, 256, 128}, target.image()));
    EXPECT_LE(distance(target.at(0, 0), {120, 120, 120}), 3);
    EXPECT_LE(distance(target.at(33, 17), {120, 120, 120}), 3);
}

TEST(Converter, ServesPicturesOfChangingFormatAndSize)
{
    PictureConverter converter;
    const Frame small = bars({AV_PIX_FMT_YUV420P}, 320, 240);
    const Frame deep = bars({AV_PIX_FMT_YUV420P10LE}, 640, 480);
    const Frame large = bars({AV_PIX_FMT_YUV444P}, 640, 480);
    for (const AVFrame *pFrame : {small.get(), deep.get(), large.get(), deep.get(), small.get()}) {
        const GuardedImage target(160, 90);
        const PictureShape shape = shapeOf(*pFrame, nullptr);
        ASSERT_TRUE(converter.convert(*pFrame, shape, wholeOf(shape), target.image()));
        EXPECT_LE(distance(target.at(30, 45), barColour(1)), 2);
        converter.trim();
    }
}

} // namespace
} // namespace player::test
