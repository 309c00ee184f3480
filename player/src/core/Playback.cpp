#include "player/src/core/Playback.h"

#include <algorithm>
#include <utility>

namespace player
{

namespace
{

using std::chrono::milliseconds;

/** Paused and ended ports are drawn anew this often, so that they follow the window and the overlay. */
constexpr milliseconds kRedrawInterval{33};
/** While playing, a redraw is not worth it when the next picture comes so soon. */
constexpr milliseconds kSoon{15};
/** At high speed more pictures fall due than anybody can see. */
constexpr milliseconds kLeastInterval{10};
/** Longest wait of a caller for the decoder, far beyond what a sound file takes. */
constexpr std::chrono::seconds kDecoderPatience{5};

} // namespace

PixelRect DisplayRegion::on(const PictureShape &shape) const
{
    PixelRect area = rect;
    if (fromBottom) {
        area.top = shape.height - rect.top;
        area.bottom = shape.height - rect.bottom;
    }
    area.left = std::clamp(area.left, 0, shape.width);
    area.right = std::clamp(area.right, 0, shape.width);
    area.top = std::clamp(area.top, 0, shape.height);
    area.bottom = std::clamp(area.bottom, 0, shape.height);
    return area;
}

Playback::Playback(Platform &platform, std::unique_ptr<PictureReader> pReader,
                   std::shared_ptr<PortCallbacks> pCallbacks)
    : m_platform(platform),
      m_pCallbacks(std::move(pCallbacks)),
      m_facts(pReader->facts()),
      m_feed(std::move(pReader), *this)
{
}

Playback::~Playback()
{
    // A presenting thread keeps this object alive, so the only one that can be left is the one that runs this.
    for (const auto &pRun : m_leaving) {
        if (pRun->thread.get_id() == std::this_thread::get_id()) {
            pRun->thread.detach();
        } else {
            pRun->thread.join();
        }
    }
    m_feed.stop();
}

void Playback::setCapacity(std::size_t pictures)
{
    m_feed.setCapacity(pictures);
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
        m_feed.start();
        if (!m_pRun) {
            startRun();
        }
        m_window = window ? window : m_window;
        const Moment now = Moment::clock::now();
        m_clock.setSpeedStep(0, now);
        if (m_bEnded || m_bRewind) {
            seekLocked(0, now);
        }
        m_state = State::Playing;
        m_bFresh = true;
        updateClock(now);
    }
    m_changed.notify_all();
    return Error::None;
}

void Playback::startRun()
{
    auto pRun = std::make_shared<Run>();
    // The thread begins by taking m_mutex, which is held here: it sees the run complete.
    pRun->thread = std::thread([pSelf = shared_from_this(), pRun] { pSelf->presentLoop(pRun); });
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
        const Moment now = Moment::clock::now();
        m_state = State::Stopped;
        m_bRewind = true;
        m_bEnded = false;
        m_bAwaitSeek = false;
        m_current = {};
        updateClock(now);
        m_clock.setSpeedStep(0, now);
        m_clock.setPosition(0, now);
        runs = takeRuns();
    }
    m_changed.notify_all();
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
    m_changed.notify_all();
    m_feed.stop();
    endRuns(runs);
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
    for (const auto &pRun : runs) {
        if (pRun->thread.get_id() == std::this_thread::get_id()) {
            const std::lock_guard lock(m_mutex);
            m_leaving.push_back(pRun);
        } else {
            pRun->thread.join();
        }
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
        updateClock(Moment::clock::now());
    }
    m_changed.notify_all();
    return Error::None;
}

Error Playback::changeSpeed(int steps)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        if (!m_clock.setSpeedStep(m_clock.speedStep() + steps, Moment::clock::now())) {
            return Error::Limit;
        }
    }
    m_changed.notify_all();
    return Error::None;
}

Error Playback::stepForward()
{
    Error error = Error::None;
    {
        std::unique_lock lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        m_state = State::Paused;
        updateClock(Moment::clock::now());
        error = m_bEnded ? Error::End : stepLocked(lock);
    }
    m_changed.notify_all();
    return error;
}

