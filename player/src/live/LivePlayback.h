#ifndef PLAYER_LIVEPLAYBACK_H
#define PLAYER_LIVEPLAYBACK_H

#include "player/src/core/Playback.h"
#include "player/src/live/LiveFeed.h"
#include "player/src/metadata/AnalysisTrack.h"

namespace player
{

/**
 * One pushed stream: in real time the newest picture is on display; otherwise the one that is due by the stream's
 * times.
 *
 * Threads: any. push() never waits for decoding or presenting. In real time the decoding thread presents what it has
 *          decoded, where nothing waits to be decoded; see Playback::presentHere().
 * Owns:    the feed with its thread, which keeps this alive until it has ended: close() ends it.
 * Units:   microseconds from the first picture.
 */
class LivePlayback : public Playback
{
public:
    LivePlayback(Platform &platform, std::vector<std::uint8_t> header, std::size_t bufferSize, StreamMode mode,
                 std::shared_ptr<PortCallbacks> pCallbacks);
    ~LivePlayback() override;

    /** Begins to look at the stream. */
    void start();
    [[nodiscard]] const std::shared_ptr<SoundTrack> &sound() const
    {
        return m_pSound;
    }
    Error push(const std::uint8_t *pData, std::size_t size);

    void setCapacity(std::size_t pictures) override;
    [[nodiscard]] std::int64_t position() const override;
    Error onDisplay(Picture &picture) override;
    Error shape(PictureShape &shape) const override;
    Error timeOnDisplay(std::int64_t &time) override;

private:
    void begin(Moment now) override;
    void end(Moment now) override;
    void hold(Moment now) override;
    void adoptPictures(Moment now) override;
    bool reachedEnd(Moment now) override;
    [[nodiscard]] bool isPresentationDue(Moment now) const override;
    [[nodiscard]] Moment nextWake(Moment now) const override;
    [[nodiscard]] std::optional<PictureShape> shapeLocked() const override;
    void endFeed() override;

    /** On the decoding thread: there is a picture, or none can be had from the stream. */
    void feedChanged();
    /** On the decoding thread. */
    void documentCame(std::int64_t time, std::string_view document);
    void adopt(Picture picture, Moment now);
    /** The next picture is expected soon, and nothing says that it will not come. */
    [[nodiscard]] bool areComing(Moment now) const;
    /** By the stream's times: when a picture is to be shown; the clock is set anew where these make no sense. */
    Moment dueTime(std::int64_t time, Moment now);
    [[nodiscard]] Moment redrawAt() const;
    /** When what is on display is to be presented. */
    [[nodiscard]] Moment showAt() const;

    const StreamMode m_mode;
    const std::shared_ptr<SoundTrack> m_pSound;
    const std::shared_ptr<AnalysisTrack> m_pTrack;
    LiveFeed m_feed;

    // Guarded by m_mutex.
    Moment m_adopted;
    /** Between the last two pictures. */
    Moment::duration m_interval{};
    /** Behind the newest picture there was more to be decoded. */
    bool m_bBehind = false;
    /** By the stream's times: the moment at which its time was nought, and the last picture's time. */
    std::optional<Moment> m_zero;
    std::int64_t m_nLatestTime = 0;
    std::optional<Moment> m_nextDue;
};

} // namespace player

#endif
