#ifndef TESTS_SUPPORT_FUZZINPUT_H
#define TESTS_SUPPORT_FUZZINPUT_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellora::test
{

/**
 * The input of one run of a fuzz target: what came from outside, and behind it bytes that choose how it came. A
 * recording thus is an input as it is.
 *
 * Threads: one. Units: bytes.
 */
class FuzzInput
{
public:
    FuzzInput(const std::uint8_t *pData, std::size_t size) : m_bytes(pData, pData + size) {}

    /** Takes the last byte off; 0 where there is none. */
    [[nodiscard]] std::uint8_t choose()
    {
        if (m_bytes.empty()) {
            return 0;
        }
        const std::uint8_t choice = m_bytes.back();
        m_bytes.pop_back();
        return choice;
    }

    /** What is left, over and over: what takes time that grows faster than the length shows only where that is great.
     */
    void repeatUpTo(std::size_t size)
    {
        const std::size_t once = m_bytes.size();
        if (once == 0) {
            return;
        }
        m_bytes.reserve(size + once);
        while (m_bytes.size() < size) {
            m_bytes.insert(m_bytes.end(), m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(once));
        }
    }

    [[nodiscard]] const std::vector<std::uint8_t> &bytes() const
    {
        return m_bytes;
    }

private:
    std::vector<std::uint8_t> m_bytes;
};

} // namespace pellora::test

#endif
