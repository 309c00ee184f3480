#ifndef PLAYER_FILEPLAYBACK_H
#define PLAYER_FILEPLAYBACK_H

#include "player/src/core/LeadingClock.h"
#include "player/src/core/Playback.h"
#include "player/src/file/FileClock.h"
#include "player/src/file/FileFeed.h"
#include "player/src/file/FileIndexer.h"

namespace player
{

/**
 * One open file: where its clock stands, and the pictures that fall due by it.
 *
 * Threads: any. The decoding thread (FileFeed) never calls the host.
 * Owns:    the feed with its thread.
 * Units:   microseconds from the first picture.
 */
class FilePlayback : public Playback, private FeedClient
{
public:
    FilePlayback(Platform &platform, std::unique_ptr<FileDecoder> pDecoder, std::shared_ptr<PortCallbacks> pCallbacks);
    ~FilePlayback() override;

    [[nodiscard]] const FileFacts &facts() const
    {
        return m_facts;
    }

    /**
     * Builds the index in the background, from bytes of its own. It begins when the first picture has been shown, or
     * something else was asked for that needs it, or half a second has passed. The file-ref callback is called once for
     * it: when it is complete, or when one is set that comes later. Before anything else is.
     */
    void buildIndex(std::unique_ptr<ByteSource> pBytes);
    [[nodiscard]] std::shared_ptr<const FileIndex> index() const
    {
        return m_pIndex;
    }
    /** The file-ref callback is another one now. */
    void indexCallbackChanged()
    {
        m_pIndexer->newsWanted();
    }
    /** How long the file plays; empty while that is not known. */
    [[nodiscard]] std::optional<std::int64_t> length() const;
    /** When its last picture begins; empty while that is not known. */
    [[nodiscard]] std::optional<std::int64_t> lastTime() const;
    /** When its first and its last picture were taken, microseconds since 1970, UTC. */
    Error recordingTimes(std::int64_t &first, std::int64_t &last) const;

    /**
     * The sink takes the file's sound from now on; null: nobody does. Attached before the first play or seek, it gets
     * it from the file's beginning. Returns when the sink before is called no more; waits for a read
     * that is under way. Not from inside a sink.
     */
    void attach(std::shared_ptr<PacketSink> pSink)
    {
        m_feed.reader().attach(std::move(pSink));
    }
    [[nodiscard]] bool has(SideStream kind) const
    {
        return m_feed.reader().has(kind);
    }
    /** The sink has come to want more. Called with no lock of the sink's held. */
    void moreWanted()
    {
        m_feed.reader().moreWanted();
    }
    /** What the file's clock follows while it tells a position and the speed is 1; null: the computer's time. */
    void setLeader(std::shared_ptr<LeadingClock> pLeader);

    void setCapacity(std::size_t pictures) override
    {
        m_feed.setCapacity(pictures);
    }
    /** +1 doubles the speed, -1 halves it. */
    Error changeSpeed(int steps);
    Error stepForward();
    /** Error::NoIndex until the index is complete. */
    Error stepBack();
    Error seek(std::int64_t time);
    [[nodiscard]] std::int64_t position() const override;
    /** A seek that runs is waited for, for half a second. */
    Error onDisplay(Picture &picture) override;
    Error shape(PictureShape &shape) const override;
    Error timeOnDisplay(std::int64_t &time) override;

private:
    Pace pace() override;
    void feedChanged() override
    {
        tellChanged();
    }

    void begin(Moment now) override;
    void end(Moment now) override;
    void hold(Moment now) override;
    void adoptPictures(Moment now) override;
    bool reachedEnd(Moment now) override;
    [[nodiscard]] bool isPresentationDue(Moment now) const override;
    [[nodiscard]] Moment nextWake(Moment now) const override;
    [[nodiscard]] std::optional<PictureShape> shapeLocked() const override;
    void endFeed() override;

    [[nodiscard]] std::int64_t endPosition() const;
    void seekLocked(std::int64_t time, Moment now);
    void updateClock(Moment now);
    void followLeader(Moment now);
    void tellLeader();
    Error stepLocked(std::unique_lock<std::mutex> &lock);
    Error stepBackLocked(std::unique_lock<std::mutex> &lock);
    bool waitForPictures(std::unique_lock<std::mutex> &lock, Moment deadline);
    void letIndexBegin() const
    {
        m_pIndexer->begin();
    }
    void stopIndexer();

    const FileFacts m_facts;
    // Set before anybody else knows this object.
    std::shared_ptr<FileIndex> m_pIndex;
    std::shared_ptr<FileIndexer> m_pIndexer;
    FileFeed m_feed;

    // Guarded by m_mutex.
    bool m_bEnded = false;
    /** Playing begins at the start again. */
    bool m_bRewind = false;
    /** A seek was asked for whose picture is not there yet; the clock waits for it. */
    bool m_bAwaitSeek = false;
    FileClock m_fileClock;
    std::shared_ptr<LeadingClock> m_pLeader;
};

} // namespace player

#endif
