#include "player/src/file/FilePlayback.h"

#include <algorithm>
#include <utility>

namespace player
{

namespace
{

using std::chrono::milliseconds;

/** How long callers wait for a seek that runs. */
constexpr milliseconds kPatience{500};
/** How long they wait for what they asked for themselves, such as a group of pictures to be decoded for a step back. */
constexpr std::chrono::seconds kDecoderPatience{5};
/** Sound cards tell where they are in steps of some milliseconds, which pictures need not follow. */
constexpr std::int64_t kLeaderSlack = 5000;

} // namespace

FilePlayback::FilePlayback(Platform &platform, std::unique_ptr<FileDecoder> pDecoder,
                           std::shared_ptr<PortCallbacks> pCallbacks)
    : Playback(platform, std::move(pCallbacks)),
      m_facts(pDecoder->facts()),
      m_feed(platform.clock(), std::move(pDecoder), *this)
{
}

FilePlayback::~FilePlayback()
{
    joinLeft();
    stopIndexer();
    m_feed.stop();
}

void FilePlayback::buildIndex(std::unique_ptr<ByteSource> pBytes)
{
    m_pIndex = std::make_shared<FileIndex>(m_clock);
    const FileIndexer::Beginning beginning{m_facts.firstNumber, m_facts.firstTick, m_facts.nominalDuration};
    const FileIndexer::News news{[pCallbacks = m_pCallbacks] { return pCallbacks->fileIndex.isSet(); },
                                 [pCallbacks = m_pCallbacks] { pCallbacks->fileIndex.call(); }};
    m_pIndexer = std::make_shared<FileIndexer>(m_platform, std::move(pBytes), beginning, m_pIndex, news);
    m_feed.setIndex(m_pIndex);
    m_pIndexer->start();
}

void FilePlayback::stopIndexer()
{
    if (m_pIndexer) {
        m_pIndexer->stop();
    }
}

std::optional<std::int64_t> FilePlayback::length() const
{
    if (!m_facts.length) {
        letIndexBegin();
    }
    const auto indexed = m_pIndex->end();
    // Containers that are made of cuts tell no more than when their last packet says it is shown.
    return indexed && (!m_facts.length || m_facts.mayLeap) ? indexed : m_facts.length;
}

std::optional<std::int64_t> FilePlayback::lastTime() const
{
    const auto indexed = m_pIndex->lastTime();
    if (indexed || !m_facts.length) {
        letIndexBegin();
        return indexed;
    }
    return std::max<std::int64_t>(*m_facts.length - m_facts.pictureDuration, 0);
}

Error FilePlayback::recordingTimes(std::int64_t &first, std::int64_t &last) const
{
    if (!m_facts.recordingTime) {
        return Error::NoTime;
    }
    const auto time = lastTime();
    if (!time) {
        return Error::NoIndex;
    }
    first = *m_facts.recordingTime;
    const auto told = m_pIndex->lastUtc();
    last = told.value_or(first + *time);
    return Error::None;
}

void FilePlayback::setLeader(std::shared_ptr<LeadingClock> pLeader)
{
    {
        const std::lock_guard lock(m_mutex);
        m_pLeader = std::move(pLeader);
        tellLeader();
    }
    m_changed.notifyAll();
}

void FilePlayback::endFeed()
{
    stopIndexer();
    m_feed.stop();
}

void FilePlayback::begin(Moment now)
{
    m_feed.start();
    expectAnalysis(m_current.time);
    m_fileClock.setSpeedStep(0, now);
    if (m_bEnded || m_bRewind) {
        seekLocked(0, now);
    }
    m_state = State::Playing;
    updateClock(now);
}

void FilePlayback::end(Moment now)
{
    m_bRewind = true;
    m_bEnded = false;
    m_bAwaitSeek = false;
    updateClock(now);
    m_fileClock.setSpeedStep(0, now);
    m_fileClock.setPosition(0, now);
}

void FilePlayback::hold(Moment now)
{
    letIndexBegin();
    // What has fallen due up to now is what is held.
    adoptPictures(now);
    // Where not every picture was decoded the one on display at this time has to be fetched.
    const bool bFetch = m_state == State::Paused && m_fileClock.isRunning() && m_fileClock.isCoarse();
    updateClock(now);
    if (bFetch) {
        seekLocked(m_fileClock.position(now), now);
    }
}

Error FilePlayback::changeSpeed(int steps)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        if (!m_fileClock.setSpeedStep(m_fileClock.speedStep() + steps, m_clock.now())) {
            return Error::Limit;
        }
        tellLeader();
    }
    m_changed.notifyAll();
    return Error::None;
}

