#ifndef PLAYER_SOUNDPLAYER_H
#define PLAYER_SOUNDPLAYER_H

#include "player/src/core/Condition.h"
#include "player/src/core/Error.h"
#include "player/src/sound/SoundTrack.h"

#include <memory>
#include <mutex>
#include <thread>

namespace player
{

class Platform;
class SoundOutput;
class SoundRenderer;

/**
 * The one port of the process that sounds.
 *
 * Threads: any. A thread of its own opens the device, decodes and plays, as long as a port sounds; nobody waits for it
 *          but the destructor.
 * Owns:    that thread, on it the device. Borrows the platform.
 * Locks:   m_mutex, then a track's.
 * Errors:  as returned; play() throws std::system_error. A device that fails is opened again each second.
 */
class SoundPlayer
{
public:
    explicit SoundPlayer(Platform &platform);
    ~SoundPlayer();
    SoundPlayer(const SoundPlayer &) = delete;
    SoundPlayer &operator=(const SoundPlayer &) = delete;

    /**
     * Lets this one be heard, and no longer the one before. NoSound, and no change, where that cannot be. While nobody
     * knows whether a live one has any sound, the one before goes on; it is not known for ever where a stream never
     * comes.
     */
    Error play(const std::shared_ptr<SoundTrack> &pTrack);
    /** Whoever sounds. */
    void stop();
    /** If it is the one that sounds. */
    void stop(const SoundTrack &track);
    /** Something has changed that the thread may be waiting for. */
    void wake();

private:
    /** With m_mutex held. Nobody is awaited any more. */
    void exchange(std::shared_ptr<SoundTrack> pTrack);
    /** With m_mutex held: takes in what has become known of the tracks. */
    void settle();
    void run();
    void playUntilStopped(std::unique_lock<std::mutex> &lock);
    void supply(const std::shared_ptr<SoundTrack> &pTrack);
    [[nodiscard]] Moment nextLook() const;

    Platform &m_platform;
    Clock &m_clock;

    // Guarded by m_mutex, which is held for moments only.
    std::mutex m_mutex;
    Condition m_changed;
    std::shared_ptr<SoundTrack> m_pTrack;
    /** Takes over once it is known to have sound; only while another one sounds. */
    std::shared_ptr<SoundTrack> m_pAwaited;
    std::thread m_thread;
    /** The thread plays; otherwise it has ended or is about to. */
    bool m_bRunning = false;
    bool m_bWake = false;
    bool m_bQuit = false;

    // The thread's own.
    std::unique_ptr<SoundOutput> m_pOutput;
    std::unique_ptr<SoundRenderer> m_pRenderer;
    Moment m_retry;
};

} // namespace player

#endif
