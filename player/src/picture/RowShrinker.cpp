#include "player/src/picture/RowShrinker.h"

#include "player/src/picture/ShuffleRow.h"

#include <libyuv/cpu_id.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace player
{

namespace
{

constexpr int kTogether = 8;
constexpr int kOne = 256;

EightSamples entryFor(int index, int from, int to)
{
    constexpr std::uint8_t kZero = 0x80;
    EightSamples entry{};
    entry.first = RowShrinker::placeOf(index, from, to) / kOne;
    for (int i = 0; i < kTogether; ++i) {
        // Samples behind the end of the narrower row are made as well, from what the last one is made of.
        const int place = RowShrinker::placeOf(std::min(index + i, to - 1), from, to);
        const int left = place / kOne;
        const int right = std::min(left + 1, from - 1);
        entry.left[2 * i] = static_cast<std::uint8_t>(left - entry.first);
        entry.right[2 * i] = static_cast<std::uint8_t>(right - entry.first);
        entry.left[2 * i + 1] = kZero;
        entry.right[2 * i + 1] = kZero;
        entry.rightWeight[i] = static_cast<std::uint16_t>(place % kOne);
    }
    return entry;
}

} // namespace

int RowShrinker::placeOf(int index, int from, int to)
{
    const std::int64_t place = (std::int64_t{2} * index + 1) * from * kOne / (std::int64_t{2} * to) - kOne / 2;
    return static_cast<int>(std::clamp<std::int64_t>(place, 0, std::int64_t{from - 1} * kOne));
}

bool RowShrinker::isAvailable()
{
    return libyuv::TestCpuFlag(libyuv::kCpuHasSSSE3) != 0;
}

bool RowShrinker::prepare(int from, int to) noexcept
{
    if (isFor(from, to)) {
        return true;
    }
    m_nFrom = 0;
    m_nTo = 0;
    try {
        m_table.clear();
        for (int index = 0; index < to; index += kTogether) {
            m_table.push_back(entryFor(index, from, to));
        }
    } catch (const std::bad_alloc &) {
        return false;
    }
    m_nFrom = from;
    m_nTo = to;
    return true;
}

void RowShrinker::shrink(const std::uint8_t *pSource, std::uint8_t *pTarget) const
{
    const int whole = m_nTo / kTogether;
    shuffleRow(m_table.data(), whole, pSource, pTarget);
    if (const int left = m_nTo % kTogether) {
        std::uint8_t last[kTogether];
        shuffleRow(&m_table.back(), 1, pSource, last);
        std::memcpy(pTarget + std::ptrdiff_t{kTogether} * whole, last, static_cast<std::size_t>(left));
    }
}

} // namespace player
