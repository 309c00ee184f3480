#include "player/src/live/LiveFeed.h"

#include "player/src/metadata/AnalysisTrack.h"

#include <utility>

namespace player
{

namespace
{

using std::chrono::milliseconds;

/** Behind the stream by so much, pictures that no other needs are left out … */
constexpr milliseconds kLate{100};
/** … by so much, decoding goes on at the newest key picture that has come … */
constexpr milliseconds kVeryLate{300};
/** … and after so long, at one that has yet to come. */
constexpr std::chrono::seconds kCatchUpPatience{1};
constexpr std::int64_t kMostQueuedBytes = 192 * 1024 * 1024;

} // namespace

LiveFeed::LiveFeed(Clock &clock, std::vector<std::uint8_t> header, std::size_t bufferSize, StreamMode mode,
                   std::function<void()> changed, std::shared_ptr<SoundTrack> pSound, OnDocument onDocument)
    : m_clock(clock),
      m_mode(mode),
      m_changed(std::move(changed)),
      m_onDocument(std::move(onDocument)),
      m_buffer(clock, bufferSize),
      m_sound(clock, std::move(pSound)),
      m_demuxer(
          clock, std::move(header), m_buffer, [this] { onIdle(); }, this),
      m_decoder(clock),
      m_room(clock)
{
}

LiveFeed::~LiveFeed()
{
    stop();
    if (m_thread.joinable()) {
        // The thread stopped itself and held the last reference to the owner. It has nothing to do any more.
        m_thread.detach();
    }
}

void LiveFeed::start(std::shared_ptr<void> pOwner)
{
    const std::lock_guard lock(m_mutex);
    if (!m_thread.joinable() && !m_bStop) {
        m_thread = m_clock.startThread([this, pOwner = std::move(pOwner)] { run(); });
    }
}

void LiveFeed::stop()
{
    std::thread thread;
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
        if (m_thread.get_id() != std::this_thread::get_id()) {
            thread.swap(m_thread);
        }
    }
    m_buffer.interrupt();
    m_room.notifyAll();
    if (thread.joinable()) {
        m_clock.join(thread);
    }
}

Error LiveFeed::push(const std::uint8_t *pData, std::size_t size)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_failure != Error::None) {
            return m_failure;
        }
        if (!m_bOpen) {
            return Error::Order;
        }
    }
    return m_buffer.push(pData, size);
}

void LiveFeed::setOpen(bool open)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bOpen == open) {
            return;
        }
        m_bOpen = open;
        m_queue.clear();
        m_nQueuedBytes = 0;
    }
    if (!open) {
        m_bRestart = true;
        m_buffer.discard();
    }
    m_buffer.wake();
    m_room.notifyAll();
}

void LiveFeed::hold(bool held)
{
    m_bHeld = held;
    m_buffer.wake();
}

void LiveFeed::setCapacity(std::size_t pictures)
{
    {
        const std::lock_guard lock(m_mutex);
        m_nCapacity = pictures;
    }
    m_room.notifyAll();
}

Picture LiveFeed::take()
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
    m_room.notifyAll();
    return picture;
}

std::optional<std::int64_t> LiveFeed::nextTime() const
{
    const std::lock_guard lock(m_mutex);
    return m_queue.empty() ? std::nullopt : std::optional(m_queue.front().time);
}

std::optional<PictureShape> LiveFeed::shape() const
{
    const std::lock_guard lock(m_mutex);
    return m_shape;
}

Error LiveFeed::failure() const
{
    const std::lock_guard lock(m_mutex);
    return m_failure;
}

void LiveFeed::run()
{
    Error failure = Error::Resources;
    try {
        playStream();
        failure = Error::None;
    } catch (const OpenFailure &open) {
        failure = open.error;
    } catch (...) {
        // Thread entry: whatever else can be thrown means that memory is short.
    }
    if (failure == Error::None) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_failure = failure;
    }
    m_buffer.discard();
    m_sound.failed();
    m_changed();
}

void LiveFeed::playStream()
{
    if (!m_demuxer.open()) {
        return;
    }
    while (auto packet = read()) {
        if (m_bRestart.exchange(false)) {
            m_group.clear();
        }
        m_group.add(std::move(*packet));
        if (isToDecode()) {
            decodeGroup();
        } else if (m_group.isOverfull()) {
            giveUpGroup();
        }
    }
}

