#ifndef TESTS_SUPPORT_BARCODE_H
#define TESTS_SUPPORT_BARCODE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

/**
 * Reads the number that each picture of the test clips carries.
 *
 * The code covers the picture's whole width and its top quarter: 20 cells of equal width, white, black, 16 bits (most
 * significant first, white = 1), the parity that makes the number of ones even, and the opposite of the parity. The
 * cells are read where they are not disturbed by their neighbours, so that coding, 4:2:0 and scaling down to a width
 * of 160 pixels leave it readable.
 *
 * Units:  pPixels is the top left pixel of the picture in a BGRA or BGRX image, stride bytes from a row to the one
 *         below it (negative for a bottom-up image), width and height those of the picture in this image.
 * Errors: nothing, where there is no valid code.
 */
namespace testsupport
{

inline std::optional<int> readBarCode(const std::uint8_t *pPixels, std::ptrdiff_t stride, int width, int height)
{
    constexpr int kCells = 20;
    constexpr int kBits = 16;
    if (pPixels == nullptr || width < 2 * kCells || height < 4) {
        return std::nullopt;
    }

    std::array<double, kCells> brightness{};
    const int firstRow = height / 16;
    const int lastRow = height * 3 / 16;
    for (int cell = 0; cell < kCells; ++cell) {
        const int first = (4 * cell + 1) * width / (4 * kCells);
        const int last = (4 * cell + 3) * width / (4 * kCells);
        int sum = 0;
        for (int row = firstRow; row <= lastRow; ++row) {
            for (int column = first; column <= last; ++column) {
                const std::uint8_t *pPixel = pPixels + row * stride + std::ptrdiff_t{4} * column;
                sum += pPixel[0] + pPixel[1] + pPixel[2];
            }
        }
        brightness.at(cell) = sum / (3.0 * (lastRow - firstRow + 1) * (last - first + 1));
    }

    const double white = brightness[0];
    const double black = brightness[1];
    if (white - black < 64) {
        return std::nullopt;
    }
    // A cell near the middle is one half of each of two pictures, not a bit.
    const double sure = (white - black) / 8;
    const double middle = (white + black) / 2;
    std::array<int, kCells> read{};
    for (int cell = 0; cell < kCells; ++cell) {
        if (brightness.at(cell) > middle - sure && brightness.at(cell) < middle + sure) {
            return std::nullopt;
        }
        read.at(cell) = brightness.at(cell) > middle ? 1 : 0;
    }

    int number = 0;
    int ones = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        number = number * 2 + read.at(2 + bit);
        ones += read.at(2 + bit);
    }
    const int parity = read[2 + kBits];
    if ((ones + parity) % 2 != 0 || read[3 + kBits] == parity) {
        return std::nullopt;
    }
    return number;
}

} // namespace testsupport

#endif
