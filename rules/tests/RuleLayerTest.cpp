#include "rules/RuleLayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

namespace pellora
{
namespace
{

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

using Row = std::vector<std::uint32_t>;
using Way = RuleLayer::Way;

/** A picture in memory of just its size, so that a sanitizer sees what goes beyond it. */
class Pixels
{
public:
    Pixels(std::int32_t nWidth, std::int32_t nHeight, std::uint32_t nGround)
        : m_nWidth(nWidth), m_nHeight(nHeight), m_pixels(static_cast<std::size_t>(nWidth * nHeight), nGround)
    {
    }

    [[nodiscard]] PixelRows topDown()
    {
        return {m_pixels.data(), m_nWidth, {m_nWidth, m_nHeight}};
    }
    [[nodiscard]] PixelRows bottomUp()
    {
        return {row(m_nHeight - 1), -m_nWidth, {m_nWidth, m_nHeight}};
    }
    /** In memory's order. */
    [[nodiscard]] std::uint32_t *row(std::int32_t y)
    {
        return m_pixels.data() + static_cast<std::ptrdiff_t>(y) * m_nWidth;
    }
    [[nodiscard]] std::uint32_t &at(std::int32_t x, std::int32_t y)
    {
        return row(y)[x];
    }
    [[nodiscard]] const std::vector<std::uint32_t> &all() const
    {
        return m_pixels;
    }

private:
    const std::int32_t m_nWidth;
    const std::int32_t m_nHeight;
    std::vector<std::uint32_t> m_pixels;
};

/** The layer of one row that was drawn so onto black and onto white, with letters of that colour. */
RuleLayer layerOfRow(const Row &onBlack, const Row &onWhite, std::uint32_t nLetters = 0)
{
    RuleLayer layer;
    const PixelSize surface = {static_cast<std::int32_t>(onBlack.size()), 1};
    EXPECT_EQ(layer.nextWay(1, surface), Way::Draw);
    EXPECT_EQ(layer.nextWay(1, surface), Way::Make);
    layer.begin();
    layer.beginPart();
    layer.takeRow(0, onBlack.data(), onWhite.data(), Row(onBlack.size(), nLetters).data());
    layer.end();
    return layer;
}

/** What the layer makes of that ground. */
Row put(const RuleLayer &layer, const Row &ground)
{
    Pixels picture(static_cast<std::int32_t>(ground.size()), 1, 0);
    std::copy(ground.begin(), ground.end(), picture.row(0));
    layer.putOn(picture.topDown());
    return picture.all();
}

TEST(RuleLayer, IsMadeOfWhatStaysAndThenPut)
{
    constexpr PixelSize kSurface = {640, 360};
    RuleLayer layer;
    EXPECT_EQ(layer.nextWay(7, kSurface), Way::Draw);
    EXPECT_EQ(layer.nextWay(7, kSurface), Way::Make);
    EXPECT_EQ(layer.nextWay(7, kSurface), Way::Make); // the pass had no room
    layer.begin();
    EXPECT_EQ(layer.nextWay(7, kSurface), Way::Make); // the pass failed in the middle
    layer.begin();
    layer.end();
    EXPECT_EQ(layer.nextWay(7, kSurface), Way::Put);
    EXPECT_EQ(layer.nextWay(7, kSurface), Way::Put);
}

TEST(RuleLayer, IsNotMadeOfWhatKeepsChanging)
{
    RuleLayer layer;
    for (std::uint64_t nChanges = 0; nChanges < 10; ++nChanges) {
        EXPECT_EQ(layer.nextWay(nChanges, {640, 360}), Way::Draw);
    }
}

TEST(RuleLayer, IsMadeAnewAfterAChange)
{
    for (const auto &[nChanges, surface] :
         {std::pair<std::uint64_t, PixelSize>{8, {640, 360}}, {6, {640, 360}}, {7, {641, 360}}, {7, {640, 359}}}) {
        RuleLayer layer;
        EXPECT_EQ(layer.nextWay(7, {640, 360}), Way::Draw);
        EXPECT_EQ(layer.nextWay(7, {640, 360}), Way::Make);
        layer.begin();
        layer.end();
        EXPECT_EQ(layer.nextWay(nChanges, surface), Way::Draw);
        EXPECT_EQ(layer.nextWay(nChanges, surface), Way::Make);
    }
}

TEST(RuleLayer, IsNotMadeOfWhatIsNotWorthItUntilItChanges)
{
    RuleLayer layer;
    EXPECT_EQ(layer.nextWay(1, {640, 360}), Way::Draw);
    EXPECT_EQ(layer.nextWay(1, {640, 360}), Way::Make);
    layer.begin(false);
    EXPECT_EQ(layer.nextWay(1, {640, 360}), Way::Draw);
    EXPECT_EQ(layer.nextWay(1, {640, 360}), Way::Draw);
    EXPECT_EQ(layer.nextWay(2, {640, 360}), Way::Draw);
    EXPECT_EQ(layer.nextWay(2, {640, 360}), Way::Make);
}

TEST(RuleLayer, IsNotMadeOfASurfaceNarrowerThanABlock)
{
    for (const std::int32_t nWidth : {0, 1, 3}) {
        RuleLayer layer;
        for (int nPass = 0; nPass < 3; ++nPass) {
            EXPECT_EQ(layer.nextWay(1, {nWidth, 10}), Way::Draw) << nWidth;
        }
    }
}

TEST(RuleLayer, LeavesAloneWhatWasNotTouched)
{
    const RuleLayer layer = layerOfRow(Row(5, kBlack), Row(5, kWhite));
    EXPECT_EQ(put(layer, Row(5, 0x12345678)), Row(5, 0x12345678));
}

TEST(RuleLayer, PutsOpaquePixelsExactly)
{
    // Black and white themselves are colours like any other: the same on both grounds.
    const Row onBlack = {kBlack, 0x00FF0000, 0x00FF0000, kBlack, kWhite, 0x00010203, kBlack};
    Row onWhite = onBlack;
    onWhite.front() = onWhite.back() = kWhite;
    Row expected = onBlack;
    expected.front() = expected.back() = 0x55555555;
    EXPECT_EQ(put(layerOfRow(onBlack, onWhite), Row(7, 0x55555555)), expected);
}

TEST(RuleLayer, MixesEachByteByItself)
{
    // Lowest byte: half of it green ink 0x40: on black 0x20, on white 0x20 + 0x80; keeps 0x80 of 0xFF. On 100 that is
    // 32 + 100 * 128 / 255 = 32 + 50.2 = 82. Second byte: opaque 0x33. Third: untouched. Highest: on black 0, on white
    // 0x7F, so that 200 becomes 200 * 127 / 255 = 99.6, rounded 100.
    const RuleLayer layer = layerOfRow(Row(4, 0x00003320), Row(4, 0x7FFF33A0));
    EXPECT_EQ(put(layer, Row(4, (200U << 24U) | (77U << 16U) | (88U << 8U) | 100U)),
              Row(4, (100U << 24U) | (77U << 16U) | (0x33U << 8U) | 82U));
}

TEST(RuleLayer, MixesToTheEndOfARowAndNoPixelTwice)
{
    // Seven pixels, of which a block of four is mixed and the last one. That one keeps half of its ground.
    const Row onBlack = {0, 0, 0, 0, kBlack, 0x00ABCDEF, 0};
    const Row onWhite = {0x7F7F7F7F, 0x7F7F7F7F, 0x7F7F7F7F, 0x7F7F7F7F, kWhite, 0x00ABCDEF, 0x7F7F7F7F};
    EXPECT_EQ(put(layerOfRow(onBlack, onWhite), Row(7, kWhite)),
              (Row{0x7F7F7F7F, 0x7F7F7F7F, 0x7F7F7F7F, 0x7F7F7F7F, kWhite, 0x00ABCDEF, 0x7F7F7F7F}));
    EXPECT_EQ(put(layerOfRow(onBlack, onWhite), Row(7, 0x64646464)),
              (Row{0x32323232, 0x32323232, 0x32323232, 0x32323232, 0x64646464, 0x00ABCDEF, 0x32323232}));
}

TEST(RuleLayer, KeepsOtherSharesOfWhatIsDarkerAndLighterThanLetters)
{
    // Letters of 100, a quarter kept of what is darker and a half of what is lighter: on black 100 - 25 = 75, on white
    // 100 + 155 / 2 = 177.5, so 177. The share above is 77 / 155 in 255ths: 126.7, that is 127.
    const RuleLayer layer = layerOfRow(Row(8, 75), Row(8, 177), 100);
    // 25 in 100 are 63.75, that is 64 in 255: 75 + 40 * 64 / 255 = 85.04; 75 + 99 * 64 / 255 = 99.8;
    // 100.1 + 100 * 127 / 255 = 149.9.
    EXPECT_EQ(put(layer, {0, 1, 40, 99, 100, 101, 200, 255}), (Row{75, 75, 85, 100, 100, 101, 150, 177}));
}

TEST(RuleLayer, KeepsOneShareWhereTheLettersCannotHaveMadeThePixel)
{
    // Letters of 100 make nothing that is 150 on black: 150 + 51 * 50 / 255.
    EXPECT_EQ(put(layerOfRow(Row(4, 150), Row(4, 200), 100), Row(4, 51)), Row(4, 160));
}

TEST(RuleLayer, GivesBackBothGroundsExactly)
{
    std::mt19937 random(5);
    Row onBlack;
    Row onWhite;
    for (int i = 0; i < 333; ++i) {
        std::uint32_t nOnBlack = 0;
        std::uint32_t nOnWhite = 0;
        for (int nByte = 0; nByte < 4; ++nByte) {
            const auto a = static_cast<std::uint32_t>(random() % 256);
            const auto b = static_cast<std::uint32_t>(random() % 256);
            nOnBlack = (nOnBlack << 8U) | std::min(a, b);
            nOnWhite = (nOnWhite << 8U) | std::max(a, b);
        }
        onBlack.push_back(nOnBlack);
        onWhite.push_back(nOnWhite);
    }
    const RuleLayer layer = layerOfRow(onBlack, onWhite);
    EXPECT_EQ(put(layer, Row(333, kBlack)), onBlack);
    EXPECT_EQ(put(layer, Row(333, kWhite)), onWhite);
}

TEST(RuleLayer, KeepsNothingOfTheGroundWhereWhiteCameOutDarker)
{
    // What rounding may do; there is no less than nothing to keep.
    EXPECT_EQ(put(layerOfRow(Row(4, 0x00000081), Row(4, 0x00000080)), Row(4, kWhite)), Row(4, 0x00000081));
}

TEST(RuleLayer, PutsItsPartsOneOverTheOther)
{
    RuleLayer layer;
    EXPECT_EQ(layer.nextWay(1, {4, 1}), Way::Draw);
    layer.begin();
    layer.beginPart();
    layer.takeRow(0, Row(4, 0x00400040).data(), Row(4, 0x00400040).data(), Row(4, 0).data());
    layer.beginPart();
    // Half of the ground is kept, and nothing of two pixels.
    const Row onBlack = {0, 0, 0x00ABCDEF, 0x00ABCDEF};
    const Row onWhite = {0x7F7F7F7F, 0x7F7F7F7F, 0x00ABCDEF, 0x00ABCDEF};
    layer.takeRow(0, onBlack.data(), onWhite.data(), Row(4, 0).data());
    layer.end();
    EXPECT_EQ(put(layer, Row(4, kWhite)), (Row{0x00200020, 0x00200020, 0x00ABCDEF, 0x00ABCDEF}));
}

TEST(RuleLayer, CountsRowsFromTheTopOfABottomUpPicture)
{
    const Row opaque(4, 0x00ABCDEF);
    RuleLayer layer;
    EXPECT_EQ(layer.nextWay(1, {4, 3}), Way::Draw);
    layer.begin();
    layer.beginPart();
    layer.takeRow(0, opaque.data(), opaque.data(), opaque.data());
    layer.takeRow(1, Row(4, kBlack).data(), Row(4, 0x7F7F7F7F).data(), Row(4, 0).data());
    layer.end();
    Pixels picture(4, 3, kWhite);
    layer.putOn(picture.bottomUp());
    EXPECT_EQ(picture.at(0, 2), 0x00ABCDEFU);
    EXPECT_EQ(picture.at(3, 1), 0x7F7F7F7FU);
    EXPECT_EQ(picture.at(0, 0), kWhite);
}

/** Drawing of one byte: a share of it is covered by the ink. */
std::uint8_t drawn(std::uint8_t byGround, std::uint8_t byInk, std::uint8_t byShare)
{
    return static_cast<std::uint8_t>(
        std::lround((byGround * (255.0 - byShare) + byInk * static_cast<double>(byShare)) / 255.0));
}

std::uint32_t drawn(std::uint32_t nGround, std::uint32_t nInk, std::uint8_t byShare)
{
    std::uint32_t nResult = 0;
    for (unsigned int nShift = 0; nShift < 32; nShift += 8) {
        nResult |= static_cast<std::uint32_t>(drawn(static_cast<std::uint8_t>(nGround >> nShift),
                                                    static_cast<std::uint8_t>(nInk >> nShift), byShare))
                   << nShift;
    }
    return nResult;
}

int largestDifference(std::uint32_t a, std::uint32_t b)
{
    int nLargest = 0;
    for (unsigned int nShift = 0; nShift < 32; nShift += 8) {
        nLargest = std::max(
            nLargest, std::abs(static_cast<int>((a >> nShift) & 0xFFU) - static_cast<int>((b >> nShift) & 0xFFU)));
    }
    return nLargest;
}

TEST(RuleLayer, PutsWhatDrawingWouldHaveDrawn)
{
    std::mt19937 random(99);
    for (int nRound = 0; nRound < 400; ++nRound) {
        const auto nWidth = static_cast<std::int32_t>(4 + random() % 90);
        const auto nHeight = static_cast<std::int32_t>(1 + random() % 4);
        Pixels onBlack(nWidth, nHeight, kBlack);
        Pixels onWhite(nWidth, nHeight, kWhite);
        Pixels picture(nWidth, nHeight, kBlack);
        Pixels expected(nWidth, nHeight, kBlack);
        std::vector<std::uint8_t> shares;
        for (std::int32_t y = 0; y < nHeight; ++y) {
            for (std::int32_t x = 0; x < nWidth; ++x) {
                // Mostly nothing, some opaque, some between, in clusters as shapes and letters have them.
                const std::uint8_t byShare =
                    random() % 4 != 0 && !shares.empty()
                        ? shares.back()
                        : std::array<std::uint8_t, 4>{0, 0, 255, static_cast<std::uint8_t>(random())}[random() % 4];
                const std::uint32_t nInk = random() % 2 == 0 ? 0x0000FF00U : 0x00FF8000U;
                const auto nGround = static_cast<std::uint32_t>(random());
                shares.push_back(byShare);
                onBlack.at(x, y) = drawn(kBlack, nInk, byShare);
                onWhite.at(x, y) = drawn(kWhite, nInk, byShare);
                picture.at(x, y) = nGround;
                expected.at(x, y) = drawn(nGround, nInk, byShare);
            }
        }
        RuleLayer layer;
        EXPECT_EQ(layer.nextWay(1, {nWidth, nHeight}), Way::Draw);
        layer.begin();
        layer.beginPart();
        for (std::int32_t y = 0; y < nHeight; ++y) {
            layer.takeRow(y, onBlack.row(y), onWhite.row(y), Row(static_cast<std::size_t>(nWidth), 0).data());
        }
        layer.end();
        layer.putOn(picture.topDown());
        for (std::size_t i = 0; i < shares.size(); ++i) {
            // Two roundings instead of one between; exact where all or nothing is covered.
            const int nAllowed = shares[i] == 0 || shares[i] == 255 ? 0 : 1;
            EXPECT_LE(largestDifference(picture.all()[i], expected.all()[i]), nAllowed) << nRound << ' ' << i;
        }
    }
}

} // namespace
} // namespace pellora