std::optional<LivePacket> LiveFeed::read()
{
    m_bReading = true;
    auto packet = m_demuxer.read();
    m_bReading = false;
    return packet;
}

void LiveFeed::onIdle()
{
    if (m_bRestart.exchange(false)) {
        m_group.clear();
    }
    // While the container is being begun anew there is nothing that tells what the pictures are.
    if (isToDecode() && m_demuxer.hasPictureStream()) {
        decodeGroup();
    }
}

void LiveFeed::opened(const AVFormatContext &format)
{
    m_sound.opened(format);
}

void LiveFeed::took(PacketPtr pPacket, const AVFormatContext &format)
{
    const AVStream &stream = *format.streams[pPacket->stream_index];
    if (!m_onDocument || !isAnalysisStream(stream)) {
        m_sound.took(std::move(pPacket), format);
        return;
    }
    const auto time = m_decoder.timeAt(pPacket->pts, stream.time_base);
    if (time && pPacket->size > 0) {
        const auto *pText = reinterpret_cast<const char *>(pPacket->data);
        m_onDocument(*time, {pText, static_cast<std::size_t>(pPacket->size)});
    }
}

bool LiveFeed::isToDecode() const
{
    return m_mode == StreamMode::File || !m_bHeld;
}

void LiveFeed::giveUpGroup()
{
    m_group.clear();
    m_decoder.waitForKey();
}

void LiveFeed::decodeGroup()
{
    while (!m_group.isEmpty() && !m_bRestart) {
        if (m_mode == StreamMode::RealTime) {
            keepUp();
        }
        if (!m_group.isEmpty()) {
            decode(m_group.take());
        }
    }
}

void LiveFeed::keepUp()
{
    const Moment now = m_clock.now();
    const auto late = now - m_group.whole();
    m_decoder.leaveOutUnneeded(late > kLate);
    if (late <= kVeryLate) {
        m_lateSince.reset();
        return;
    }
    m_lateSince = m_lateSince.value_or(now);
    if (!m_bReading) {
        collectWaiting();
    }
    if (m_group.isEmpty() || !m_lateSince) {
        // Reading waited for the rest of a picture, and all that was whole has been decoded meanwhile: see onIdle().
        return;
    }
    if (now - *m_lateSince > kCatchUpPatience && now - m_group.whole() > kVeryLate) {
        m_lateSince.reset();
        giveUpGroup();
    }
}

void LiveFeed::collectWaiting()
{
    // No further than what is there now: whoever pushes must not keep this busy for ever.
    const std::int64_t end = m_buffer.readPosition() + static_cast<std::int64_t>(m_buffer.available());
    while (m_buffer.readPosition() < end && !m_group.isOverfull()) {
        auto packet = read();
        if (!packet) {
            return;
        }
        m_group.add(std::move(*packet));
    }
}

void LiveFeed::decode(const LivePacket &packet)
{
    if (!m_demuxer.hasPictureStream()) {
        // The end came while the container was opened anew, with packets of the old one still in hand.
        return;
    }
    m_decoder.feed(packet, m_demuxer.pictureStream(), m_demuxer.isWithoutTimes());
    Picture next = m_decoder.take();
    while (next) {
        Picture picture = std::exchange(next, m_decoder.take());
        m_bMoreDecoded = static_cast<bool>(next);
        publish(std::move(picture));
    }
}

void LiveFeed::publish(Picture picture)
{
    {
        std::unique_lock lock(m_mutex);
        if (m_mode == StreamMode::RealTime) {
            m_queue.clear();
            m_nQueuedBytes = 0;
        } else {
            m_room.wait(lock, [this] {
                return m_bStop || !m_bOpen || m_queue.empty() ||
                       (m_queue.size() < m_nCapacity && m_nQueuedBytes < kMostQueuedBytes);
            });
        }
        m_shape = picture.shape;
        if (m_bStop || !m_bOpen) {
            return;
        }
        m_nQueuedBytes += picture.bytes();
        m_queue.push_back(std::move(picture));
    }
    m_changed();
}

} // namespace player
