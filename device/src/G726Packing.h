#ifndef DEVICE_G726PACKING_H
#define DEVICE_G726PACKING_H

#include <cstddef>
#include <cstdint>

namespace selvik
{

/**
 * G.726 has two orders of its codes in bytes: RTP's own begins with the lowest bits (RFC 3551, 4.5.4), that of AAL2 and
 * of files with the highest. This turns the first into the second, in place. `nBits` of a code: 2 to 5.
 */
inline void packFromHighestBits(std::uint8_t *pData, std::size_t size, int nBits)
{
    // The smallest number of bytes that holds whole codes.
    const std::size_t group = nBits == 3 || nBits == 5 ? static_cast<std::size_t>(nBits) : 1;
    const std::uint64_t mask = (std::uint64_t(1) << nBits) - 1;
    for (std::size_t at = 0; at + group <= size; at += group) {
        std::uint64_t codes = 0;
        for (std::size_t i = 0; i < group; ++i) {
            codes |= std::uint64_t(pData[at + i]) << (8 * i);
        }
        std::uint64_t turned = 0;
        for (std::size_t bit = 0; bit + static_cast<std::size_t>(nBits) <= 8 * group;
             bit += static_cast<std::size_t>(nBits)) {
            turned = turned << nBits | ((codes >> bit) & mask);
        }
        for (std::size_t i = group; i-- > 0; turned >>= 8) {
            pData[at + i] = static_cast<std::uint8_t>(turned);
        }
    }
}

} // namespace selvik

#endif
