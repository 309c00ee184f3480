#include "player/src/file/SideFeed.h"

#include <utility>

namespace player
{

namespace
{

/** What is kept for a sink that is yet to come: many seconds of sound. */
constexpr std::int64_t kMostKeptBytes = 1024 * 1024;

} // namespace

void SideFeed::open(const AVStream *pStream)
{
    m_pStream = pStream;
}

bool SideFeed::exchange(std::shared_ptr<PacketSink> pSink, unsigned generation, std::int64_t time)
{
    if (pSink && (!m_pStream || !pSink->begin(*m_pStream->codecpar, m_pStream->time_base))) {
        pSink = nullptr;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_pSink = std::move(pSink);
    }
    m_bKeeps = false;
    m_nKeptBytes = 0;
    auto kept = std::exchange(m_kept, {});
    if (!m_pSink) {
        return false;
    }
    m_pSink->flush(generation, time);
    for (SidePacket &packet : kept) {
        packet.generation = generation;
        m_pSink->take(std::move(packet));
    }
    return true;
}

void SideFeed::take(SidePacket packet)
{
    if (m_pSink) {
        m_pSink->take(std::move(packet));
    } else if (m_bKeeps && m_nKeptBytes < kMostKeptBytes) {
        m_nKeptBytes += packet.pPacket->size;
        m_kept.push_back(std::move(packet));
    }
}

void SideFeed::moveKept(std::int64_t earlier)
{
    for (SidePacket &packet : m_kept) {
        packet.time -= earlier;
    }
}

void SideFeed::flush(unsigned generation, std::int64_t time)
{
    m_kept.clear();
    m_nKeptBytes = 0;
    if (m_pSink) {
        m_pSink->flush(generation, time);
    }
}

void SideFeed::end()
{
    if (m_pSink) {
        m_pSink->end();
    }
}

bool SideFeed::isShort() const
{
    const std::lock_guard lock(m_mutex);
    return m_pSink && !m_pSink->hasEnough();
}

} // namespace player
