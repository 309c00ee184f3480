#ifndef PLAYER_PACKETSINK_H
#define PLAYER_PACKETSINK_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>

namespace player
{

/** The streams that may go with the pictures. */
enum class SideStream { Sound, Metadata };

/**
 * One coded packet of a stream that goes with the pictures. Its data are shared, never written again.
 *
 * Units: microseconds from the first picture of the source, the same line on which the pictures stand; negative before
 *        it. Where the source's own times jump or start over, both go on.
 */
struct SidePacket {
    PacketPtr pPacket;
    std::int64_t time = 0;
    /** 0 where the container does not tell. */
    std::int64_t duration = 0;
    /** That of the latest flush(); what was told by an earlier one is stale. */
    unsigned generation = 0;
};

/**
 * Takes the coded packets of a file's sound as they are read.
 *
 * Threads: called on the thread that reads the source, one call at a time, with no lock held, except hasEnough(), which
 *          may be called on any. Nothing may wait in it for another thread's work: it takes a packet or drops it. It is
 *          called no more once the source has been stopped or the sink exchanged, whichever returns first.
 * Owns:    what it was given.
 * Errors:  never throws.
 */
class PacketSink
{
public:
    PacketSink() = default;
    virtual ~PacketSink() = default;
    PacketSink(const PacketSink &) = delete;
    PacketSink &operator=(const PacketSink &) = delete;

    /**
     * A stream begins, ahead of its first packet, and again when its parameters have changed. `tick` is the time base
     * of its packets. False: nothing can be made of it, and it is discarded from now on.
     */
    virtual bool begin(const AVCodecParameters &parameters, AVRational tick) = 0;
    virtual void take(SidePacket packet) = 0;
    /**
     * What has been given is void: reading goes on elsewhere, so that the picture on display at `time` is reached.
     * Packets from a little before that time may follow.
     */
    virtual void flush(unsigned generation, std::int64_t time) = 0;
    /** The source has come to its end; a flush may follow. */
    virtual void end() = 0;
    /**
     * About a second or more of it waits to be used. While it says no, reading goes on, within a bound, even where
     * pictures wait in plenty. Who has come to want more calls FilePlayback::moreWanted().
     */
    [[nodiscard]] virtual bool hasEnough() const = 0;
};

} // namespace player

#endif
