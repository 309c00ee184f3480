#include "player/src/file/FileFeed.h"

#include <utility>

namespace player
{

namespace
{

/** Very large pictures would fill the memory long before the queue is full. */
constexpr std::int64_t kMostQueuedBytes = 192 * 1024 * 1024;
/** For steps back a group of pictures is kept, as far as it fits. */
constexpr std::int64_t kMostKeptBytes = 128 * 1024 * 1024;
/** Behind the clock by so much of a second, pictures that no other needs are left out … */
constexpr std::int64_t kLateDivisor = 10;
/** … and by so much, decoding goes on at a later key picture. */
constexpr std::int64_t kVeryLateDivisor = 3;

} // namespace

FileFeed::FileFeed(Clock &clock, std::unique_ptr<FileDecoder> pDecoder, FeedClient &client)
    : m_clock(clock), m_client(client), m_pDecoder(std::move(pDecoder)), m_wake(clock)
{
}

FileFeed::~FileFeed()
{
    stop();
}

void FileFeed::start()
{
    const std::lock_guard lock(m_mutex);
    if (!m_thread.joinable() && !m_bStop) {
        m_pDecoder->startReading();
        m_thread = m_clock.startThread([this] { run(); });
    }
}

void FileFeed::stop()
{
    std::thread thread;
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
        thread.swap(m_thread);
    }
    m_bSuperseded = true;
    m_pDecoder->interrupt();
    m_pDecoder->wake();
    m_wake.notifyAll();
    if (thread.joinable()) {
        m_clock.join(thread);
    }
    m_pDecoder->reader().stop();
}

void FileFeed::setCapacity(std::size_t pictures)
{
    {
        const std::lock_guard lock(m_mutex);
        m_nCapacity = pictures;
    }
    m_wake.notifyAll();
}

void FileFeed::setIndex(std::shared_ptr<const FileIndex> pIndex)
{
    m_pDecoder->setIndex(std::move(pIndex));
}

void FileFeed::seek(std::int64_t time)
{
    begin([this, time] { m_seekTarget = time; });
}

void FileFeed::seekBack(std::int64_t ordinal)
{
    begin([this, ordinal] { m_backTarget = ordinal; });
}

void FileFeed::begin(const std::function<void()> &command)
{
    {
        const std::lock_guard lock(m_mutex);
        m_queue.clear();
        m_nQueuedBytes = 0;
        m_behind.clear();
        m_nBehindBytes = 0;
        m_sought = {};
        m_seekTarget.reset();
        m_backTarget.reset();
        command();
        m_bAtEnd = false;
        m_bFilling = true;
        m_bSuperseded = true;
    }
    m_wake.notifyAll();
    m_pDecoder->wake();
}

bool FileFeed::isSeeking() const
{
    const std::lock_guard lock(m_mutex);
    return m_seekTarget || m_backTarget || m_bSeekRunning;
}

Picture FileFeed::takeBefore(std::int64_t ordinal, Picture onDisplay)
{
    const std::lock_guard lock(m_mutex);
    if (m_behind.empty() || m_behind.back().ordinal != ordinal) {
        return {};
    }
    Picture picture = std::move(m_behind.back());
    m_behind.pop_back();
    m_nBehindBytes -= picture.bytes();
    onDisplay.afterGap = false;
    m_nQueuedBytes += onDisplay.bytes();
    m_queue.push_front(std::move(onDisplay));
    return picture;
}

void FileFeed::keepBehind(Picture onDisplay)
{
    const std::lock_guard lock(m_mutex);
    if (m_queue.empty() || m_queue.front().ordinal != onDisplay.ordinal + 1 || onDisplay.ordinal < 0) {
        return;
    }
    if (!m_behind.empty() && m_behind.back().ordinal + 1 != onDisplay.ordinal) {
        m_behind.clear();
        m_nBehindBytes = 0;
    }
    m_nBehindBytes += onDisplay.bytes();
    m_behind.push_back(std::move(onDisplay));
    while (m_nBehindBytes > kMostKeptBytes) {
        m_nBehindBytes -= m_behind.front().bytes();
        m_behind.pop_front();
    }
}

Picture FileFeed::takeSought()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_sought, Picture());
}

std::optional<std::int64_t> FileFeed::nextTime() const
{
    const std::lock_guard lock(m_mutex);
    return m_queue.empty() ? std::nullopt : std::optional(m_queue.front().time);
}

bool FileFeed::nextIsAfterGap() const
{
    const std::lock_guard lock(m_mutex);
    return !m_queue.empty() && m_queue.front().afterGap;
}

Picture FileFeed::take()
{
    Picture picture;
    bool bWake = false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_queue.empty()) {
            return picture;
        }
        picture = std::move(m_queue.front());
        m_queue.pop_front();
        m_nQueuedBytes -= picture.bytes();
        bWake = m_bWaits && isToDecode();
    }
    if (bWake) {
        m_wake.notifyAll();
    }
    return picture;
}

Picture FileFeed::takeDue(std::int64_t time)
{
    Picture due;
    for (auto next = nextTime(); next && *next <= time; next = nextTime()) {
        due = take();
    }
    if (due) {
        // Playing needs no way back.
        const std::lock_guard lock(m_mutex);
        m_behind.clear();
        m_nBehindBytes = 0;
    }
    return due;
}

