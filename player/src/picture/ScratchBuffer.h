#ifndef PLAYER_SCRATCHBUFFER_H
#define PLAYER_SCRATCHBUFFER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace player
{

/** Memory that is used again from picture to picture. It grows on demand, is never cleared and null when there is no
 *  more; what was in it is lost when it grows. */
class ScratchBuffer
{
public:
    [[nodiscard]] std::uint8_t *take(std::size_t size) noexcept
    {
        if (size > m_nSize) {
            free();
            m_pBytes.reset(new (std::nothrow) std::uint8_t[size]);
            m_nSize = m_pBytes ? size : 0;
        }
        return m_pBytes.get();
    }

    void free() noexcept
    {
        m_pBytes.reset();
        m_nSize = 0;
    }

private:
    std::unique_ptr<std::uint8_t[]> m_pBytes;
    std::size_t m_nSize = 0;
};

} // namespace player

#endif
