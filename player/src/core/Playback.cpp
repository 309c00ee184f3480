#include "player/src/core/Playback.h"

#include <algorithm>
#include <utility>

namespace player
{

PixelRect DisplayRegion::on(const PictureShape &shape) const
{
    // Hosts give any numbers: wider ones, lest a difference overflows.
    const auto within = [](std::int64_t place, int length) {
        return static_cast<int>(std::clamp<std::int64_t>(place, 0, length));
    };
    const auto row = [&](int place) {
        return within(fromBottom ? std::int64_t{shape.height} - place : std::int64_t{place}, shape.height);
    };
    return {within(rect.left, shape.width), row(rect.top), within(rect.right, shape.width), row(rect.bottom)};
}

Playback::Playback(Platform &platform, std::shared_ptr<PortCallbacks> pCallbacks)
    : m_platform(platform), m_clock(platform.clock()), m_pCallbacks(std::move(pCallbacks)), m_changed(m_clock)
{
}

Playback::~Playback()
{
    joinLeft();
}

void Playback::joinLeft()
{
    // The destructor may run on a presenting thread that left from inside its callback, since that thread owned the
    // last reference to this object. It cannot wait for itself.
    for (const auto &pRun : std::exchange(m_leaving, {})) {
        if (pRun->thread.get_id() == std::this_thread::get_id()) {
            pRun->thread.detach();
        } else {
            m_clock.join(pRun->thread);
        }
    }
}

Error Playback::play(WindowHandle window)
{
    if (window && !m_platform.isWindow(window)) {
        return Error::Argument;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_bClosed) {
            return Error::Order;
        }
        if (!window && !m_window) {
            return Error::Argument;
        }
        if (!m_pRun) {
            startRun();
        }
        m_window = window ? window : m_window;
        m_bFresh = true;
        begin(m_clock.now());
    }
    m_changed.notifyAll();
    return Error::None;
}

void Playback::startRun()
{
    auto pRun = std::make_shared<Run>();
    // Its place among those that leave, so that ending it needs no memory.
    m_leaving.reserve(m_leaving.size() + 1);
    // The caller holds m_mutex, which the thread takes first. It therefore sees pRun->thread and m_pRun set.
    pRun->thread = m_clock.startThread([pSelf = shared_from_this(), pRun] { pSelf->presentLoop(pRun); });
    m_pRun = std::move(pRun);
}

Error Playback::stop()
{
    std::vector<std::shared_ptr<Run>> runs;
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        m_state = State::Stopped;
        m_current = {};
        end(m_clock.now());
        runs = takeRuns();
    }
    m_changed.notifyAll();
    endRuns(runs);
    return Error::None;
}

void Playback::close()
{
    std::vector<std::shared_ptr<Run>> runs;
    {
        const std::lock_guard lock(m_mutex);
        m_bClosed = true;
        m_state = State::Stopped;
        m_current = {};
        runs = takeRuns();
    }
    m_changed.notifyAll();
    endRuns(runs);
    endFeed();
    if (m_pAnalysis) {
        m_pAnalysis->stop();
    }
}

std::vector<std::shared_ptr<Playback::Run>> Playback::takeRuns()
{
    std::vector<std::shared_ptr<Run>> runs = std::exchange(m_leaving, {});
    if (m_pRun) {
        m_pRun->quit = true;
        runs.push_back(std::move(m_pRun));
        m_pRun.reset();
    }
    return runs;
}

void Playback::endRuns(const std::vector<std::shared_ptr<Run>> &runs)
{
    const auto self = std::this_thread::get_id();
    for (const auto &pRun : runs) {
        std::unique_lock lock(m_mutex);
        if (pRun->thread.get_id() == self || m_showing == self) {
            m_leaving.push_back(pRun);
            continue;
        }
        lock.unlock();
        m_clock.join(pRun->thread);
    }
}

Error Playback::pause(bool paused)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        m_state = paused ? State::Paused : State::Playing;
        hold(m_clock.now());
    }
    m_changed.notifyAll();
    return Error::None;
}

Error Playback::setRegion(const std::optional<DisplayRegion> &region)
{
    {
        const std::lock_guard lock(m_mutex);
        if (region) {
            const auto shape = shapeLocked();
            // While the size of the picture is not known, only a region without an area can be refused.
            const PixelRect &rect = region->rect;
            const bool bRows = region->fromBottom ? rect.top > rect.bottom : rect.top < rect.bottom;
            const bool bArea = rect.left < rect.right && bRows;
            if (!bArea || (shape && region->on(*shape).isEmpty())) {
                return Error::Argument;
            }
        }
        m_region = region;
        m_bFresh = true;
    }
    m_changed.notifyAll();
    return Error::None;
}

