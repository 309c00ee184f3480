// Built for SSSE3, unlike everything else. Nothing inline of other headers may be used here: the linker could take this
// file's copy of it for processors that lack the instructions.
#include "player/src/picture/ShuffleRow.h"

#include <tmmintrin.h>

namespace player
{

void shuffleRow(const EightSamples *pTable, int entries, const std::uint8_t *pSource, std::uint8_t *pTarget)
{
    const __m128i half = _mm_set1_epi16(128);
    for (const EightSamples *pEntry = pTable; pEntry != pTable + entries; ++pEntry, pTarget += 8) {
        const __m128i source = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pSource + pEntry->first));
        const __m128i left = _mm_shuffle_epi8(source, *reinterpret_cast<const __m128i *>(pEntry->left));
        const __m128i right = _mm_shuffle_epi8(source, *reinterpret_cast<const __m128i *>(pEntry->right));
        const __m128i weight = *reinterpret_cast<const __m128i *>(pEntry->rightWeight);
        // 256 * left + weight * (right - left) + 128 fits 16 bits without a sign; what overflows between cancels out.
        const __m128i change = _mm_mullo_epi16(_mm_sub_epi16(right, left), weight);
        const __m128i mixed = _mm_add_epi16(_mm_add_epi16(_mm_slli_epi16(left, 8), half), change);
        const __m128i samples = _mm_srli_epi16(mixed, 8);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(pTarget), _mm_packus_epi16(samples, samples));
    }
}

} // namespace player
