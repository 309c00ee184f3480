#ifndef PLAYER_LIVESOUND_H
#define PLAYER_LIVESOUND_H

#include "player/src/live/LiveDemuxer.h"
#include "player/src/sound/SoundTrack.h"

#include <memory>

namespace player
{

/**
 * The sound of a pushed stream: finds it among what comes besides the pictures, and hands it to the track.
 *
 * Threads: the reading thread. Borrows the clock. Without a track it does nothing.
 */
class LiveSound : public OtherStreams
{
public:
    LiveSound(Clock &clock, std::shared_ptr<SoundTrack> pTrack) : m_clock(clock), m_pTrack(std::move(pTrack)) {}

    void opened(const AVFormatContext &format) override;
    void took(PacketPtr pPacket, const AVFormatContext &format) override;
    /** The stream cannot be read: there will be no sound. */
    void failed();

private:
    void choose(int index, const AVFormatContext &format);

    Clock &m_clock;
    const std::shared_ptr<SoundTrack> m_pTrack;
    /** -1: none yet. */
    int m_nStream = -1;
    /** Its packets have begun; some containers tell nothing of a stream before. */
    bool m_bBegun = false;
    /** When a packet of it was read last. */
    Moment m_packetTime;
};

} // namespace player

#endif
