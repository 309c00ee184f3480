#pragma once

#include "player/src/core/CallbackSlot.h"
#include "player/src/core/Error.h"
#include "player/src/core/Picture.h"
#include "player/src/core/PictureFeed.h"
#include "player/src/core/Platform.h"
#include "player/src/core/PlaybackClock.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace player
{

/** The host's callbacks of one port. They outlive what is played, and running ones outlive the port. */
struct PortCallbacks {
    CallbackSlot<void *> draw;
    CallbackSlot<> fileEnd;
    CallbackSlot<> fileIndex;
};

/** A part of the picture, in the form in which the host gave it. */
struct DisplayRegion {
    PixelRect rect;
    /** The rows are counted from the picture's bottom edge. */
    bool fromBottom = false;

    /** Clamped to a picture; empty when it lies outside. */
    [[nodiscard]] PixelRect on(const PictureShape &shape) const;
};

/**
 * One open source: what is on display, where the clock stands, and the two threads that keep both going.
 *
 * Threads: any. The decoding thread (PictureFeed) never calls the host. The presenting thread shows pictures and calls
 *          the host's callbacks, with no lock held. Stopping waits for that thread, except from inside a callback: then
 *          the thread goes when the callback has returned.
 * Owns:    both threads, the feed, the presenter. Borrows the platform. Kept alive by the presenting thread.
 * Units:   microseconds from the first picture.
 * Errors:  as returned; never throws but std::bad_alloc and std::system_error.
 *
 * Order of locks: m_mutex, then the feed's own.
 */
class Playback : private FeedClient, public std::enable_shared_from_this<Playback>
{
public:
    Playback(Platform &platform, std::unique_ptr<PictureReader> pReader, std::shared_ptr<PortCallbacks> pCallbacks);
    ~Playback() override;

    [[nodiscard]] const SourceFacts &facts() const
    {
        return m_facts;
    }

    void setCapacity(std::size_t pictures);
    Error play(WindowHandle window);
    Error stop();
    /** Stops, and ends the decoding thread. Nothing else may be called afterwards. */
    void close();

    Error pause(bool paused);
    /** +1 doubles the speed, -1 halves it. */
    Error changeSpeed(int steps);
    Error stepForward();
    Error seek(std::int64_t time);
    [[nodiscard]] std::int64_t position() const;
    /** Empty when nothing is on display. A seek that runs is waited for, within reason. */
    [[nodiscard]] Picture onDisplay();
    Error setRegion(const std::optional<DisplayRegion> &region);
    [[nodiscard]] PictureShape shape() const;

private:
    using Moment = PlaybackClock::Moment;
    enum class State { Stopped, Playing, Paused };

    /** One presenting thread, from play to stop. */
    struct Run {
        std::thread thread;
        bool quit = false;
    };

    struct Presentation {
        Picture picture;
        PixelRect region;
        WindowHandle window = nullptr;
    };

    Pace pace() override;
    void feedChanged() override;

    void startRun();
    std::vector<std::shared_ptr<Run>> takeRuns();
    void endRuns(const std::vector<std::shared_ptr<Run>> &runs);

    void presentLoop(const std::shared_ptr<Run> &pRun);
    void showUntilQuit(const Run &run, std::unique_lock<std::mutex> &lock);
    void showOnce(std::unique_ptr<Presenter> &pPresenter, WindowHandle &shownIn, std::unique_lock<std::mutex> &lock);
    void adoptPictures(Moment now);
    bool reachedEnd(Moment now);
    [[nodiscard]] bool isPresentationDue(Moment now) const;
    [[nodiscard]] Moment nextWake(Moment now) const;
    [[nodiscard]] std::int64_t endPosition() const;
    void seekLocked(std::int64_t time, Moment now);
    void updateClock(Moment now);
    Error stepLocked(std::unique_lock<std::mutex> &lock);
    bool waitForPictures(std::unique_lock<std::mutex> &lock);
    [[nodiscard]] PictureShape shapeLocked() const;

    Platform &m_platform;
    const std::shared_ptr<PortCallbacks> m_pCallbacks;
    const SourceFacts m_facts;
    PictureFeed m_feed;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::Stopped;
    bool m_bClosed = false;
    bool m_bEnded = false;
    /** Playing begins at the start again. */
    bool m_bRewind = false;
    /** A seek was asked for whose picture is not there yet; the clock waits for it. */
    bool m_bAwaitSeek = false;
    PlaybackClock m_clock;
    Picture m_current;
    bool m_bFresh = false;
    std::optional<DisplayRegion> m_region;
    WindowHandle m_window = nullptr;
    Moment m_presented;
    std::shared_ptr<Run> m_pRun;
    /** Ended from inside their own callbacks; whoever comes next from another thread waits for them. */
    std::vector<std::shared_ptr<Run>> m_leaving;
};

} // namespace player
