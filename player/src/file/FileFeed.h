#ifndef PLAYER_FILEFEED_H
#define PLAYER_FILEFEED_H

#include "player/src/core/Condition.h"
#include "player/src/file/FileDecoder.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace player
{

/** What the decoding thread asks of and tells to the one that shows its pictures. Called without any of its locks. */
class FeedClient
{
public:
    /** The clock, as far as decoding has to keep up with it. Units: microseconds of the source. */
    struct Pace {
        bool running = false;
        std::int64_t position = 0;
        /** Source time that passes in a second on the wall. */
        std::int64_t perSecond = 1000000;
        /** More pictures fall due than anybody sees: those on which no other depends are not wanted. */
        bool coarse = false;
    };

    FeedClient() = default;
    virtual ~FeedClient() = default;
    FeedClient(const FeedClient &) = delete;
    FeedClient &operator=(const FeedClient &) = delete;

    [[nodiscard]] virtual Pace pace() = 0;
    /** A picture, the answer to a seek, or the end has arrived. */
    virtual void feedChanged() = 0;
};

/**
 * Decodes ahead on a thread of its own, into a short queue, which is refilled from half full to full in one go.
 *
 * Threads: any; the reader is used by the decoding thread alone once start() was called.
 * Owns:    the reader and the decoding thread. Borrows the client, which must outlive stop().
 * Units:   microseconds of the source.
 */
class FileFeed
{
public:
    FileFeed(Clock &clock, std::unique_ptr<FileDecoder> pDecoder, FeedClient &client);
    ~FileFeed();
    FileFeed(const FileFeed &) = delete;
    FileFeed &operator=(const FileFeed &) = delete;

    /** Throws std::system_error. */
    void start();
    /** Ends the thread; waits for the picture that is being decoded and for nothing else. */
    void stop();

    /** What reads the file; see FileDecoder::reader(). */
    [[nodiscard]] FileReader &reader() const
    {
        return m_pDecoder->reader();
    }
    /** Before start(). */
    void setIndex(std::shared_ptr<const FileIndex> pIndex);
    void setCapacity(std::size_t pictures);
    /** Throws away what is queued and goes to the picture on display at that time. */
    void seek(std::int64_t time);
    /** The same for the picture of an ordinal, with as many in front of it as may be kept for further steps back. */
    void seekBack(std::int64_t ordinal);
    [[nodiscard]] bool isSeeking() const;
    /** The picture that the latest seek came to, once. */
    Picture takeSought();

    [[nodiscard]] std::optional<std::int64_t> nextTime() const;
    [[nodiscard]] bool nextIsAfterGap() const;
    /** The next picture, empty when none is ready. */
    Picture take();
    /** For steps: the picture of an ordinal out of those that are kept; the one on display comes next again. */
    Picture takeBefore(std::int64_t ordinal, Picture onDisplay);
    /** For steps: the picture on display is kept behind the one that follows it. */
    void keepBehind(Picture onDisplay);
    /** The latest picture that does not begin after that time; those before it are skipped. */
    Picture takeDue(std::int64_t time);
    /** Everything up to the end of the source has been taken. */
    [[nodiscard]] bool isDrained() const;
    /** Where the last picture ends, once the end has been reached. */
    [[nodiscard]] std::optional<std::int64_t> endTime() const;

private:
    void run();
    void workOnce(std::unique_lock<std::mutex> &lock);
    void giveUp(std::unique_lock<std::mutex> &lock);
    void doSeek(std::unique_lock<std::mutex> &lock);
    void begin(const std::function<void()> &command);
    [[nodiscard]] bool hasCommand() const
    {
        return m_bStop || m_seekTarget || m_backTarget;
    }
    void decodeOne(std::unique_lock<std::mutex> &lock);
    void keepUp(const Picture &picture, const FeedClient::Pace &pace);
    void dropOverdue(const FeedClient::Pace &pace);
    [[nodiscard]] bool isToDecode();

    Clock &m_clock;
    FeedClient &m_client;
    std::thread m_thread;
    std::atomic<bool> m_bSuperseded{false};

    // Decoding thread only.
    std::unique_ptr<FileDecoder> m_pDecoder;
    /** A single thread was too slow once, not at the highest speeds. */
    bool m_bIsSlow = false;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    Condition m_wake;
    std::deque<Picture> m_queue;
    std::int64_t m_nQueuedBytes = 0;
    std::size_t m_nCapacity = 6;
    bool m_bFilling = true;
    bool m_bWaits = false;
    /** One of the two at most: a time, or an ordinal. */
    std::optional<std::int64_t> m_seekTarget;
    std::optional<std::int64_t> m_backTarget;
    /** While steps are made: the pictures in front of the one on display, without a gap between them. */
    std::deque<Picture> m_behind;
    std::int64_t m_nBehindBytes = 0;
    bool m_bSeekRunning = false;
    Picture m_sought;
    /** Where the picture decoded last ends, and that of the source once it is known. */
    std::int64_t m_nDecodedUpTo = 0;
    std::optional<std::int64_t> m_end;
    bool m_bAtEnd = false;
    bool m_bStop = false;
};

} // namespace player

#endif
