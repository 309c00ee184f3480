#ifndef PLAYER_LIVEFEED_H
#define PLAYER_LIVEFEED_H

#include "player/src/live/LiveBuffer.h"
#include "player/src/live/LiveDecoder.h"
#include "player/src/live/LiveDemuxer.h"
#include "player/src/live/LiveSound.h"
#include "player/src/live/PacketGroup.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace player
{

/** How a stream is shown: as it comes, or by its own clock like a file. */
enum class StreamMode { RealTime, File };

/**
 * Decodes a pushed stream on a thread of its own, as it comes.
 *
 * In real time only the newest picture is kept. Where decoding falls behind the stream, pictures that no other needs
 * are left out, then everything before the newest key picture that has come; and where that does not help, everything
 * up to the next one. By the stream's clock the pictures queue up, and the buffer behind them fills.
 *
 * Threads: any. `changed` is called on the decoding thread with no lock held; it may show what has come, and stop or
 *          destroy the feed from there. push() never waits for decoding.
 * Owns:    the decoding thread, the source buffer, demuxer and decoder, and at most the queue of pictures.
 * Errors:  failure(), once the stream has turned out not to be playable; nothing more is taken then.
 */
class LiveFeed : private OtherStreams
{
public:
    /** A document that the stream has for its pictures, and its time, on which its first picture stands at 0. */
    using OnDocument = std::function<void(std::int64_t time, std::string_view document)>;

    /**
     * The sound goes to its track as it comes, and what the stream says about its pictures to `onDocument`, which is
     * called like `changed`.
     */
    LiveFeed(Clock &clock, std::vector<std::uint8_t> header, std::size_t bufferSize, StreamMode mode,
             std::function<void()> changed, std::shared_ptr<SoundTrack> pSound = nullptr,
             OnDocument onDocument = nullptr);
    ~LiveFeed() override;
    LiveFeed(const LiveFeed &) = delete;
    LiveFeed &operator=(const LiveFeed &) = delete;

    /** The thread keeps the owner alive, which owns this feed, until it has ended. */
    void start(std::shared_ptr<void> pOwner = nullptr);
    /**
     * Ends the thread; waits for the picture that is being decoded and for what `changed` does. From inside `changed`
     * it waits for nothing, and the thread ends when that has returned.
     */
    void stop();

    Error push(const std::uint8_t *pData, std::size_t size);
    /** While closed nothing is taken, and what waits is thrown away. */
    void setOpen(bool open);
    /** Real time: takes the stream in without decoding it, then goes on at the newest key picture. */
    void hold(bool held);
    void setCapacity(std::size_t pictures);

    /** The next picture to show, empty when none is ready. */
    Picture take();
    [[nodiscard]] std::optional<std::int64_t> nextTime() const;
    [[nodiscard]] std::optional<PictureShape> shape() const;
    [[nodiscard]] Error failure() const;
    /** Inside `changed`: nothing waits to be decoded. */
    [[nodiscard]] bool isIdle() const
    {
        return !m_bMoreDecoded && m_group.isEmpty() && m_buffer.available() == 0;
    }

private:
    // The decoding thread.
    void run();
    void playStream();
    std::optional<LivePacket> read();
    void onIdle();
    void opened(const AVFormatContext &format) override;
    void took(PacketPtr pPacket, const AVFormatContext &format) override;
    [[nodiscard]] bool isToDecode() const;
    void giveUpGroup();
    void decodeGroup();
    void keepUp();
    void collectWaiting();
    void decode(const LivePacket &packet);
    void publish(Picture picture);

    Clock &m_clock;
    const StreamMode m_mode;
    const std::function<void()> m_changed;
    const OnDocument m_onDocument;
    LiveBuffer m_buffer;
    std::thread m_thread;
    std::atomic<bool> m_bHeld{false};
    /** What was queued is stale: the port was stopped. */
    std::atomic<bool> m_bRestart{false};

    // Decoding thread only.
    LiveSound m_sound;
    LiveDemuxer m_demuxer;
    LiveDecoder m_decoder;
    PacketGroup m_group;
    std::optional<Moment> m_lateSince;
    /** The demuxer is at work further up the stack and must not be asked for more. */
    bool m_bReading = false;
    /** The picture that is being published came out of the decoder together with a later one. */
    bool m_bMoreDecoded = false;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    Condition m_room;
    std::deque<Picture> m_queue;
    std::int64_t m_nQueuedBytes = 0;
    std::size_t m_nCapacity = 6;
    std::optional<PictureShape> m_shape;
    Error m_failure = Error::None;
    bool m_bOpen = true;
    bool m_bStop = false;
};

} // namespace player

#endif
