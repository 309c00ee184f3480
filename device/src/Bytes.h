#ifndef DEVICE_BYTES_H
#define DEVICE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace selvik
{

using Bytes = std::vector<std::uint8_t>;

/** Bytes that somebody else keeps. */
struct ByteView {
    const std::uint8_t *pData = nullptr;
    std::size_t size = 0;

    [[nodiscard]] const std::uint8_t *begin() const
    {
        return pData;
    }
    [[nodiscard]] const std::uint8_t *end() const
    {
        return pData + size;
    }
    [[nodiscard]] bool empty() const
    {
        return size == 0;
    }
    /** Without so many bytes at the beginning; empty where there are not more. */
    [[nodiscard]] ByteView from(std::size_t count) const
    {
        return count < size ? ByteView{pData + count, size - count} : ByteView{pData + size, 0};
    }
};

/** Big-endian numbers, as on the network. */
[[nodiscard]] inline std::uint16_t read16(const std::uint8_t *p)
{
    return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}

[[nodiscard]] inline std::uint32_t read32(const std::uint8_t *p)
{
    return static_cast<std::uint32_t>(read16(p)) << 16 | read16(p + 2);
}

inline void write32(std::uint8_t *p, std::uint32_t value)
{
    for (int i = 3; i >= 0; --i) {
        *p++ = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

} // namespace selvik

#endif