Error Playback::stepLocked(std::unique_lock<std::mutex> &lock)
{
    if (!waitForPictures(lock)) {
        return Error::Order;
    }
    if (m_current && m_feed.nextIsAfterGap()) {
        // Pictures were left out to keep up with the clock; the next one of the file has to be fetched.
        seekLocked(m_current.time, Moment::clock::now());
        if (!waitForPictures(lock)) {
            return Error::Order;
        }
    }
    Picture picture = m_feed.take();
    if (!picture) {
        return Error::End;
    }
    m_clock.setPosition(picture.time, Moment::clock::now());
    m_current = std::move(picture);
    m_bFresh = true;
    return Error::None;
}

bool Playback::waitForPictures(std::unique_lock<std::mutex> &lock)
{
    const Moment deadline = Moment::clock::now() + kDecoderPatience;
    for (;;) {
        if (m_state == State::Stopped) {
            return false;
        }
        adoptPictures(Moment::clock::now());
        if (!m_bAwaitSeek && (m_feed.nextTime() || m_feed.isDrained())) {
            return true;
        }
        if (m_changed.wait_until(lock, deadline) == std::cv_status::timeout) {
            return false;
        }
    }
}

Error Playback::seek(std::int64_t time)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bClosed) {
            return Error::Order;
        }
        m_feed.start();
        seekLocked(time, Moment::clock::now());
    }
    m_changed.notify_all();
    return Error::None;
}

void Playback::seekLocked(std::int64_t time, Moment now)
{
    m_bEnded = false;
    m_bRewind = false;
    m_bAwaitSeek = true;
    m_feed.seek(time);
    updateClock(now);
    m_clock.setPosition(m_facts.length ? std::min(time, *m_facts.length) : time, now);
}

std::int64_t Playback::position() const
{
    const std::lock_guard lock(m_mutex);
    const std::int64_t position = m_clock.position(Moment::clock::now());
    const auto end = m_feed.endTime();
    return end || m_facts.length ? std::min(position, end ? *end : *m_facts.length) : position;
}

Picture Playback::onDisplay()
{
    std::unique_lock lock(m_mutex);
    const Moment deadline = Moment::clock::now() + kDecoderPatience;
    while (m_bAwaitSeek && m_state != State::Stopped) {
        adoptPictures(Moment::clock::now());
        if (m_bAwaitSeek && m_changed.wait_until(lock, deadline) == std::cv_status::timeout) {
            break;
        }
    }
    return m_current;
}

Error Playback::setRegion(const std::optional<DisplayRegion> &region)
{
    {
        const std::lock_guard lock(m_mutex);
        if (region && region->on(shapeLocked()).isEmpty()) {
            return Error::Argument;
        }
        m_region = region;
        m_bFresh = true;
    }
    m_changed.notify_all();
    return Error::None;
}

PictureShape Playback::shape() const
{
    const std::lock_guard lock(m_mutex);
    return shapeLocked();
}

PictureShape Playback::shapeLocked() const
{
    return m_current ? m_current.shape : m_facts.shape;
}

FeedClient::Pace Playback::pace()
{
    const std::lock_guard lock(m_mutex);
    Pace pace;
    pace.running = m_clock.isRunning();
    pace.position = m_clock.position(Moment::clock::now());
    const int step = m_clock.speedStep();
    pace.perSecond = step < 0 ? pace.perSecond >> -step : pace.perSecond << step;
    return pace;
}

void Playback::feedChanged()
{
    {
        // Whoever is about to wait has either seen the change or is waiting by now.
        const std::lock_guard lock(m_mutex);
    }
    m_changed.notify_all();
}

void Playback::updateClock(Moment now)
{
    m_clock.run(m_state == State::Playing && !m_bEnded && !m_bAwaitSeek, now);
}

