#include "player/src/file/FileIndexer.h"

#include "player/src/core/Codec.h"
#include "player/src/file/PictureTimes.h"

#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

/** Those who wait for the index to grow are told after so many packets. */
constexpr std::int64_t kTellInterval = 256;
/** A file that nobody has played or asked anything of by then gets its index all the same. */
constexpr std::chrono::milliseconds kMostDelay{500};

} // namespace

FileIndexer::FileIndexer(Platform &platform, std::unique_ptr<ByteSource> pBytes, const Beginning &beginning,
                         std::shared_ptr<FileIndex> pIndex, News news)
    : m_platform(platform),
      m_beginning(beginning),
      m_pIndex(std::move(pIndex)),
      m_news(std::move(news)),
      m_demuxer(std::move(pBytes)),
      m_changed(platform.clock())
{
}

FileIndexer::~FileIndexer() = default;

void FileIndexer::start()
{
    const std::lock_guard lock(m_mutex);
    addThread(&FileIndexer::run);
}

void FileIndexer::begin()
{
    if (m_bBegun.exchange(true)) {
        return;
    }
    {
        // Who has looked but does not wait yet must not miss the notice.
        const std::lock_guard lock(m_mutex);
    }
    m_changed.notifyAll();
}

void FileIndexer::newsWanted()
{
    const std::lock_guard lock(m_mutex);
    if (m_bComplete && !m_bTold && !m_bStop && m_news.areWanted()) {
        addThread(&FileIndexer::tellNews);
    }
}

void FileIndexer::addThread(void (FileIndexer::*pfnBody)())
{
    // A thread for which there is no place would end the process.
    m_threads.reserve(m_threads.size() + 1);
    m_threads.push_back(m_platform.clock().startThread([pSelf = shared_from_this(), pfnBody] { (*pSelf.*pfnBody)(); }));
}

void FileIndexer::stop()
{
    m_bStop = true;
    m_demuxer.interrupt();
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(m_mutex);
        threads.swap(m_threads);
    }
    m_changed.notifyAll();
    for (std::thread &thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            // From inside the callback, which is the last thing that the thread does.
            thread.detach();
        } else {
            m_platform.clock().join(thread);
        }
    }
}

void FileIndexer::awaitBegin()
{
    std::unique_lock lock(m_mutex);
    const Moment latest = m_platform.clock().now() + kMostDelay;
    while (!m_bBegun && !m_bStop && m_changed.waitUntil(lock, latest)) {
    }
}

void FileIndexer::run()
{
    awaitBegin();
    m_platform.yieldToOthers();
    try {
        if (!m_bStop) {
            build();
        }
    } catch (...) {
        // A file that cannot be opened a second time, or no memory left: it plays on without an index.
    }
    if (!m_pIndex->isComplete()) {
        m_pIndex->giveUp();
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_bComplete = true;
    }
    tellNews();
}

void FileIndexer::tellNews()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bTold || m_bStop || !m_news.areWanted()) {
            return;
        }
        m_bTold = true;
    }
    try {
        m_news.tell();
    } catch (...) {
        // Thread entry: what a host throws ends here.
    }
}

void FileIndexer::build()
{
    m_demuxer.open();
    m_timeLine.emplace(m_demuxer.timeLine());
    DisplayOrder order(m_demuxer.pictureStream(), m_demuxer.lacksStamps());
    const PacketPtr pPacket = makePacket();
    while (!m_bStop && m_demuxer.readPicture(*pPacket)) {
        read(order, *pPacket);
        av_packet_unref(pPacket.get());
        if (m_nNumber % kTellInterval == 0) {
            hand();
            m_pIndex->tellGrown();
        }
    }
    order.end();
    while (const auto entry = order.take()) {
        tell(*entry);
    }
    hand();
    if (!m_bStop) {
        m_pIndex->complete(m_nEnd, m_nLatestUtc);
    }
}

void FileIndexer::read(DisplayOrder &order, const AVPacket &packet)
{
    const std::int64_t shift = m_timeLine->place(packet);
    DisplayOrder::Entry entry;
    entry.number = m_nNumber++;
    entry.duration = packet.duration;
    entry.utc = FileDemuxer::recordingTimeOf(packet);
    entry.shown = (packet.flags & AV_PKT_FLAG_DISCARD) == 0;
    if (packet.pts != AV_NOPTS_VALUE && !m_demuxer.isWithoutTimes()) {
        entry.stamp = av_sat_add64(packet.pts, shift);
    }
    if (m_demuxer.tellsOrderOfDecoding() && packet.dts != AV_NOPTS_VALUE) {
        m_stamps.push_back(av_sat_add64(packet.dts, shift));
    }
    if ((packet.flags & AV_PKT_FLAG_KEY) != 0) {
        auto key = m_demuxer.keyOf(packet);
        if (key) {
            key->number = entry.number;
            key->shift = shift;
            entry.key = true;
            m_keys.emplace(entry.number, *key);
        }
    }
    order.add(entry, packet);
    while (const auto next = order.take()) {
        tell(*next);
    }
}

std::optional<std::int64_t> FileIndexer::stampOf(const DisplayOrder::Entry &entry)
{
    if (!m_demuxer.tellsOrderOfDecoding() || m_stamps.empty()) {
        return entry.stamp;
    }
    const std::int64_t stamp = m_stamps.front();
    m_stamps.pop_front();
    return stamp;
}

void FileIndexer::hand()
{
    m_pIndex->addPictures(m_batch);
    m_batch.clear();
}

void FileIndexer::tell(const DisplayOrder::Entry &entry)
{
    if (entry.key) {
        hand();
        const auto found = m_keys.find(entry.number);
        m_pIndex->addKey(found->second);
        m_keys.erase(found);
    }
    const auto stamp = stampOf(entry);
    // What is shown ahead of the first picture that can be decoded is not.
    if (!entry.shown || (!m_latestTime && entry.number != m_beginning.number)) {
        return;
    }
    const AVRational tick = m_demuxer.pictureStream().time_base;
    const auto fromFirst = stamp ? std::optional(microsecondsBetween(m_beginning.tick, *stamp, tick)) : std::nullopt;
    const std::int64_t time = nextPictureTime(m_latestTime, fromFirst, m_beginning.nominal);
    m_batch.push_back({entry.number, time});
    m_latestTime = time;
    m_nLatestUtc = entry.utc;
    const bool bTold = entry.duration > 0 && !m_demuxer.isWithoutTimes();
    m_nEnd = time + (bTold ? toldDuration(entry.duration, tick) : m_beginning.nominal);
}

} // namespace player
