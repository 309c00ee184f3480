#ifndef PLAYER_FILEINDEXER_H
#define PLAYER_FILEINDEXER_H

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
 * Threads: start() and stop() from any; `done` is called on the thread, with no lock held, once the index is complete.
 *          stop() waits for the thread, except from inside `done`.
 * Owns:    its bytes and its thread. Shares the index. Borrows the platform, which outlives the thread.
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

    FileIndexer(Platform &platform, std::unique_ptr<ByteSource> pBytes, const Beginning &beginning,
                std::shared_ptr<FileIndex> pIndex, std::function<void()> done);
    ~FileIndexer();
    FileIndexer(const FileIndexer &) = delete;
    FileIndexer &operator=(const FileIndexer &) = delete;

    /** Throws std::system_error. */
    void start();
    void stop();

private:
    void run();
    void build();
    void read(DisplayOrder &order, const AVPacket &packet);
    void tell(const DisplayOrder::Entry &entry);
    void hand();
    [[nodiscard]] std::optional<std::int64_t> stampOf(const DisplayOrder::Entry &entry);

    Platform &m_platform;
    const Beginning m_beginning;
    const std::shared_ptr<FileIndex> m_pIndex;
    const std::function<void()> m_done;
    std::atomic<bool> m_bStop{false};

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

    std::mutex m_mutex;
    std::thread m_thread;
};

} // namespace player

#endif
