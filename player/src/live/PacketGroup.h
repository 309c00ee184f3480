#ifndef PLAYER_PACKETGROUP_H
#define PLAYER_PACKETGROUP_H

#include "player/src/live/LiveDemuxer.h"

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
    void add(LivePacket packet);
    [[nodiscard]] bool isEmpty() const
    {
        return m_packets.empty();
    }
    /** When the first of them could have been decoded. */
    [[nodiscard]] Moment whole() const
    {
        return m_packets.front().whole;
    }
    LivePacket take();
    void clear();
    /** Too much to be worth keeping. */
    [[nodiscard]] bool isOverfull() const;

private:
    std::deque<LivePacket> m_packets;
    std::int64_t m_nBytes = 0;
};

} // namespace player

#endif
