#ifndef PLAYER_FILEPLAYBACK_H
#define PLAYER_FILEPLAYBACK_H

#include "player/src/core/Playback.h"
#include "player/src/file/FileClock.h"
#include "player/src/file/FileFeed.h"

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

    void setCapacity(std::size_t pictures) override;
    /** +1 doubles the speed, -1 halves it. */
    Error changeSpeed(int steps);
    Error stepForward();
    Error seek(std::int64_t time);
    [[nodiscard]] std::int64_t position() const override;
    /** A seek that runs is waited for, within reason. */
    Error onDisplay(Picture &picture) override;
    Error shape(PictureShape &shape) const override;
    Error timeOnDisplay(std::int64_t &time) override;

private:
    Pace pace() override;
    void feedChanged() override;

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
    Error stepLocked(std::unique_lock<std::mutex> &lock);
    bool waitForPictures(std::unique_lock<std::mutex> &lock, Moment deadline);

    const FileFacts m_facts;
    FileFeed m_feed;

    // Guarded by m_mutex.
    bool m_bEnded = false;
    /** Playing begins at the start again. */
    bool m_bRewind = false;
    /** A seek was asked for whose picture is not there yet; the clock waits for it. */
    bool m_bAwaitSeek = false;
    FileClock m_fileClock;
};

} // namespace player

#endif
