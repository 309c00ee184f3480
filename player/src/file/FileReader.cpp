#include "player/src/file/FileReader.h"

#include "player/src/core/Codec.h"
#include "player/src/file/PictureTimes.h"

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

/** The queue of pictures is full with so much of either … */
constexpr std::int64_t kEnoughBytes = 8 * 1024 * 1024;
constexpr std::int64_t kEnoughSeconds = 1;
/** … and takes so many times as much where a sink would have too little otherwise. */
constexpr std::int64_t kStretch = 4;

std::int64_t stampOf(const AVPacket &packet)
{
    return packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
}

} // namespace

FileReader::FileReader(Clock &clock, std::unique_ptr<ByteSource> pBytes)
    : m_clock(clock), m_demuxer(std::move(pBytes)), m_wake(clock), m_done(clock)
{
}

FileReader::~FileReader()
{
    stop();
}

void FileReader::open()
{
    m_demuxer.open();
    // Before anything is read: the look at the end opens the container anew.
    m_endTick = m_demuxer.endTick();
    m_recordingTime = m_demuxer.recordingTime();
    m_nNominal = m_demuxer.nominalTicks();
    m_timeLine.emplace(m_demuxer.timeLine());
    m_nextNumber = 0;
    m_sound.feed.open(m_demuxer.sideStream(SideStream::Sound));
    m_demuxer.use(SideStream::Sound, has(SideStream::Sound));
}

void FileReader::setFirstTick(std::int64_t tick)
{
    const std::int64_t earlier = microsecondsBetween(m_nFirstTick, tick, pictureStream().time_base);
    m_nFirstTick = tick;
    m_nLatestTime -= earlier;
    m_sound.feed.moveKept(earlier);
}

void FileReader::start()
{
    const std::lock_guard lock(m_mutex);
    if (!m_bRunning && !m_bStop) {
        m_sound.changed = true;
        m_thread = m_clock.startThread([this] { run(); });
        m_bRunning = true;
    }
}

void FileReader::stop()
{
    interrupt();
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_wake.notifyAll();
    if (m_thread.joinable()) {
        m_clock.join(m_thread);
    }
    {
        const std::lock_guard lock(m_mutex);
        m_bRunning = false;
    }
    m_done.notifyAll();
}

void FileReader::interrupt()
{
    m_demuxer.interrupt();
}

void FileReader::attach(std::shared_ptr<PacketSink> pSink)
{
    std::unique_lock lock(m_mutex);
    m_sound.pWanted = std::move(pSink);
    if (!m_bRunning) {
        return;
    }
    m_sound.changed = true;
    m_wake.notifyAll();
    m_done.wait(lock, [&] { return !m_sound.changed || !m_bRunning; });
}

void FileReader::moreWanted()
{
    const std::lock_guard lock(m_mutex);
    if (m_bReaderWaits && hasWork()) {
        m_wake.notifyAll();
    }
}

bool FileReader::read(CodedPicture &picture)
{
    std::unique_lock lock(m_mutex);
    while (m_queue.empty() && !m_bEnd) {
        if (m_bRunning) {
            m_bDecoderWaits = true;
            m_done.wait(lock, [this] { return !m_queue.empty() || m_bEnd; });
            m_bDecoderWaits = false;
        } else {
            readOne(lock);
        }
    }
    if (m_queue.empty()) {
        return false;
    }
    picture = std::move(m_queue.front());
    m_queue.pop_front();
    m_nQueuedBytes -= picture.pPacket->size;
    if (m_bReaderWaits && hasWork()) {
        m_wake.notifyAll();
    }
    return true;
}

bool FileReader::seek(std::int64_t tick, std::int64_t time)
{
    return goTo([this, tick] { return m_demuxer.seek(tick); }, std::nullopt, time);
}

bool FileReader::rewind(std::int64_t time)
{
    return goTo([this] { return m_demuxer.rewind(); }, 0, time);
}

bool FileReader::goTo(const std::function<bool()> &go, std::optional<std::int64_t> number, std::int64_t time)
{
    bool bThere = false;
    onReader([&] {
        bThere = go();
        startOver(0, number, time);
        const std::lock_guard lock(m_mutex);
        m_bEnd = !bThere;
    });
    return bThere;
}

