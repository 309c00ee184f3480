#include "rules/RuleInk.h"

#include <algorithm>
#include <cstring>

namespace pellora
{

namespace
{

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr std::size_t kPixelBytes = sizeof(std::uint32_t);
/** So many untouched pixels end a stretch: fewer cost less as pixels that keep their ground than as another run. */
constexpr std::int32_t kGap = 4;
constexpr std::int32_t kBlockPixels = RuleInk::kBlockBytes / kPixelBytes;

bool isUntouched(std::uint32_t nOnBlack, std::uint32_t nOnWhite)
{
    return nOnBlack == kBlack && nOnWhite == kWhite;
}

bool isMixed(std::uint32_t nOnBlack, std::uint32_t nOnWhite)
{
    return nOnBlack != nOnWhite && !isUntouched(nOnBlack, nOnWhite);
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

/** Changes nBytes of the ground, a block's size at most. */
void mix(std::uint8_t *pGround, std::size_t nBytes, const RuleInk::Bytes &letters, const RuleInk::MixedBlock &block)
{
    // A copy: only that tells the compiler that nothing overlaps, so that it works on all bytes at once.
    RuleInk::Bytes ground = {};
    std::memcpy(ground.data(), pGround, nBytes);
    for (std::size_t i = 0; i < ground.size(); ++i) {
        ground[i] = mixed(ground[i], letters[i], block.added[i], block.keptBelow[i], block.keptAbove[i]);
    }
    std::memcpy(pGround, ground.data(), nBytes);
}

/** What is left of a difference, in 255ths of the whole; nothing of none. */
std::uint8_t share(int nPart, int nWhole)
{
    return nWhole == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>((nPart * 255 + nWhole / 2) / nWhole);
}

std::uint8_t byteOf(std::uint32_t nPixel, std::size_t nByte)
{
    return static_cast<std::uint8_t>(nPixel >> (8U * nByte));
}

} // namespace

void RuleInk::begin(std::uint32_t nLetters)
{
    m_nLetters = nLetters;
    m_opaqueRuns.clear();
    m_mixedRuns.clear();
    m_mixedBlocks.clear();
    m_bTooMuch = false;
}

std::size_t RuleInk::bytes() const
{
    return m_opaqueRuns.size() * sizeof(OpaqueRun) + m_mixedRuns.size() * sizeof(MixedRun) +
           m_mixedBlocks.size() * sizeof(MixedBlock);
}

void RuleInk::takeRow(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                      std::int32_t nPixels)
{
    std::int32_t i = 0;
    while (i < nPixels && !m_bTooMuch) {
        if (isUntouched(pOnBlack[i], pOnWhite[i])) {
            ++i;
            continue;
        }
        std::int32_t nEnd = i + 1;
        for (std::int32_t j = nEnd; j < nPixels && j < nEnd + kGap; ++j) {
            if (!isUntouched(pOnBlack[j], pOnWhite[j])) {
                nEnd = j + 1;
            }
        }
        i += takeStretch(x + i, y, pOnBlack + i, pOnWhite + i, nEnd - i, nPixels - i);
    }
}

std::int32_t RuleInk::takeStretch(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack,
                                  const std::uint32_t *pOnWhite, std::int32_t nPixels, std::int32_t nRoom)
{
    std::int32_t nFirst = 0;
    while (nFirst < nPixels && !isMixed(pOnBlack[nFirst], pOnWhite[nFirst])) {
        ++nFirst;
    }
    takeOpaque(x, y, pOnBlack, pOnWhite, nFirst);
    if (nFirst < nPixels) {
        std::int32_t nEnd = nPixels;
        while (!isMixed(pOnBlack[nEnd - 1], pOnWhite[nEnd - 1])) {
            --nEnd;
        }
        // Whole blocks, since parts take longer; whatever is in them, they can have it.
        nEnd = std::min(nFirst + (nEnd - nFirst + kBlockPixels - 1) / kBlockPixels * kBlockPixels, nRoom);
        takeMixed(x + nFirst, y, pOnBlack + nFirst, pOnWhite + nFirst, nEnd - nFirst);
        nPixels = std::max(nPixels, nEnd);
        takeOpaque(x + nEnd, y, pOnBlack + nEnd, pOnWhite + nEnd, nPixels - nEnd);
    }
    if (bytes() > kMaxBytes) {
        *this = {};
        m_bTooMuch = true;
    }
    return nPixels;
}

void RuleInk::takeOpaque(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                         std::int32_t nPixels)
{
    std::int32_t i = 0;
    while (i < nPixels) {
        if (isUntouched(pOnBlack[i], pOnWhite[i])) {
            ++i;
            continue;
        }
        // Opaque pixels are the same on both grounds.
        const std::int32_t nFirst = i;
        while (i < nPixels && pOnBlack[i] == pOnBlack[nFirst] && pOnWhite[i] == pOnBlack[nFirst]) {
            ++i;
        }
        m_opaqueRuns.push_back({static_cast<std::uint16_t>(x + nFirst), static_cast<std::uint16_t>(y),
                                static_cast<std::uint32_t>(i - nFirst), pOnBlack[nFirst]});
    }
}

void RuleInk::takeMixed(std::int32_t x, std::int32_t y, const std::uint32_t *pOnBlack, const std::uint32_t *pOnWhite,
                        std::int32_t nPixels)
{
    const std::size_t nBytes = static_cast<std::size_t>(nPixels) * kPixelBytes;
    m_mixedRuns.push_back({static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                           static_cast<std::uint32_t>(nBytes), m_mixedBlocks.size()});
    for (std::size_t nByte = 0; nByte < nBytes; ++nByte) {
        if (nByte % kBlockBytes == 0) {
            m_mixedBlocks.emplace_back();
        }
        const std::size_t nPixel = nByte / kPixelBytes;
        const std::size_t nInPixel = nByte % kPixelBytes;
        takeMixedByte(nByte % kBlockBytes, byteOf(m_nLetters, nInPixel), byteOf(pOnBlack[nPixel], nInPixel),
                      byteOf(pOnWhite[nPixel], nInPixel));
    }
}

void RuleInk::takeMixedByte(std::size_t nInBlock, std::uint8_t byLetters, std::uint8_t byOnBlack,
                            std::uint8_t byOnWhite)
{
    // Never less on white than on black but for rounding; the same where nothing is kept.
    const auto byKept = static_cast<std::uint8_t>(std::max(byOnWhite - byOnBlack, 0));
    const bool bByLetters = byKept != 0 && byOnBlack <= byLetters && byLetters <= byOnWhite;
    MixedBlock &block = m_mixedBlocks.back();
    block.added[nInBlock] = byOnBlack;
    block.keptBelow[nInBlock] = bByLetters ? share(byLetters - byOnBlack, byLetters) : byKept;
    block.keptAbove[nInBlock] = bByLetters ? share(byOnWhite - byLetters, 255 - byLetters) : byKept;
}

void RuleInk::putOn(const PixelRows &picture) const
{
    const auto at = [&picture](std::uint16_t x, std::uint16_t y) { return picture.pTop + y * picture.nStep + x; };
    for (const OpaqueRun &run : m_opaqueRuns) {
        std::uint32_t *pPixel = at(run.x, run.y);
        // Most runs are a crossing of a pen one or two pixels wide.
        if (run.nPixels <= 2) {
            pPixel[0] = run.color;
            pPixel[run.nPixels - 1] = run.color;
        } else {
            std::fill_n(pPixel, run.nPixels, run.color);
        }
    }
    Bytes letters;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        letters[i] = byteOf(m_nLetters, i % kPixelBytes);
    }
    for (const MixedRun &run : m_mixedRuns) {
        auto *const pBytes = reinterpret_cast<std::uint8_t *>(at(run.x, run.y));
        const MixedBlock *pBlock = m_mixedBlocks.data() + run.nFirstBlock;
        std::size_t nByte = 0;
        for (; nByte + kBlockBytes <= run.nBytes; nByte += kBlockBytes) {
            mix(pBytes + nByte, kBlockBytes, letters, *pBlock++);
        }
        if (nByte < run.nBytes) {
            mix(pBytes + nByte, run.nBytes - nByte, letters, *pBlock);
        }
    }
}

} // namespace pellora
