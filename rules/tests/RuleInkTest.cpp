#include "rules/RuleInk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace pellora
{
namespace
{

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

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
        return {m_pixels.data(), m_nWidth, m_nWidth, m_nHeight};
    }
    [[nodiscard]] PixelRows bottomUp()
    {
        return {row(m_nHeight - 1), -m_nWidth, m_nWidth, m_nHeight};
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

/** The ink of one row that was painted so onto black and onto white. */
RuleInk inkOfRow(std::int32_t x, std::int32_t y, const std::vector<std::uint32_t> &onBlack,
                 const std::vector<std::uint32_t> &onWhite)
{
    RuleInk ink;
    ink.takeRow(x, y, onBlack.data(), onWhite.data(), static_cast<std::int32_t>(onBlack.size()));
    return ink;
}

TEST(RuleInk, LeavesAloneWhatWasNotTouched)
{
    const RuleInk ink = inkOfRow(0, 0, {kBlack, kBlack, kBlack}, {kWhite, kWhite, kWhite});
    EXPECT_EQ(ink.bytes(), 0U);
    Pixels picture(3, 1, 0x12345678);
    ink.putOn(picture.topDown());
    EXPECT_EQ(picture.all(), (std::vector<std::uint32_t>(3, 0x12345678)));
}

TEST(RuleInk, PutsOpaquePixelsExactly)
{
    // Black and white themselves are colours like any other: the same on both grounds.
    const std::vector<std::uint32_t> colors = {0x00FF0000, 0x00FF0000, kBlack, kWhite, 0x00010203};
    const RuleInk ink = inkOfRow(1, 1, colors, colors);
    Pixels picture(7, 3, 0x55555555);
    ink.putOn(picture.topDown());
    for (std::int32_t x = 0; x < 5; ++x) {
        EXPECT_EQ(picture.at(x + 1, 1), colors[static_cast<std::size_t>(x)]) << x;
    }
    EXPECT_EQ(std::count(picture.all().begin(), picture.all().end(), 0x55555555U), 7 * 3 - 5);
}

TEST(RuleInk, MixesEachByteByItself)
{
    // Lowest byte: half of it green ink 0x40: on black 0x20, on white 0x20 + 0x80; keeps 0x80 of 0xFF. On 100 that is
    // 32 + 100 * 128 / 255 = 32 + 50.2 = 82. Second byte: opaque 0x33. Third: untouched. Highest: on black 0, on white
    // 0x7F, so that 200 becomes 200 * 127 / 255 = 99.6, rounded 100.
    const RuleInk ink = inkOfRow(0, 0, {0x00003320}, {0x7FFF33A0});
    Pixels picture(1, 1, (200U << 24U) | (77U << 16U) | (88U << 8U) | 100U);
    ink.putOn(picture.topDown());
    EXPECT_EQ(picture.at(0, 0), (100U << 24U) | (77U << 16U) | (0x33U << 8U) | 82U);
}

TEST(RuleInk, KeepsOtherSharesOfWhatIsDarkerAndLighterThanLetters)
{
    // Letters of 100, a quarter kept of what is darker and a half of what is lighter: on black 100 - 25 = 75, on white
    // 100 + 155 / 2 = 177.5, so 177. The share above is 77 / 155 in 255ths: 126.7, that is 127.
    RuleInk ink;
    ink.begin(100);
    const std::vector<std::uint32_t> onBlack(8, 75);
    const std::vector<std::uint32_t> onWhite(8, 177);
    ink.takeRow(0, 0, onBlack.data(), onWhite.data(), 8);
    Pixels picture(8, 1, kBlack);
    const std::array<std::uint32_t, 8> grounds = {0, 1, 40, 99, 100, 101, 200, 255};
    std::copy(grounds.begin(), grounds.end(), picture.row(0));
    ink.putOn(picture.topDown());
    // 25 in 100 are 63.75, that is 64 in 255: 75 + 40 * 64 / 255 = 85.04; 75 + 99 * 64 / 255 = 99.8;
    // 100.1 + 100 * 127 / 255 = 149.9.
    EXPECT_EQ(picture.all(), (std::vector<std::uint32_t>{75, 75, 85, 100, 100, 101, 150, 177}));
}

TEST(RuleInk, KeepsOneShareWhereTheLettersCannotHaveMadeThePixel)
{
    // Letters of 100 make nothing that is 150 on black.
    RuleInk ink;
    ink.begin(100);
    const std::uint32_t nOnBlack = 150;
    const std::uint32_t nOnWhite = 200;
    ink.takeRow(0, 0, &nOnBlack, &nOnWhite, 1);
    Pixels picture(1, 1, 51);
    ink.putOn(picture.topDown());
    EXPECT_EQ(picture.at(0, 0), 160U); // 150 + 51 * 50 / 255
}

TEST(RuleInk, GivesBackBothGroundsExactly)
{
    std::mt19937 random(5);
    std::vector<std::uint32_t> onBlack;
    std::vector<std::uint32_t> onWhite;
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
    const RuleInk ink = inkOfRow(0, 0, onBlack, onWhite);
    Pixels black(333, 1, kBlack);
    ink.putOn(black.topDown());
    EXPECT_EQ(black.all(), onBlack);
    Pixels white(333, 1, kWhite);
    ink.putOn(white.topDown());
    EXPECT_EQ(white.all(), onWhite);
}

TEST(RuleInk, KeepsNothingOfTheGroundWhereWhiteCameOutDarker)
{
    // What rounding may do; there is no less than nothing to keep.
    const RuleInk ink = inkOfRow(0, 0, {0x00000081}, {0x00000080});
    Pixels picture(1, 1, 0xFFFFFFFF);
    ink.putOn(picture.topDown());
    EXPECT_EQ(picture.at(0, 0), 0x00000081U);
}

TEST(RuleInk, CountsRowsFromTheTopOfABottomUpPicture)
{
    const RuleInk opaque = inkOfRow(0, 0, {0x00ABCDEF}, {0x00ABCDEF});
    const RuleInk mixed = inkOfRow(1, 1, {0x00000000}, {0x7F7F7F7F});
    Pixels picture(2, 3, kWhite);
    opaque.putOn(picture.bottomUp());
    mixed.putOn(picture.bottomUp());
    EXPECT_EQ(picture.at(0, 2), 0x00ABCDEFU);
    EXPECT_EQ(picture.at(1, 1), 0x7F7F7F7FU);
    EXPECT_EQ(std::count(picture.all().begin(), picture.all().end(), kWhite), 4);
}

TEST(RuleInk, IsBounded)
{
    // Alternating colours need a run each, of 12 bytes: 65,536 of them are 768 KiB.
    std::vector<std::uint32_t> colors(1024);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        colors[i] = static_cast<std::uint32_t>(i);
    }
    RuleInk ink;
    for (std::int32_t y = 0; y < 64; ++y) {
        ink.takeRow(0, y, colors.data(), colors.data(), 1024);
        EXPECT_LE(ink.bytes(), RuleInk::kMaxBytes);
    }
    EXPECT_TRUE(ink.isTooMuch());
    EXPECT_EQ(ink.bytes(), 0U);
    ink.begin(0);
    EXPECT_FALSE(ink.isTooMuch());
}

TEST(RuleInk, NeedsTheSameRoomForALongRunAsForAShortOne)
{
    const std::vector<std::uint32_t> row(4000, 0x00FF00FF);
    EXPECT_EQ(inkOfRow(0, 0, row, row).bytes(), inkOfRow(0, 0, {1}, {1}).bytes());
}

/** Painting of one byte: a share of it is covered by the ink. */
std::uint8_t painted(std::uint8_t byGround, std::uint8_t byInk, std::uint8_t byShare)
{
    return static_cast<std::uint8_t>(
        std::lround((byGround * (255.0 - byShare) + byInk * static_cast<double>(byShare)) / 255.0));
}

std::uint32_t painted(std::uint32_t nGround, std::uint32_t nInk, std::uint8_t byShare)
{
    std::uint32_t nResult = 0;
    for (unsigned int nShift = 0; nShift < 32; nShift += 8) {
        nResult |= static_cast<std::uint32_t>(painted(static_cast<std::uint8_t>(nGround >> nShift),
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

TEST(RuleInk, PutsWhatPaintingWouldHavePainted)
{
    std::mt19937 random(99);
    for (int nRound = 0; nRound < 400; ++nRound) {
        const auto nWidth = static_cast<std::int32_t>(1 + random() % 90);
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
                onBlack.at(x, y) = painted(kBlack, nInk, byShare);
                onWhite.at(x, y) = painted(kWhite, nInk, byShare);
                picture.at(x, y) = nGround;
                expected.at(x, y) = painted(nGround, nInk, byShare);
            }
        }
        RuleInk ink;
        for (std::int32_t y = 0; y < nHeight; ++y) {
            ink.takeRow(0, y, onBlack.row(y), onWhite.row(y), nWidth);
        }
        ink.putOn(picture.topDown());
        for (std::size_t i = 0; i < shares.size(); ++i) {
            // Two roundings instead of one between; exact where all or nothing is covered.
            const int nAllowed = shares[i] == 0 || shares[i] == 255 ? 0 : 1;
            EXPECT_LE(largestDifference(picture.all()[i], expected.all()[i]), nAllowed) << nRound << ' ' << i;
        }
    }
}

} // namespace
} // namespace pellora