Error FilePlayback::stepForward()
{
    Error error = Error::None;
    {
        std::unique_lock lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        m_state = State::Paused;
        updateClock(m_clock.now());
        error = m_bEnded ? Error::End : stepLocked(lock);
    }
    m_changed.notifyAll();
    return error;
}

Error FilePlayback::stepLocked(std::unique_lock<std::mutex> &lock)
{
    if (!waitForPictures(lock, m_clock.now() + kPatience)) {
        return Error::NoPicture;
    }
    if (m_current && m_feed.nextIsAfterGap()) {
        // Pictures were left out to keep up with the clock; the next one of the file has to be fetched.
        seekLocked(m_current.time, m_clock.now());
        if (!waitForPictures(lock, m_clock.now() + kDecoderPatience)) {
            return Error::NoPicture;
        }
    }
    m_feed.keepBehind(m_current);
    Picture picture = m_feed.take();
    if (!picture) {
        return Error::End;
    }
    m_fileClock.setPosition(picture.time, m_clock.now());
    m_current = std::move(picture);
    m_bFresh = true;
    return Error::None;
}

Error FilePlayback::stepBack()
{
    Error error = Error::None;
    {
        std::unique_lock lock(m_mutex);
        if (m_state == State::Stopped) {
            return Error::Order;
        }
        letIndexBegin();
        if (!m_pIndex->isComplete()) {
            return Error::NoIndex;
        }
        m_state = State::Paused;
        updateClock(m_clock.now());
        error = stepBackLocked(lock);
    }
    m_changed.notifyAll();
    return error;
}

Error FilePlayback::stepBackLocked(std::unique_lock<std::mutex> &lock)
{
    if (!waitForPictures(lock, m_clock.now() + kPatience) || !m_current) {
        return Error::NoPicture;
    }
    const auto ordinal =
        m_current.ordinal >= 0 ? std::optional(m_current.ordinal) : m_pIndex->ordinalAt(m_current.time);
    if (!ordinal || *ordinal == 0) {
        return ordinal ? Error::End : Error::NoPicture;
    }
    Picture before = m_feed.takeBefore(*ordinal - 1, m_current);
    if (before) {
        m_current = std::move(before);
        m_bFresh = true;
    } else {
        m_feed.seekBack(*ordinal - 1);
        m_bAwaitSeek = true;
        if (!waitForPictures(lock, m_clock.now() + kDecoderPatience) || m_current.ordinal >= *ordinal) {
            return Error::NoPicture;
        }
    }
    m_bEnded = false;
    m_fileClock.setPosition(m_current.time, m_clock.now());
    return Error::None;
}

bool FilePlayback::waitForPictures(std::unique_lock<std::mutex> &lock, Moment deadline)
{
    for (;;) {
        if (m_state == State::Stopped) {
            return false;
        }
        adoptPictures(m_clock.now());
        if (!m_bAwaitSeek && (m_feed.nextTime() || m_feed.isDrained())) {
            return true;
        }
        if (!m_changed.waitUntil(lock, deadline)) {
            return false;
        }
    }
}

Error FilePlayback::seek(std::int64_t time)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bClosed) {
            return Error::Order;
        }
        m_feed.start();
        seekLocked(time, m_clock.now());
    }
    m_changed.notifyAll();
    return Error::None;
}

void FilePlayback::seekLocked(std::int64_t time, Moment now)
{
    m_bEnded = false;
    m_bRewind = false;
    m_bAwaitSeek = true;
    letIndexBegin();
    m_feed.seek(time);
    expectAnalysis(time);
    updateClock(now);
    m_fileClock.setPosition(std::min(time, length().value_or(time)), now);
}

std::int64_t FilePlayback::position() const
{
    const std::lock_guard lock(m_mutex);
    const std::int64_t position = m_fileClock.position(m_clock.now());
    const auto end = m_feed.endTime() ? m_feed.endTime() : length();
    return std::min(position, end.value_or(position));
}

Error FilePlayback::onDisplay(Picture &picture)
{
    std::unique_lock lock(m_mutex);
    const Moment deadline = m_clock.now() + kPatience;
    while (m_bAwaitSeek && m_state != State::Stopped) {
        adoptPictures(m_clock.now());
        if (m_bAwaitSeek && !m_changed.waitUntil(lock, deadline)) {
            return Error::NoPicture;
        }
    }
    if (!m_current) {
        return Error::NoPicture;
    }
    picture = m_current;
    return Error::None;
}

