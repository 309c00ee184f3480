#ifndef PLAYER_PLAYBACK_H
#define PLAYER_PLAYBACK_H

#include "player/src/core/CallbackSlot.h"
#include "player/src/core/Condition.h"
#include "player/src/core/Error.h"
#include "player/src/core/Picture.h"
#include "player/src/core/Platform.h"
#include "player/src/metadata/AnalysisSource.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace player
{

/**
 * The host's callbacks of one port, and whether it wants to see what cameras have found in their pictures. They outlive
 * what is played, and running ones outlive the port.
 */
struct PortCallbacks {
    explicit PortCallbacks(Clock &clock) : draw(clock), fileEnd(clock), fileIndex(clock) {}

    CallbackSlot<void *> draw;
    CallbackSlot<> fileEnd;
    CallbackSlot<> fileIndex;
    std::atomic<bool> analysisShown{false};
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
 * What is open on a port, as far as showing it goes: the picture on display and the thread that presents it.
 *
 * Which picture is on display, and when, is told by the kind of source: FilePlayback, LivePlayback.
 *
 * Threads: any. The presenting thread shows pictures and calls the host's callbacks, with no lock held; a thread that
 *          decodes may do so in its place where it has nothing else to do, see presentHere(). Only one of them shows at
 *          a time. Stopping waits for them, except from inside a callback: then they go when the callback has returned.
 * Owns:    the presenting thread, the presenter. Borrows the platform. Kept alive by the presenting thread.
 * Errors:  as returned; never throws but std::bad_alloc and std::system_error.
 *
 * In a window of which nothing can be seen nothing is presented, and the draw callback is not called. What is on
 * display goes on all the same, and is presented when the window is asked about the next time, at most a redrawing
 * later.
 *
 * Order of locks: m_mutex, then those of what feeds it with pictures.
 */
class Playback : public std::enable_shared_from_this<Playback>
{
public:
    virtual ~Playback();
    Playback(const Playback &) = delete;
    Playback &operator=(const Playback &) = delete;

    /** What the source says about its pictures. Before anybody else knows this object. */
    void setAnalysis(std::shared_ptr<AnalysisSource> pAnalysis)
    {
        m_pAnalysis = std::move(pAnalysis);
    }
    /** How many decoded pictures may be kept ready. */
    virtual void setCapacity(std::size_t pictures) = 0;
    Error play(WindowHandle window);
    Error stop();
    /** Stops, and ends the decoding thread. Nothing else may be called afterwards. */
    void close();
    Error pause(bool paused);
    Error setRegion(const std::optional<DisplayRegion> &region);

    [[nodiscard]] virtual std::int64_t position() const = 0;
    /** The picture on display; without one the reason, which is Error::NoPicture where nothing is wrong. */
    virtual Error onDisplay(Picture &picture) = 0;
    virtual Error shape(PictureShape &shape) const = 0;
    /** Microseconds since 1970, UTC, of the picture on display. */
    virtual Error timeOnDisplay(std::int64_t &time) = 0;

protected:
    enum class State { Stopped, Playing, Paused };

    /** Pictures that are shown for long are drawn anew this often, so that they follow the window and the overlay. */
    static constexpr std::chrono::milliseconds kRedrawInterval{33};
    /** A redraw is not worth it when the next picture comes so soon. */
    static constexpr std::chrono::milliseconds kSoon{15};
    /** More pictures than anybody can see fall due at high speed, and after a delay. */
    static constexpr std::chrono::milliseconds kLeastInterval{10};
    /** Showing that takes longer is left to the presenting thread, so that decoding goes on beside it … */
    static constexpr std::chrono::milliseconds kQuick{10};
    /** … and showing that takes no longer than waking that thread is not, even where decoding has to wait for it. */
    static constexpr std::chrono::milliseconds kVeryQuick{3};

    Playback(Platform &platform, std::shared_ptr<PortCallbacks> pCallbacks);

    /**
     * On a decoding thread: takes over what has fallen due and presents it, which saves waking the presenting thread.
     * That one is told instead while it shows, or where showing takes longer than it may hold up decoding.
     */
    void presentHere(Moment::duration most);
    /** Whoever is about to wait for m_changed has either seen what changed before this call, or is woken. */
    void tellChanged();
    /** Waits for presenting threads that left from inside their callbacks. Only from destructors. */
    void joinLeft();

    /** A picture of that time comes next: if its analysis is wanted, let it be there then. */
    void expectAnalysis(std::int64_t time) const;

    // With m_mutex held.
    /** From now on pictures are to be shown; called again while they are. */
    virtual void begin(Moment now) = 0;
    /** Nothing is shown any more. */
    virtual void end(Moment now) = 0;
    /** m_state has changed between playing and paused. */
    virtual void hold(Moment now) = 0;
    /** Takes over what has fallen due. */
    virtual void adoptPictures(Moment now) = 0;
    /** True once when the source has come to its end, which the host is then told. */
    virtual bool reachedEnd(Moment now) = 0;
    [[nodiscard]] virtual bool isPresentationDue(Moment now) const = 0;
    [[nodiscard]] virtual Moment nextWake(Moment now) const = 0;
    /** The size that a region has to meet; empty while it is not known. */
    [[nodiscard]] virtual std::optional<PictureShape> shapeLocked() const = 0;

    // Without it.
    virtual void endFeed() = 0;

    Platform &m_platform;
    Clock &m_clock;
    const std::shared_ptr<PortCallbacks> m_pCallbacks;
    /** What the source says about its pictures; null where it says nothing. Set before anybody else knows this object.
     */
    std::shared_ptr<AnalysisSource> m_pAnalysis;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    Condition m_changed;
    State m_state = State::Stopped;
    bool m_bClosed = false;
    Picture m_current;
    /** The picture on display, its region or its window has not been presented yet. */
    bool m_bFresh = false;
    Moment m_presented;
    /** How long the last presentation took, the draw callback included. */
    Moment::duration m_took{};

private:
    /** One presenting thread, from play to stop. */
    struct Run {
        std::thread thread;
        bool quit = false;
    };

    /** Somebody's turn to show; gives it back at its end. */
    class Turn;

    void startRun();
    std::vector<std::shared_ptr<Run>> takeRuns();
    void endRuns(const std::vector<std::shared_ptr<Run>> &runs);
    void presentLoop(const std::shared_ptr<Run> &pRun);
    void showUntilQuit(const Run &run, std::unique_lock<std::mutex> &lock);
    void awaitTurn(std::unique_lock<std::mutex> &lock);
    void showOnce(std::unique_lock<std::mutex> &lock);
    void present(const Picture &picture, const PixelRect &region, WindowHandle window);
    [[nodiscard]] Overlay overlayOf(const Picture &picture, const PixelRect &region);

    // Guarded by m_mutex.
    std::optional<DisplayRegion> m_region;
    WindowHandle m_window = nullptr;
    std::shared_ptr<Run> m_pRun;
    /** Ended from inside their own callbacks; whoever comes next from another thread waits for them. */
    std::vector<std::shared_ptr<Run>> m_leaving;
    /** The thread that shows a picture at this moment. */
    std::thread::id m_showing;
    int m_nAwaitingTurn = 0;
    /** When the presenting thread looks again by itself. */
    Moment m_wake;
    // The thread whose turn it is.
    std::unique_ptr<Presenter> m_pPresenter;
    WindowHandle m_shownIn = nullptr;
};

} // namespace player

#endif
