#ifndef RULES_UTF16BUFFER_H
#define RULES_UTF16BUFFER_H

#include <array>
#include <cstddef>
#include <string_view>

namespace pellora
{

/**
 * Writes as much of the UTF-8 text as fits into nCapacity units, a terminating zero included, and never half of a
 * surrogate pair. What is no UTF-8 becomes U+FFFD, one for each byte that begins nothing valid. nCapacity is not 0.
 */
void convertToUtf16(std::string_view utf8, char16_t *pUnits, std::size_t nCapacity) noexcept;

/** A text in UTF-16 on the stack, cut to N - 1 units. */
template <std::size_t N>
class Utf16Buffer
{
public:
    explicit Utf16Buffer(std::string_view utf8) noexcept
    {
        convertToUtf16(utf8, m_units.data(), N);
    }

    [[nodiscard]] const char16_t *c_str() const noexcept
    {
        return m_units.data();
    }

private:
    std::array<char16_t, N> m_units;
};

/** What captions are cut to. */
using CaptionBuffer = Utf16Buffer<128>;

} // namespace pellora

#endif