Error FilePlayback::shape(PictureShape &shape) const
{
    const std::lock_guard lock(m_mutex);
    shape = *shapeLocked();
    return Error::None;
}

Error FilePlayback::timeOnDisplay(std::int64_t &time)
{
    const std::lock_guard lock(m_mutex);
    if (!m_current) {
        return m_facts.recordingTime ? Error::NoPicture : Error::NoTime;
    }
    if (m_current.utc <= 0 && !m_facts.recordingTime) {
        return Error::NoTime;
    }
    time = m_current.utc > 0 ? m_current.utc : *m_facts.recordingTime + m_current.time;
    return Error::None;
}

std::optional<PictureShape> FilePlayback::shapeLocked() const
{
    return m_current ? m_current.shape : m_facts.shape;
}

FeedClient::Pace FilePlayback::pace()
{
    const std::lock_guard lock(m_mutex);
    const bool bRunning = m_fileClock.isRunning();
    return {bRunning, m_fileClock.position(m_clock.now()), m_fileClock.perSecond(), m_fileClock.isCoarse()};
}

void FilePlayback::updateClock(Moment now)
{
    m_fileClock.run(m_state == State::Playing && !m_bEnded && !m_bAwaitSeek, now);
    tellLeader();
}

void FilePlayback::tellLeader()
{
    if (m_pLeader) {
        m_pLeader->paceChanged(m_fileClock.isRunning(), m_fileClock.speedStep(), m_fileClock.position(m_clock.now()));
    }
}

void FilePlayback::followLeader(Moment now)
{
    if (!m_pLeader || !m_fileClock.isRunning() || m_fileClock.speedStep() != 0) {
        return;
    }
    const auto position = m_pLeader->position(now);
    if (position && std::abs(*position - m_fileClock.position(now)) > kLeaderSlack) {
        m_fileClock.setPosition(*position, now);
    }
}

void FilePlayback::adoptPictures(Moment now)
{
    if (m_state == State::Stopped) {
        return;
    }
    if (m_current && !m_bFresh) {
        // The first picture has been shown: nothing is as urgent as that.
        letIndexBegin();
    }
    followLeader(now);
    Picture picture;
    if (m_bAwaitSeek) {
        if (m_feed.isSeeking()) {
            return;
        }
        picture = m_feed.takeSought();
        m_bAwaitSeek = false;
        expectAnalysis(picture ? picture.time : m_current.time);
        updateClock(now);
    } else if (m_fileClock.isRunning()) {
        picture = m_feed.takeDue(m_fileClock.position(now));
    } else if (!m_current) {
        picture = m_feed.take();
    }
    if (picture) {
        m_current = std::move(picture);
        m_bFresh = true;
    }
}

bool FilePlayback::reachedEnd(Moment now)
{
    if (!m_fileClock.isRunning() || !m_feed.isDrained() || m_fileClock.position(now) < endPosition()) {
        return false;
    }
    m_bEnded = true;
    updateClock(now);
    m_fileClock.setPosition(endPosition(), now);
    return true;
}

std::int64_t FilePlayback::endPosition() const
{
    return m_feed.endTime().value_or(m_current.time + m_current.duration);
}

bool FilePlayback::isPresentationDue(Moment now) const
{
    if (!m_current) {
        return false;
    }
    if (m_bFresh) {
        return now >= m_presented + kLeastInterval || !m_fileClock.isRunning();
    }
    if (now < m_presented + kRedrawInterval) {
        return false;
    }
    const auto next = m_feed.nextTime();
    return !(m_fileClock.isRunning() && next && m_fileClock.momentOf(*next) < now + kSoon);
}

Moment FilePlayback::nextWake(Moment now) const
{
    Moment wake = m_presented + (m_bFresh ? kLeastInterval : kRedrawInterval);
    if (!m_current) {
        wake = now + kDecoderPatience;
    }
    if (m_fileClock.isRunning()) {
        const auto next = m_feed.nextTime();
        if (next || m_feed.isDrained()) {
            const Moment due = m_fileClock.momentOf(next ? *next : endPosition());
            // A redraw that was left out because the next picture comes soon leaves the past in wake.
            wake = wake <= now || due < wake ? due : wake;
        }
    }
    // Never a wait of no length: the loop would spin.
    return std::max(wake, now + milliseconds(1));
}

} // namespace player
