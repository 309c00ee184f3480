#ifndef PLAYER_SOUNDTRACK_H
#define PLAYER_SOUNDTRACK_H

#include "player/src/core/Clock.h"
#include "player/src/sound/SoundPacket.h"
#include "player/src/sound/SoundTiming.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace player
{

/** What is heard at a moment. Units: microseconds of the source. */
struct HeardSound {
    std::int64_t time = 0;
    Moment moment;
};

/**
 * The sound of one source, between the thread that reads it, those that show its pictures, and the one that plays it.
 *
 * Packets wait here within a bound. A live source's packets are only kept while the port sounds; they are played with
 * the pictures that are being shown, as soon as they can be (SoundTiming). A file's are kept as long as its clock has
 * not passed them, so that sound that is opened in the middle begins at once; they are played by that clock, which in
 * turn keeps to what is heard.
 *
 * Threads: any. The lock is held for moments only, never while sound is decoded or a device is called.
 * Owns:    the packets. `wake` is called without the lock, but perhaps with the caller's; it must not wait for
 * anything. Units:   microseconds of the source.
 */
class SoundTrack
{
public:
    enum class Kind { Live, File };

    SoundTrack(Clock &clock, Kind kind, std::function<void()> wake);
    SoundTrack(const SoundTrack &) = delete;
    SoundTrack &operator=(const SoundTrack &) = delete;

    // The thread that reads the source.
    /** What is known of the streams by now: what the sound's is, null where there is none. Wakes the player. */
    void setStream(const AVCodecParameters *pParameters);
    /** Of the stream that was set last; the oldest ones make room where there is none. */
    void push(PacketPtr pPacket, std::int64_t time);
    /** What is pushed next does not continue what was pushed before. */
    void flush();

    /** A file: a second of it waits, or more, or nobody listens. */
    [[nodiscard]] bool hasEnough() const;

    // Whoever shows the pictures.
    /** Live: the source plays; its sound follows its pictures. */
    void run();
    /** A file: it plays at its own speed; its time 0 was or will be at that moment, as long as nothing is heard. */
    void run(Moment zero);
    /** It is paused, stopped, seeking, or faster or slower than it should be. */
    void silence();
    void pictureShown(std::int64_t time, Moment moment);
    /** A file: what is heard, while it is in step. */
    [[nodiscard]] std::optional<HeardSound> heard() const;

    // The port.
    void setVolume(unsigned short volume)
    {
        m_nVolume = volume;
    }
    /** Whether there is sound that can be decoded: nobody knows before the source's header has been read. */
    enum class Presence { Unknown, None, There };
    [[nodiscard]] Presence presence() const;
    /** The port's sound is the one that is heard, or no longer. */
    void setWanted(bool wanted);

    // The thread that plays it.
    struct Orders {
        bool silent = true;
        /** Another number: what was taken before is stale. */
        unsigned generation = 0;
        /** When the source's time 0 should be heard, in microseconds of the clock; empty: nothing to go by yet. */
        std::optional<std::int64_t> zero;
        /** 0 to 1. */
        float volume = 1;
    };
    /** A sample that is there now can be heard no sooner than after `margin`. */
    [[nodiscard]] Orders orders(std::chrono::microseconds margin) const;
    [[nodiscard]] Kind kind() const
    {
        return m_kind;
    }
    std::optional<SoundPacket> take();
    void setHeard(const std::optional<HeardSound> &heard);

private:
    void dropPassed(Moment now);
    void dropFront();
    void clearPackets();

    Clock &m_clock;
    const Kind m_kind;
    const std::function<void()> m_wake;
    std::atomic<unsigned short> m_nVolume{0xFFFF};

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    bool m_bKnown = false;
    std::shared_ptr<const AVCodecParameters> m_pParameters;
    std::deque<SoundPacket> m_packets;
    std::size_t m_nBytes = 0;
    bool m_bWanted = false;
    bool m_bRunning = false;
    unsigned m_nGeneration = 0;
    SoundTiming m_timing;
    std::int64_t m_nFileZero = 0;
    std::optional<HeardSound> m_heard;
};

/** Microseconds of the clock. */
[[nodiscard]] inline std::int64_t microsecondsOf(Moment moment)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(moment.time_since_epoch()).count();
}

} // namespace player

#endif
