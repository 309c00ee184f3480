#include "player/src/file/FileFeed.h"

#include <utility>

namespace player
{

namespace
{

/** Very large pictures would fill the memory long before the queue is full. */
constexpr std::int64_t kMostQueuedBytes = 192 * 1024 * 1024;
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
    if (!m_thread.joinable()) {
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
    m_wake.notifyAll();
    if (thread.joinable()) {
        m_clock.join(thread);
    }
}

void FileFeed::setCapacity(std::size_t pictures)
{
    {
        const std::lock_guard lock(m_mutex);
        m_nCapacity = pictures;
    }
    m_wake.notifyAll();
}

void FileFeed::seek(std::int64_t time)
{
    {
        const std::lock_guard lock(m_mutex);
        m_queue.clear();
        m_nQueuedBytes = 0;
        m_sought = {};
        m_seekTarget = time;
        m_bAtEnd = false;
        m_bSuperseded = true;
    }
    m_wake.notifyAll();
}

bool FileFeed::isSeeking() const
{
    const std::lock_guard lock(m_mutex);
    return m_seekTarget || m_bSeekRunning;
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
    {
        const std::lock_guard lock(m_mutex);
        if (m_queue.empty()) {
            return picture;
        }
        picture = std::move(m_queue.front());
        m_queue.pop_front();
        m_nQueuedBytes -= picture.bytes();
    }
    m_wake.notifyAll();
    return picture;
}

Picture FileFeed::takeDue(std::int64_t time)
{
    Picture due;
    for (auto next = nextTime(); next && *next <= time; next = nextTime()) {
        due = take();
    }
    return due;
}

bool FileFeed::isDrained() const
{
    const std::lock_guard lock(m_mutex);
    return m_bAtEnd && m_queue.empty() && !m_seekTarget && !m_bSeekRunning && !m_sought;
}

std::optional<std::int64_t> FileFeed::endTime() const
{
    const std::lock_guard lock(m_mutex);
    return m_end;
}

bool FileFeed::hasRoom() const
{
    return m_queue.empty() || (m_queue.size() < m_nCapacity && m_nQueuedBytes < kMostQueuedBytes);
}

void FileFeed::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_bStop) {
        if (m_seekTarget) {
            doSeek(lock);
        } else if (!m_bAtEnd && hasRoom()) {
            decodeOne(lock);
        } else {
            m_wake.wait(lock, [this] { return m_bStop || m_seekTarget || (!m_bAtEnd && hasRoom()); });
        }
    }
}

void FileFeed::doSeek(std::unique_lock<std::mutex> &lock)
{
    const std::int64_t target = *std::exchange(m_seekTarget, std::nullopt);
    m_bSeekRunning = true;
    m_bSuperseded = false;
    lock.unlock();
    Picture picture = m_pDecoder->seek(target, [this] { return m_bSuperseded.load(); });
    lock.lock();
    m_bSeekRunning = false;
    if (m_seekTarget || m_bStop) {
        return;
    }
    if (!picture) {
        m_bAtEnd = true;
    }
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
    if (m_seekTarget || m_bStop) {
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
    m_pDecoder->leaveOutUnneeded(late > pace.perSecond / kLateDivisor);
    if (late > pace.perSecond / kVeryLateDivisor) {
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
