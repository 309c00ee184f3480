#ifndef PLAYER_FILEINDEXER_H
#define PLAYER_FILEINDEXER_H

#include "player/src/core/Condition.h"
#include "player/src/core/Platform.h"
#include "player/src/file/DisplayOrder.h"
#include "player/src/file/FileDemuxer.h"
#include "player/src/file/FileIndex.h"
#include "player/src/file/TimeLine.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace player
{

/**
 * Builds a file's index on a thread of its own, by reading the file once through, with its own eyes and behind
 * everybody else: nothing is decoded.
 *
 * Threads: any. The news are told once, on a thread of this class, with no lock held: when the index is complete, or as
 *          soon as somebody wants them who came later. stop() waits for the threads, except from inside the telling.
 * Owns:    its bytes and its threads. Shares the index. Borrows the platform, which outlives the threads.
 */
class FileIndexer : public std::enable_shared_from_this<FileIndexer>
{
public:
    /** What those who decode the file have agreed on. */
    struct Beginning {
        /** The packet of the picture at position 0, and its stamp. */
        std::int64_t number = 0;
        std::int64_t tick = 0;
        /** What a picture lasts where nothing tells; microseconds. */
        std::int64_t nominal = 40000;
    };

    /** That the index is complete. */
    struct News {
        std::function<bool()> areWanted;
        std::function<void()> tell;
    };

    /** The bytes are asked for nothing before the thread runs: their opening may take its time there. */
    FileIndexer(Platform &platform, std::unique_ptr<ByteSource> pBytes, const Beginning &beginning,
                std::shared_ptr<FileIndex> pIndex, News news);
    ~FileIndexer();
    FileIndexer(const FileIndexer &) = delete;
    FileIndexer &operator=(const FileIndexer &) = delete;

    /** The thread begins its work when begin() was called, or after half a second. Throws std::system_error. */
    void start();
    /** What was more urgent has been done. Cheap: may be called any number of times. */
    void begin();
    /** Somebody wants the news who may not have done so before. Throws std::system_error. */
    void newsWanted();
    void stop();

private:
    void awaitBegin();
    /** With m_mutex held. */
    void addThread(void (FileIndexer::*pfnBody)());
    void run();
    void tellNews();
    void build();
    void read(DisplayOrder &order, const AVPacket &packet);
    void tell(const DisplayOrder::Entry &entry);
    void hand();
    [[nodiscard]] std::optional<std::int64_t> stampOf(const DisplayOrder::Entry &entry);

    Platform &m_platform;
    const Beginning m_beginning;
    const std::shared_ptr<FileIndex> m_pIndex;
    const News m_news;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bBegun{false};

    // The thread.
    FileDemuxer m_demuxer;
    std::optional<TimeLine> m_timeLine;
    std::int64_t m_nNumber = 0;
    /** Told and not handed to the index yet. */
    std::vector<FileIndex::Shown> m_batch;
    /** Empty before the first picture. */
    std::optional<std::int64_t> m_latestTime;
    std::int64_t m_nEnd = 0;
    std::int64_t m_nLatestUtc = 0;
    /** Keys that have not been shown yet. */
    std::map<std::int64_t, FileIndex::Key> m_keys;
    /** Files that tell the order of decoding only: their stamps belong to the pictures in the order of showing. */
    std::deque<std::int64_t> m_stamps;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    Condition m_changed;
    std::vector<std::thread> m_threads;
    bool m_bComplete = false;
    bool m_bTold = false;
};

} // namespace player

#endif