bool FileReader::seek(const FileIndex::Key &key, std::int64_t time, const std::function<bool()> &superseded)
{
    bool bThere = false;
    onReader([&] {
        if (m_demuxer.seek(key)) {
            startOver(key.shift, std::nullopt, time);
            bThere = findKey(key, superseded);
        }
        if (!bThere && !superseded() && m_demuxer.rewind()) {
            startOver(0, 0, time);
            bThere = findNumber(key.number, superseded);
        }
        const std::lock_guard lock(m_mutex);
        m_bEnd = !bThere;
    });
    return bThere;
}

void FileReader::startOver(std::int64_t shift, std::optional<std::int64_t> number, std::int64_t time)
{
    m_timeLine->restart(shift);
    m_nextNumber = number;
    ++m_nGeneration;
    m_sound.feed.flush(m_nGeneration, time);
    const std::lock_guard lock(m_mutex);
    m_queue.clear();
    m_nQueuedBytes = 0;
    m_bFilling = true;
}

bool FileReader::findKey(const FileIndex::Key &key, const std::function<bool()> &superseded)
{
    while (!superseded()) {
        CodedPicture picture = nextPicture();
        const auto match = picture.pPacket ? m_demuxer.match(*picture.pPacket, key) : FileDemuxer::Match::Behind;
        if (match == FileDemuxer::Match::Behind) {
            return false;
        }
        if (match == FileDemuxer::Match::Here) {
            m_timeLine->restart(key.shift);
            m_nextNumber = key.number;
            putFirst(counted(std::move(picture.pPacket)));
            return true;
        }
    }
    return false;
}

bool FileReader::findNumber(std::int64_t number, const std::function<bool()> &superseded)
{
    while (!superseded()) {
        CodedPicture picture = nextPicture();
        if (!picture.pPacket) {
            return false;
        }
        if (picture.number == number) {
            putFirst(std::move(picture));
            return true;
        }
    }
    return false;
}

CodedPicture FileReader::nextPicture()
{
    CodedPicture picture;
    while (!picture.pPacket && readPacket(picture)) {
    }
    return picture;
}

bool FileReader::readPacket(CodedPicture &picture)
{
    PacketPtr pPacket = makePacket();
    switch (m_demuxer.read(*pPacket)) {
    case FileDemuxer::Found::Picture:
        picture = counted(std::move(pPacket));
        return true;
    case FileDemuxer::Found::Sound:
        deliver(std::move(pPacket));
        return true;
    default:
        return false;
    }
}

void FileReader::putFirst(CodedPicture picture)
{
    const std::lock_guard lock(m_mutex);
    putLast(std::move(picture));
}

std::optional<bool> FileReader::keyBetween(std::int64_t after, std::int64_t upTo)
{
    std::optional<bool> result;
    onReader([&] { result = m_demuxer.keyBetween(after, upTo); });
    return result;
}

void FileReader::onReader(const std::function<void()> &task)
{
    std::unique_lock lock(m_mutex);
    if (!m_bRunning) {
        lock.unlock();
        task();
        return;
    }
    m_pTask = &task;
    m_wake.notifyAll();
    m_done.wait(lock, [this] { return m_pTask == nullptr; });
}

void FileReader::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_bStop) {
        try {
            workOnce(lock);
        } catch (...) {
            // Memory is all that can be lacking, and nothing may leave a thread: the file ends here.
            if (!lock.owns_lock()) {
                lock.lock();
            }
            m_bEnd = true;
            m_pTask = nullptr;
            m_done.notifyAll();
        }
    }
}

void FileReader::workOnce(std::unique_lock<std::mutex> &lock)
{
    if (m_pTask != nullptr) {
        lock.unlock();
        (*m_pTask)();
        lock.lock();
        m_pTask = nullptr;
        m_done.notifyAll();
    } else if (m_sound.changed) {
        exchangeSink(lock);
    } else if (isToRead()) {
        readOne(lock);
    } else {
        m_bReaderWaits = true;
        m_wake.wait(lock, [this] { return m_bStop || hasWork(); });
        m_bReaderWaits = false;
    }
}

bool FileReader::hasWork()
{
    return m_pTask != nullptr || m_sound.changed || isToRead();
}

