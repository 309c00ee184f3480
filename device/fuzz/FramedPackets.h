#ifndef DEVICE_FUZZ_FRAMEDPACKETS_H
#define DEVICE_FUZZ_FRAMEDPACKETS_H

#include "device/src/Bytes.h"

#include <algorithm>
#include <utility>

namespace selvik
{

/**
 * The packets of an input, written as on an RTSP connection: "$", the channel, the length and the data. The last one
 * may be shorter than it says, and any byte does for the first one, so that most changes of an input leave packets.
 *
 * Threads: one. Borrows the bytes.
 */
class FramedPackets
{
public:
    explicit FramedPackets(const Bytes &bytes) : m_left{bytes.data(), bytes.size()} {}

    [[nodiscard]] bool next(int &nChannel, ByteView &packet)
    {
        constexpr std::size_t kHead = 4;
        if (m_left.size < kHead) {
            return false;
        }
        nChannel = m_left.pData[1];
        packet = {m_left.pData + kHead, std::min<std::size_t>(read16(m_left.pData + 2), m_left.size - kHead)};
        m_left = {packet.end(), static_cast<std::size_t>(m_left.end() - packet.end())};
        return true;
    }

private:
    ByteView m_left;
};

} // namespace selvik

#endif
