#include "rules/Utf16Buffer.h"

#include <cstdint>

namespace pellora
{

namespace
{

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
    char32_t character;
    std::size_t bytes;
};

/** How many bytes the sequence beginning with this one has, 0 when none begins so. */
std::size_t sequenceLength(unsigned char byLead)
{
    if (byLead < 0x80) {
        return 1;
    }
    if (byLead >= 0xC2 && byLead < 0xE0) {
        return 2;
    }
    if (byLead >= 0xE0 && byLead < 0xF0) {
        return 3;
    }
    return byLead >= 0xF0 && byLead < 0xF5 ? 4 : 0;
}

/** Whether a sequence of that length was needed for the character, and the character exists. */
bool isCanonical(char32_t character, std::size_t nBytes)
{
    const bool bSurrogate = character >= 0xD800 && character < 0xE000;
    const char32_t smallest = nBytes == 4 ? 0x10000 : (nBytes == 3 ? 0x800 : 0);
    return !bSurrogate && character >= smallest && character < 0x110000;
}

/** The first character of a text that is not empty. */
Decoded decodeFirst(std::string_view utf8)
{
    constexpr Decoded kInvalid = {kReplacement, 1};
    const auto byLead = static_cast<unsigned char>(utf8[0]);
    const std::size_t nBytes = sequenceLength(byLead);
    if (nBytes == 0 || nBytes > utf8.size()) {
        return kInvalid;
    }
    if (nBytes == 1) {
        return {byLead, 1};
    }
    char32_t character = byLead & (0xFFU >> (nBytes + 1));
    for (std::size_t i = 1; i < nBytes; ++i) {
        const auto byNext = static_cast<unsigned char>(utf8[i]);
        if ((byNext & 0xC0U) != 0x80) {
            return kInvalid;
        }
        character = (character << 6U) | (byNext & 0x3FU);
    }
    return isCanonical(character, nBytes) ? Decoded{character, nBytes} : kInvalid;
}

} // namespace

void convertToUtf16(std::string_view utf8, char16_t *pUnits, std::size_t nCapacity) noexcept
{
    std::size_t nUsed = 0;
    while (!utf8.empty()) {
        const Decoded next = decodeFirst(utf8);
        const std::size_t nUnits = next.character >= 0x10000 ? 2 : 1;
        if (nUsed + nUnits >= nCapacity) {
            break;
        }
        if (nUnits == 2) {
            const char32_t offset = next.character - 0x10000;
            pUnits[nUsed] = static_cast<char16_t>(0xD800 + (offset >> 10U));
            pUnits[nUsed + 1] = static_cast<char16_t>(0xDC00 + (offset & 0x3FFU));
        } else {
            pUnits[nUsed] = static_cast<char16_t>(next.character);
        }
        nUsed += nUnits;
        utf8.remove_prefix(next.bytes);
    }
    pUnits[nUsed] = 0;
}

} // namespace pellora
