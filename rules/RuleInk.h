#ifndef RULES_RULEINK_H
#define RULES_RULEINK_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellora
{

/** Rows of 32-bit pixels from the uppermost one; the step to the next is in pixels, and negative in a bottom-up one. */
struct PixelRows {
    std::uint32_t *pTop = nullptr;
    std::ptrdiff_t nStep = 0;
    std::int32_t nWidth = 0;
    std::int32_t nHeight = 0;
};

/**
 * What painting left behind on a picture, kept in order to put it on other pictures.
 *
 * Painting onto black and onto white tells what each byte of a pixel becomes on any ground: what it adds, the byte on
 * black, and what it keeps of the ground, the difference between the two. Smoothed letters keep one share of what is
 * darker than they are and another of what is lighter, so that their colour is needed, too. Opaque ink comes out
 * exactly, letters within rounding. All four bytes of a pixel are treated alike.
 *
 * Threads: one at a time.
 * Owns:    runs of inked pixels: bounded, see isTooMuch(), and independent of the surface's size.
 * Units:   pixels from the surface's top left corner, at most kMaxExtent across and down.
 * Errors:  none but memory; more than kMaxBytes is not kept.
 */
class RuleInk
{
public:
    static constexpr std::int32_t kMaxExtent = 65535;
    static constexpr std::size_t kMaxBytes = 512U * 1024U;

    /** Bytes that are mixed at once: a register of the processor. */
    static constexpr std::size_t kBlockBytes = 16;
    using Bytes = std::array<std::uint8_t, kBlockBytes>;
    /** Bytes of pixels that keep something of their ground: of its part up to the letters' byte, and of the rest. */
    struct MixedBlock {
        Bytes added = {};
        Bytes keptBelow = {};
        Bytes keptAbove = {};
    };

    /** Starts anew; the letters' colour is a pixel's, and does not matter where there are none. */
    void begin(std::uint32_t nLetters);
    /** Takes up a stretch of a row, as painted onto 0x00000000 and onto 0xFFFFFFFF. Stretches do not overlap. */
    void takeRow(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                 std::int32_t nPixels);
    /** Whether there was more than is kept; such ink must not be put anywhere. */
    [[nodiscard]] bool isTooMuch() const
    {
        return m_bTooMuch;
    }
    [[nodiscard]] std::size_t bytes() const;
    /** Puts the ink onto a picture of the extent it was taken from. */
    void putOn(const PixelRows &picture) const;

private:
    /** Pixels of one colour. */
    struct OpaqueRun {
        std::uint16_t x;
        std::uint16_t y;
        std::uint32_t nPixels;
        std::uint32_t color;
    };
    /** Pixels in blocks; the last one may be filled in part. */
    struct MixedRun {
        std::uint16_t x;
        std::uint16_t y;
        std::uint32_t nBytes;
        std::size_t nFirstBlock;
    };

    /** Takes nPixels up, or some more, of the nRoom that are left of the row; how many. */
    std::int32_t takeStretch(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack,
                             const std::uint32_t *pOnWhite, std::int32_t nPixels, std::int32_t nRoom);
    void takeOpaque(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                    std::int32_t nPixels);
    void takeMixed(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                   std::int32_t nPixels);

    void takeMixedByte(std::size_t nInBlock, std::uint8_t byLetters, std::uint8_t byOnBlack, std::uint8_t byOnWhite);

    std::uint32_t m_nLetters = 0;
    std::vector<OpaqueRun> m_opaqueRuns;
    std::vector<MixedRun> m_mixedRuns;
    std::vector<MixedBlock> m_mixedBlocks;
    bool m_bTooMuch = false;
};

} // namespace pellora

#endif
