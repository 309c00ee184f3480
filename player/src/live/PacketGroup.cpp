#include "player/src/live/PacketGroup.h"

#include <utility>

namespace player
{

namespace
{

constexpr std::int64_t kMostBytes = 16 * 1024 * 1024;
constexpr std::size_t kMostPackets = 3000;

} // namespace

void PacketGroup::add(LivePacket packet)
{
    if (packet.isKey() && !m_packets.empty()) {
        // What is decoded next does not continue what was decoded last.
        packet.afterGap = true;
        m_packets.clear();
        m_nBytes = 0;
    }
    m_nBytes += packet.pPacket->size;
    m_packets.push_back(std::move(packet));
}

LivePacket PacketGroup::take()
{
    LivePacket packet = std::move(m_packets.front());
    m_packets.pop_front();
    m_nBytes -= packet.pPacket->size;
    return packet;
}

void PacketGroup::clear()
{
    m_packets.clear();
    m_nBytes = 0;
}

bool PacketGroup::isOverfull() const
{
    return m_nBytes > kMostBytes || m_packets.size() > kMostPackets;
}

} // namespace player
