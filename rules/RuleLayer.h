#ifndef RULES_RULELAYER_H
#define RULES_RULELAYER_H

#include "rules/RuleTypes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellora
{

/** Rows of 32-bit pixels. */
struct PixelRows {
    /** The uppermost row. */
    std::uint32_t *pTop = nullptr;
    /** Pixels from a row to the one below it; negative where the lowest row comes first in memory. */
    std::ptrdiff_t nStep = 0;
    PixelSize size;
};

/**
 * What all rules of a pane leave on a picture, kept in order to put it on the next pictures.
 *
 * The rules are drawn onto black and onto white. The two results tell, for each byte of a pixel, what drawing adds and
 * how much it keeps of the ground. A pixel that came out the same on both grounds is opaque; the others are mixed.
 * Smoothed letters keep one share of a ground darker than they are and another share of a lighter one. Mixed pixels
 * therefore need the colour of the letters, too, and letters over other letters are another part of the layer. Opaque
 * pixels come out exactly, mixed ones within rounding.
 *
 * Threads: under the lock of the table that has it.
 * Owns:    its pixels: at most 18 bytes for each pixel of a part, and as a rule some thousand pixels.
 * Units:   pixels from the surface's top left corner, at most kMaxExtent across and down.
 * Errors:  none but memory; a layer that was not completed is not put.
 */
class RuleLayer
{
public:
    static constexpr std::int32_t kMaxExtent = 65535;

    enum class Way {
        Draw, /**< the rules or the surface have just changed: a layer would not pay */
        Make, /**< see begin(), then putOn(); to draw instead is fine, the next pass asks again */
        Put   /**< putOn() */
    };

    /** How the next pass paints rules that have changed so often, on a surface of that extent. Ask once in a pass. */
    [[nodiscard]] Way nextWay(std::uint64_t nChanges, PixelSize surface);
    /**
     * Starts anew, for the surface of the last pass: for each part beginPart() and takeRow() for each row, then end().
     * With false there will be none: the rules are drawn until something changes.
     */
    void begin(bool bWorthIt = true);
    /** What is taken from now on is put over what has been taken. */
    void beginPart();
    /** Takes up a whole row: as drawn onto 0x00000000, onto 0xFFFFFFFF, and the colour of the letters at each pixel. */
    void takeRow(std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                 const std::uint32_t *pLetters);
    void end();
    /** Puts the layer onto a picture of its surface's extent. */
    void putOn(const PixelRows &picture) const;

private:
    /** As many bytes as are mixed at once: a register of the processor. */
    static constexpr std::size_t kBlockBytes = 16;
    static constexpr std::int32_t kBlockPixels = kBlockBytes / sizeof(std::uint32_t);
    using Bytes = std::array<std::uint8_t, kBlockBytes>;

    /** Pixels of one colour. */
    struct OpaqueRun {
        std::uint16_t x;
        std::uint16_t y;
        std::int32_t nPixels;
        std::uint32_t color;
    };
    /** Neighbouring pixels that keep something of their ground: of its part up to the letters' byte, and of the rest.
     */
    struct MixedBlock {
        std::uint16_t x;
        std::uint16_t y;
        Bytes letters;
        Bytes added;
        Bytes keptBelow;
        Bytes keptAbove;
    };

    static void setByte(MixedBlock &block, std::size_t nByte, std::uint8_t byLetters, std::uint8_t byOnBlack,
                        std::uint8_t byOnWhite);
    static void mix(std::uint32_t *pGround, const MixedBlock &block);
    void takeBlock(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                   const std::uint32_t *pLetters);

    struct Part {
        std::vector<OpaqueRun> opaqueRuns;
        std::vector<MixedBlock> mixedBlocks;
    };

    bool m_bSeen = false;
    bool m_bWorthIt = true;
    bool m_bMade = false;
    std::uint64_t m_nChanges = 0;
    PixelSize m_surface;
    std::vector<Part> m_parts;
};

} // namespace pellora

#endif