bool FileReader::isToRead()
{
    if (m_bEnd) {
        return false;
    }
    const std::int64_t second = av_rescale_q(kEnoughSeconds, {1, 1}, pictureStream().time_base);
    const std::int64_t ticks = queuedTicks();
    const bool bSeveral = m_queue.size() > 1;
    if (bSeveral && (ticks >= second || m_nQueuedBytes >= kEnoughBytes)) {
        m_bFilling = false;
    } else if (!bSeveral || (ticks < second / 2 && m_nQueuedBytes < kEnoughBytes / 2)) {
        m_bFilling = true;
    }
    const bool bStretches = ticks < kStretch * second && m_nQueuedBytes < kStretch * kEnoughBytes;
    return m_bFilling || (bStretches && m_sound.feed.isShort());
}

std::int64_t FileReader::queuedTicks() const
{
    if (m_queue.empty()) {
        return 0;
    }
    const CodedPicture &first = m_queue.front();
    const CodedPicture &last = m_queue.back();
    const std::int64_t begin = stampOf(*first.pPacket);
    const std::int64_t end = stampOf(*last.pPacket);
    if (isWithoutTimes() || begin == AV_NOPTS_VALUE || end == AV_NOPTS_VALUE) {
        return static_cast<std::int64_t>(m_queue.size()) * m_nNominal;
    }
    return av_sat_sub64(av_sat_add64(end, last.shift), av_sat_add64(begin, first.shift));
}

void FileReader::readOne(std::unique_lock<std::mutex> &lock)
{
    lock.unlock();
    CodedPicture picture;
    const bool bMore = readPacket(picture);
    if (!bMore) {
        m_sound.feed.end();
    }
    lock.lock();
    if (picture.pPacket) {
        putLast(std::move(picture));
    }
    m_bEnd = !bMore;
    if (m_bDecoderWaits && (!m_queue.empty() || m_bEnd)) {
        m_done.notifyAll();
    }
}

CodedPicture FileReader::counted(PacketPtr pPacket)
{
    CodedPicture picture;
    picture.shift = m_timeLine->place(*pPacket);
    picture.number = m_nextNumber;
    picture.utc = FileDemuxer::recordingTimeOf(*pPacket);
    if (m_nextNumber) {
        ++*m_nextNumber;
    }
    const std::int64_t stamp = stampOf(*pPacket);
    if (stamp != AV_NOPTS_VALUE) {
        m_nLatestTime =
            microsecondsBetween(m_nFirstTick, av_sat_add64(stamp, picture.shift), pictureStream().time_base);
    }
    picture.pPacket = std::move(pPacket);
    return picture;
}

std::int64_t FileReader::timeOf(const AVPacket &packet, AVRational tick) const
{
    const std::int64_t stamp = stampOfPacket(packet);
    if (stamp == AV_NOPTS_VALUE) {
        return m_nLatestTime;
    }
    const AVRational pictureTick = pictureStream().time_base;
    const auto placed = [&](std::int64_t shift) {
        const std::int64_t first = microsecondsBetween(shift, m_nFirstTick, pictureTick);
        return microsecondsBetween(0, stamp, tick) - first;
    };
    const std::int64_t now = placed(m_timeLine->shift());
    const std::int64_t before = placed(m_timeLine->formerShift());
    // Where the file was put together, the streams do not change over at the same packet.
    return std::abs(now - m_nLatestTime) <= std::abs(before - m_nLatestTime) ? now : before;
}

void FileReader::deliver(PacketPtr pPacket)
{
    SideFeed &feed = m_sound.feed;
    SidePacket packet;
    packet.time = timeOf(*pPacket, feed.stream()->time_base);
    packet.duration = microsecondsBetween(0, std::max<std::int64_t>(pPacket->duration, 0), feed.stream()->time_base);
    packet.generation = m_nGeneration;
    packet.pPacket = std::move(pPacket);
    feed.take(std::move(packet));
}

void FileReader::exchangeSink(std::unique_lock<std::mutex> &lock)
{
    const auto pSink = m_sound.pWanted;
    lock.unlock();
    const bool bUsed = m_sound.feed.exchange(pSink, m_nGeneration, std::max<std::int64_t>(m_nLatestTime, 0));
    m_demuxer.use(SideStream::Sound, bUsed);
    lock.lock();
    m_sound.changed = m_sound.pWanted != pSink;
    m_done.notifyAll();
}

} // namespace player
