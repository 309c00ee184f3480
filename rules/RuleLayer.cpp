#include "rules/RuleLayer.h"

#include <algorithm>
#include <cstring>

namespace pellora
{

namespace
{

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

bool isUntouched(std::uint32_t nOnBlack, std::uint32_t nOnWhite)
{
    return nOnBlack == kBlack && nOnWhite == kWhite;
}

/** What a byte of the ground becomes: its part up to the letters' byte and the rest, in 255ths, rounded. */
std::uint8_t mixed(std::uint8_t byGround, std::uint8_t byLetters, std::uint8_t byAdded, std::uint8_t byBelow,
                   std::uint8_t byAbove)
{
    const std::uint8_t byLow = std::min(byGround, byLetters);
    const auto byHigh = static_cast<std::uint8_t>(byGround - byLow);
    const auto nSum = static_cast<std::uint16_t>(byLow * byBelow + byHigh * byAbove + 128);
    const auto nQuotient = static_cast<std::uint16_t>(static_cast<std::uint16_t>(nSum + (nSum >> 8U)) >> 8U);
    return static_cast<std::uint8_t>(byAdded + nQuotient);
}

/** A part in 255ths of the whole; nothing of none. */
std::uint8_t share(int nPart, int nWhole)
{
    return nWhole == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>((nPart * 255 + nWhole / 2) / nWhole);
}

std::uint8_t byteOf(std::uint32_t nPixel, std::size_t nByte)
{
    return static_cast<std::uint8_t>(nPixel >> (8U * nByte));
}

} // namespace

RuleLayer::Way RuleLayer::nextWay(std::uint64_t nChanges, PixelSize surface)
{
    const bool bSame = m_bSeen && m_nChanges == nChanges && m_surface == surface;
    if (!bSame) {
        *this = {};
        m_bSeen = true;
        m_nChanges = nChanges;
        m_surface = surface;
    }
    if (!bSame || !m_bWorthIt || surface.width < kBlockPixels) {
        return Way::Draw;
    }
    return m_bMade ? Way::Put : Way::Make;
}

void RuleLayer::begin(bool bWorthIt)
{
    m_bWorthIt = bWorthIt;
    m_bMade = false;
    m_parts.clear();
}

void RuleLayer::beginPart()
{
    m_parts.emplace_back();
}

void RuleLayer::takeRow(std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                        const std::uint32_t *pLetters)
{
    std::int32_t x = 0;
    while (x < m_surface.width) {
        const std::uint32_t color = pOnBlack[x];
        if (isUntouched(color, pOnWhite[x])) {
            ++x;
        } else if (color == pOnWhite[x]) {
            const std::int32_t nFirst = x++;
            while (x < m_surface.width && pOnBlack[x] == color && pOnWhite[x] == color) {
                ++x;
            }
            m_parts.back().opaqueRuns.push_back(
                {static_cast<std::uint16_t>(nFirst), static_cast<std::uint16_t>(y), x - nFirst, color});
        } else {
            takeBlock(x, y, pOnBlack, pOnWhite, pLetters);
            x += kBlockPixels;
        }
    }
}

void RuleLayer::takeBlock(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                          const std::uint32_t *pLetters)
{
    // At the row's end the block begins earlier. The pixels before x have been taken, and keep all of their ground.
    const std::int32_t nFirst = std::min(x, m_surface.width - kBlockPixels);
    MixedBlock block = {static_cast<std::uint16_t>(nFirst), static_cast<std::uint16_t>(y), {}, {}, {}, {}};
    for (std::size_t nByte = 0; nByte < kBlockBytes; ++nByte) {
        const std::int32_t nPixel = nFirst + static_cast<std::int32_t>(nByte / sizeof(std::uint32_t));
        const std::size_t nInPixel = nByte % sizeof(std::uint32_t);
        setByte(block, nByte, byteOf(pLetters[nPixel], nInPixel),
                byteOf(nPixel < x ? kBlack : pOnBlack[nPixel], nInPixel),
                byteOf(nPixel < x ? kWhite : pOnWhite[nPixel], nInPixel));
    }
    m_parts.back().mixedBlocks.push_back(block);
}

void RuleLayer::setByte(MixedBlock &block, std::size_t nByte, std::uint8_t byLetters, std::uint8_t byOnBlack,
                        std::uint8_t byOnWhite)
{
    // Rounding may leave less on white than on black. Nothing is kept then.
    const auto byKept = static_cast<std::uint8_t>(std::max(byOnWhite - byOnBlack, 0));
    const bool bByLetters = byKept != 0 && byOnBlack <= byLetters && byLetters <= byOnWhite;
    block.letters[nByte] = byLetters;
    block.added[nByte] = byOnBlack;
    block.keptBelow[nByte] = bByLetters ? share(byLetters - byOnBlack, byLetters) : byKept;
    block.keptAbove[nByte] = bByLetters ? share(byOnWhite - byLetters, 255 - byLetters) : byKept;
}

void RuleLayer::end()
{
    m_bMade = true;
}

void RuleLayer::putOn(const PixelRows &picture) const
{
    const auto at = [&picture](std::uint16_t x, std::uint16_t y) { return picture.pTop + y * picture.nStep + x; };
    for (const Part &part : m_parts) {
        for (const OpaqueRun &run : part.opaqueRuns) {
            std::uint32_t *pPixel = at(run.x, run.y);
            // Most runs are a crossing of a pen one or two pixels wide.
            if (run.nPixels <= 2) {
                pPixel[0] = run.color;
                pPixel[run.nPixels - 1] = run.color;
            } else {
                std::fill_n(pPixel, run.nPixels, run.color);
            }
        }
        for (const MixedBlock &block : part.mixedBlocks) {
            mix(at(block.x, block.y), block);
        }
    }
}

void RuleLayer::mix(std::uint32_t *pGround, const MixedBlock &block)
{
    // A copy tells the compiler that nothing overlaps. Only then does it work on all bytes at once.
    Bytes ground;
    std::memcpy(ground.data(), pGround, kBlockBytes);
    for (std::size_t i = 0; i < kBlockBytes; ++i) {
        ground[i] = mixed(ground[i], block.letters[i], block.added[i], block.keptBelow[i], block.keptAbove[i]);
    }
    std::memcpy(pGround, ground.data(), kBlockBytes);
}

} // namespace pellora