bool FileFeed::isDrained() const
{
    const std::lock_guard lock(m_mutex);
    return m_bAtEnd && m_queue.empty() && !m_seekTarget && !m_backTarget && !m_bSeekRunning && !m_sought;
}

std::optional<std::int64_t> FileFeed::endTime() const
{
    const std::lock_guard lock(m_mutex);
    return m_end;
}

bool FileFeed::isToDecode()
{
    if (m_bAtEnd) {
        return false;
    }
    if (m_queue.size() <= m_nCapacity / 2 && m_nQueuedBytes <= kMostQueuedBytes / 2) {
        m_bFilling = true;
    } else if (m_queue.size() >= m_nCapacity || m_nQueuedBytes >= kMostQueuedBytes) {
        m_bFilling = m_queue.empty();
    }
    return m_bFilling;
}

void FileFeed::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_bStop) {
        try {
            workOnce(lock);
        } catch (...) {
            // Nothing may leave a thread. Memory is all that can be lacking: the file ends here until it is sought in.
            giveUp(lock);
        }
    }
}

void FileFeed::workOnce(std::unique_lock<std::mutex> &lock)
{
    if (m_seekTarget || m_backTarget) {
        doSeek(lock);
    } else if (isToDecode()) {
        decodeOne(lock);
    } else {
        m_bWaits = true;
        m_wake.wait(lock, [this] { return hasCommand() || isToDecode(); });
        m_bWaits = false;
    }
}

void FileFeed::giveUp(std::unique_lock<std::mutex> &lock)
{
    if (!lock.owns_lock()) {
        lock.lock();
    }
    m_bSeekRunning = false;
    m_bAtEnd = true;
    m_end = m_nDecodedUpTo;
    lock.unlock();
    m_client.feedChanged();
    lock.lock();
}

void FileFeed::doSeek(std::unique_lock<std::mutex> &lock)
{
    const auto time = std::exchange(m_seekTarget, std::nullopt);
    const auto ordinal = std::exchange(m_backTarget, std::nullopt);
    m_bSeekRunning = true;
    m_bSuperseded = m_bStop;
    lock.unlock();
    const auto superseded = [this] { return m_bSuperseded.load(); };
    std::deque<Picture> pictures;
    if (time) {
        pictures.push_back(m_pDecoder->seek(*time, superseded));
    } else {
        pictures = m_pDecoder->collect(*ordinal, kMostKeptBytes, superseded);
    }
    lock.lock();
    m_bSeekRunning = false;
    if (hasCommand()) {
        return;
    }
    Picture picture;
    if (!pictures.empty()) {
        picture = std::move(pictures.back());
        pictures.pop_back();
    }
    m_behind = std::move(pictures);
    m_nBehindBytes = 0;
    for (const Picture &behind : m_behind) {
        m_nBehindBytes += behind.bytes();
    }
    m_bAtEnd = !picture;
    m_nDecodedUpTo = picture.time + picture.duration;
    m_sought = std::move(picture);
    lock.unlock();
    m_client.feedChanged();
    lock.lock();
}

void FileFeed::decodeOne(std::unique_lock<std::mutex> &lock)
{
    lock.unlock();
    Picture picture = m_pDecoder->next();
    const FeedClient::Pace pace = m_client.pace();
    if (picture) {
        keepUp(picture, pace);
    }
    lock.lock();
    if (hasCommand()) {
        return;
    }
    // Whoever shows the pictures knows when the one after the next is due without being told of each that is ready.
    const bool bNews = m_queue.empty() || !picture;
    if (picture) {
        m_nDecodedUpTo = picture.time + picture.duration;
        m_nQueuedBytes += picture.bytes();
        m_queue.push_back(std::move(picture));
        dropOverdue(pace);
    } else {
        m_bAtEnd = true;
        m_end = m_nDecodedUpTo;
    }
    if (bNews) {
        lock.unlock();
        m_client.feedChanged();
        lock.lock();
    }
}

void FileFeed::keepUp(const Picture &picture, const FeedClient::Pace &pace)
{
    const std::int64_t late = pace.running ? pace.position - picture.time : 0;
    const bool bLate = late > pace.perSecond / kLateDivisor;
    const bool bCoarse = pace.running && pace.coarse;
    m_pDecoder->leaveOutUnneeded(bLate || bCoarse);
    // Every picture of sixteen times the speed would take every processor, for pictures that nobody sees.
    m_bIsSlow = m_bIsSlow || (bLate && !bCoarse);
    m_pDecoder->setHurried(m_bIsSlow && !bCoarse);
    if (late > pace.perSecond / (bCoarse ? kLateDivisor : kVeryLateDivisor)) {
        m_pDecoder->hurryTo(pace.position);
    }
}

void FileFeed::dropOverdue(const FeedClient::Pace &pace)
{
    // At high speed pictures fall due faster than anybody can show them; they must not hold the decoder up.
    while (pace.running && m_queue.size() > 1 && m_queue[1].time <= pace.position) {
        m_nQueuedBytes -= m_queue.front().bytes();
        m_queue.pop_front();
    }
}

} // namespace player