void Playback::tellChanged()
{
    {
        // A thread that has looked but does not wait yet still holds the mutex: it must not miss the notice.
        const std::lock_guard lock(m_mutex);
    }
    m_changed.notifyAll();
}

class Playback::Turn
{
public:
    Turn(Playback &playback, std::unique_lock<std::mutex> &lock) : m_playback(playback), m_lock(lock)
    {
        m_playback.m_showing = std::this_thread::get_id();
        m_lock.unlock();
    }

    ~Turn()
    {
        m_lock.lock();
        m_playback.m_showing = std::thread::id();
        if (m_playback.m_nAwaitingTurn > 0) {
            m_playback.m_changed.notifyAll();
        }
    }

    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

private:
    Playback &m_playback;
    std::unique_lock<std::mutex> &m_lock;
};

void Playback::presentLoop(const std::shared_ptr<Run> &pRun)
{
    std::unique_lock lock(m_mutex);
    try {
        showUntilQuit(*pRun, lock);
    } catch (...) {
        // Nothing may leave a thread, or the process ends. This one gives up; the port can still be stopped.
    }
    // Before the port counts as stopped. A decoding thread may be showing in it at this moment.
    awaitTurn(lock);
    const auto pPresenter = std::exchange(m_pPresenter, nullptr);
    lock.unlock();
}

void Playback::showUntilQuit(const Run &run, std::unique_lock<std::mutex> &lock)
{
    while (!run.quit) {
        if (m_showing != std::thread::id()) {
            awaitTurn(lock);
            continue;
        }
        const Moment now = m_clock.now();
        adoptPictures(now);
        // The end comes before redrawing: in a slow window a redraw is always due.
        if (!m_bFresh && reachedEnd(now)) {
            // Played again from inside the callback, another thread may come to the end before this one is back.
            const Turn turn(*this, lock);
            m_pCallbacks->fileEnd.call();
        } else if (isPresentationDue(now)) {
            showOnce(lock);
        } else {
            m_wake = nextWake(now);
            m_changed.waitUntil(lock, m_wake);
        }
    }
}

void Playback::awaitTurn(std::unique_lock<std::mutex> &lock)
{
    ++m_nAwaitingTurn;
    m_changed.wait(lock, [this] { return m_showing == std::thread::id(); });
    --m_nAwaitingTurn;
}

void Playback::showOnce(std::unique_lock<std::mutex> &lock)
{
    const Picture picture = m_current;
    const WindowHandle window = m_window;
    PixelRect shown{0, 0, picture.shape.width, picture.shape.height};
    if (m_region) {
        const PixelRect region = m_region->on(picture.shape);
        shown = region.isEmpty() ? shown : region;
    }
    m_bFresh = false;
    m_presented = m_clock.now();
    {
        const Turn turn(*this, lock);
        present(picture, shown, window);
    }
    m_took = m_clock.now() - m_presented;
}

void Playback::present(const Picture &picture, const PixelRect &region, WindowHandle window)
{
    if (!m_pPresenter || m_shownIn != window) {
        m_pPresenter = m_platform.makePresenter(window);
        m_shownIn = window;
    }
    if (!m_pPresenter->canBeSeen()) {
        return;
    }
    m_pPresenter->present(picture, region, overlayOf(picture, region));
}

Overlay Playback::overlayOf(const Picture &picture, const PixelRect &region)
{
    const bool bDraw = m_pCallbacks->draw.isSet();
    const bool bAnalysis = m_pAnalysis && m_pCallbacks->analysisShown;
    AnalysisFrames frames = bAnalysis ? m_pAnalysis->at(picture.time) : AnalysisFrames();
    if (frames.empty()) {
        return bDraw ? Overlay([this](void *pContext) { m_pCallbacks->draw.call(pContext); }) : Overlay();
    }
    // The host draws over what the camera says.
    return [this, bDraw, frames = std::move(frames), shape = picture.shape, region](void *pContext) {
        m_platform.drawAnalysis(pContext, frames, shape, region);
        if (bDraw) {
            m_pCallbacks->draw.call(pContext);
        }
    };
}

void Playback::expectAnalysis(std::int64_t time) const
{
    if (m_pAnalysis && m_pCallbacks->analysisShown) {
        m_pAnalysis->expect(time);
    }
}

void Playback::presentHere(Moment::duration most)
{
    {
        std::unique_lock lock(m_mutex);
        if (m_pRun && m_showing == std::thread::id() && m_took <= most) {
            const Moment now = m_clock.now();
            adoptPictures(now);
            if (m_bFresh && isPresentationDue(now)) {
                // A picture that could not be shown for lack of memory is none that cannot be decoded.
                try {
                    showOnce(lock);
                } catch (...) {
                }
                if (nextWake(m_clock.now()) >= m_wake) {
                    return;
                }
            }
        }
    }
    m_changed.notifyAll();
}

} // namespace player
