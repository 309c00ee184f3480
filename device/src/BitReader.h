#ifndef DEVICE_BITREADER_H
#define DEVICE_BITREADER_H

#include "device/src/Bytes.h"

namespace selvik
{

/**
 * Reads the bits of a unit of H.264 or H.265, without the bytes that prevent start codes inside it (ITU-T H.264,
 * 7.3.1). Behind the end there are zeros; isOver() tells that one was read.
 *
 * Threads: one. Borrows the bytes.
 */
class BitReader
{
public:
    explicit BitReader(ByteView unit) : m_unit(unit) {}

    [[nodiscard]] unsigned int bit()
    {
        if (m_nLeft == 0) {
            load();
        }
        --m_nLeft;
        return (m_nByte >> m_nLeft) & 1U;
    }
    [[nodiscard]] bool flag()
    {
        return bit() != 0;
    }
    /** At most 32. */
    [[nodiscard]] std::uint32_t bits(int count)
    {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            value = value << 1 | bit();
        }
        return value;
    }
    void skip(int count)
    {
        for (int i = 0; i < count && !m_bOver; ++i) {
            (void)bit();
        }
    }
    /** Exponential Golomb code: ue(v). */
    [[nodiscard]] std::uint32_t golomb()
    {
        int nZeros = 0;
        while (!m_bOver && bit() == 0) {
            ++nZeros;
        }
        if (nZeros > 31) {
            m_bOver = true;
            return 0;
        }
        return (std::uint32_t(1) << nZeros) - 1 + bits(nZeros);
    }
    /** se(v), which starts with the same bits. */
    [[nodiscard]] std::int64_t signedGolomb()
    {
        const std::int64_t code = golomb();
        return (code & 1) != 0 ? (code + 1) / 2 : -(code / 2);
    }
    [[nodiscard]] bool isOver() const
    {
        return m_bOver;
    }
    /** Whether every byte was begun. */
    [[nodiscard]] bool isAtEnd() const
    {
        return m_nAt >= m_unit.size;
    }

private:
    void load()
    {
        m_nLeft = 8;
        if (m_nZeros >= 2 && m_nAt < m_unit.size && m_unit.pData[m_nAt] == 3) {
            ++m_nAt;
            m_nZeros = 0;
        }
        if (m_nAt >= m_unit.size) {
            m_bOver = true;
            m_nByte = 0;
            return;
        }
        m_nByte = m_unit.pData[m_nAt++];
        m_nZeros = m_nByte == 0 ? m_nZeros + 1 : 0;
    }

    ByteView m_unit;
    std::size_t m_nAt = 0;
    int m_nZeros = 0; /**< zero bytes right before m_nAt */
    int m_nLeft = 0;  /**< bits of m_nByte */
    unsigned int m_nByte = 0;
    bool m_bOver = false;
};

} // namespace selvik

#endif