void Playback::presentLoop(const std::shared_ptr<Run> &pRun)
{
    std::unique_lock lock(m_mutex);
    try {
        showUntilQuit(*pRun, lock);
    } catch (...) {
        // Thread entry: without memory there are no pictures, but the process goes on. The port can still be stopped.
    }
}

void Playback::showUntilQuit(const Run &run, std::unique_lock<std::mutex> &lock)
{
    std::unique_ptr<Presenter> pPresenter;
    WindowHandle shownIn = nullptr;
    while (!run.quit) {
        const Moment now = Moment::clock::now();
        adoptPictures(now);
        if (isPresentationDue(now)) {
            showOnce(pPresenter, shownIn, lock);
        } else if (reachedEnd(now)) {
            lock.unlock();
            m_pCallbacks->fileEnd.call();
            lock.lock();
        } else {
            m_changed.wait_until(lock, nextWake(now));
        }
    }
}

void Playback::showOnce(std::unique_ptr<Presenter> &pPresenter, WindowHandle &shownIn,
                        std::unique_lock<std::mutex> &lock)
{
    Presentation job{m_current, {0, 0, m_current.shape.width, m_current.shape.height}, m_window};
    if (m_region) {
        const PixelRect region = m_region->on(job.picture.shape);
        job.region = region.isEmpty() ? job.region : region;
    }
    m_bFresh = false;
    m_presented = Moment::clock::now();
    lock.unlock();
    if (!pPresenter || shownIn != job.window) {
        pPresenter = m_platform.makePresenter(job.window);
        shownIn = job.window;
    }
    Overlay overlay;
    if (m_pCallbacks->draw.isSet()) {
        overlay = [this](void *pContext) { m_pCallbacks->draw.call(pContext); };
    }
    pPresenter->present(job.picture, job.region, overlay);
    lock.lock();
}

void Playback::adoptPictures(Moment now)
{
    if (m_state == State::Stopped) {
        return;
    }
    Picture picture;
    if (m_bAwaitSeek) {
        if (m_feed.isSeeking()) {
            return;
        }
        picture = m_feed.takeSought();
        m_bAwaitSeek = false;
        updateClock(now);
    } else if (m_clock.isRunning()) {
        picture = m_feed.takeDue(m_clock.position(now));
    } else if (!m_current) {
        picture = m_feed.take();
    }
    if (picture) {
        m_current = std::move(picture);
        m_bFresh = true;
    }
}

bool Playback::reachedEnd(Moment now)
{
    if (!m_clock.isRunning() || !m_feed.isDrained() || m_clock.position(now) < endPosition()) {
        return false;
    }
    m_bEnded = true;
    updateClock(now);
    m_clock.setPosition(endPosition(), now);
    return true;
}

std::int64_t Playback::endPosition() const
{
    return m_feed.endTime().value_or(m_current.time + m_current.duration);
}

bool Playback::isPresentationDue(Moment now) const
{
    if (!m_current) {
        return false;
    }
    if (m_bFresh) {
        return now >= m_presented + kLeastInterval || !m_clock.isRunning();
    }
    if (now < m_presented + kRedrawInterval) {
        return false;
    }
    const auto next = m_feed.nextTime();
    return !(m_clock.isRunning() && next && m_clock.momentOf(*next) < now + kSoon);
}

Playback::Moment Playback::nextWake(Moment now) const
{
    Moment wake = m_presented + (m_bFresh ? kLeastInterval : kRedrawInterval);
    if (!m_current) {
        wake = now + kDecoderPatience;
    }
    if (m_clock.isRunning()) {
        const auto next = m_feed.nextTime();
        if (next || m_feed.isDrained()) {
            const Moment due = m_clock.momentOf(next ? *next : endPosition());
            // A redraw that was left out because the next picture comes soon leaves the past in wake.
            wake = wake <= now || due < wake ? due : wake;
        }
    }
    // Never a wait of no length: the loop would spin.
    return std::max(wake, now + milliseconds(1));
}

} // namespace player
