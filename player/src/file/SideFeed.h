#ifndef PLAYER_SIDEFEED_H
#define PLAYER_SIDEFEED_H

#include "player/src/core/PacketSink.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace player
{

/**
 * What becomes of the packets of one stream that goes with the pictures: its sink gets them, or nobody.
 *
 * Threads: the one that reads, but for isShort(). The sink is called with no lock held but in isShort().
 * Owns:    packets that were read before there was a sink, within a bound. Shares the sink.
 */
class SideFeed
{
public:
    /** Until there is a sink or discard() is called packets are kept for it. The stream may be null. */
    void open(const AVStream *pStream);
    [[nodiscard]] const AVStream *stream() const
    {
        return m_pStream;
    }
    /** The sink gets what comes from now on, after what was kept. False: it cannot use the stream, or is null. */
    bool exchange(std::shared_ptr<PacketSink> pSink, unsigned generation, std::int64_t time);
    void take(SidePacket packet);
    /** Where the first picture stands has become known: what is kept stands by so much earlier. */
    void moveKept(std::int64_t earlier);
    void flush(unsigned generation, std::int64_t time);
    void end();
    /** There is a sink, and it has too little. From any thread. */
    [[nodiscard]] bool isShort() const;

private:
    const AVStream *m_pStream = nullptr;
    bool m_bKeeps = true;
    std::deque<SidePacket> m_kept;
    std::int64_t m_nKeptBytes = 0;

    // Changed with m_mutex held, and by the thread that reads alone.
    mutable std::mutex m_mutex;
    std::shared_ptr<PacketSink> m_pSink;
};

} // namespace player

#endif
