#pragma once

#include "player/src/core/StreamDemuxer.h"

#include <deque>

namespace player
{

/**
 * Coded pictures that wait to be decoded: those from the newest key picture on, since it makes older ones needless.
 *
 * Threads: one. Units: bytes of coded data.
 */
class PacketGroup
{
public:
    void add(StreamPacket packet);
    [[nodiscard]] bool isEmpty() const
    {
        return m_packets.empty();
    }
    /** When the first of them came. */
    [[nodiscard]] StreamBuffer::Moment arrived() const
    {
        return m_packets.front().arrived;
    }
    StreamPacket take();
    void clear();
    /** Too much to be worth keeping. */
    [[nodiscard]] bool isOverfull() const;

private:
    std::deque<StreamPacket> m_packets;
    std::int64_t m_nBytes = 0;
};

} // namespace player
