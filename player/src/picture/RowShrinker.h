#ifndef PLAYER_ROWSHRINKER_H
#define PLAYER_ROWSHRINKER_H

#include <cstdint>
#include <vector>

namespace player
{

/** Eight neighbouring samples of a narrower row: which samples they come from, and how they are mixed. */
struct alignas(16) EightSamples {
    /** Byte shuffles of the sixteen samples from `first` on, to words: the left and the right neighbour of each. */
    std::uint8_t left[16];
    std::uint8_t right[16];
    /** Weight of the right neighbour in 256ths. */
    std::uint16_t rightWeight[8];
    std::int32_t first;
};

/**
 * Makes rows of 8-bit samples narrower, to no less than half, by mixing the two samples around each place.
 *
 * libyuv mixes two samples at a time; sixteen at once take a quarter of the time, and this is where most of the time of
 * showing a picture went.
 *
 * Threads: one thread at a time. Owns the table for the widths seen last.
 */
class RowShrinker
{
public:
    /** Samples that may be read behind the end of a row; what they are does not matter. */
    static constexpr int kReadsBehind = 16;

    /** Whether this processor has the instructions. */
    [[nodiscard]] static bool isAvailable();

    /** False for lack of memory. from / 2 <= to <= from. */
    [[nodiscard]] bool prepare(int from, int to) noexcept;
    [[nodiscard]] bool isFor(int from, int to) const
    {
        return from == m_nFrom && to == m_nTo;
    }
    /** Where the middle of a sample of the narrower row lies in the wider one, in 256ths of a sample. */
    [[nodiscard]] static int placeOf(int index, int from, int to);
    void shrink(const std::uint8_t *pSource, std::uint8_t *pTarget) const;

private:
    int m_nFrom = 0;
    int m_nTo = 0;
    std::vector<EightSamples> m_table;
};

} // namespace player

#endif
