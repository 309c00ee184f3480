#include "player/src/port/LateBytes.h"

namespace player
{

int LateBytes::read(std::uint8_t *pBuffer, int size)
{
    ByteSource *pBytes = opened();
    return pBytes ? pBytes->read(pBuffer, size) : -1;
}

bool LateBytes::seek(std::int64_t position)
{
    ByteSource *pBytes = opened();
    return pBytes && pBytes->seek(position);
}

std::int64_t LateBytes::size() const
{
    const ByteSource *pBytes = opened();
    return pBytes ? pBytes->size() : -1;
}

ByteSource *LateBytes::opened() const
{
    if (!m_bAsked) {
        m_bAsked = true;
        try {
            m_pBytes = m_opening.open(m_path.c_str());
        } catch (...) {
            // Without a thread or memory there is no file.
        }
    }
    return m_pBytes.get();
}

} // namespace player
