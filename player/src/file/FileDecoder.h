#ifndef PLAYER_FILEDECODER_H
#define PLAYER_FILEDECODER_H

#include "player/src/core/Picture.h"
#include "player/src/file/FileIndex.h"
#include "player/src/file/FileReader.h"
#include "player/src/file/PictureDecoder.h"

#include <deque>
#include <functional>
#include <optional>

namespace player
{

/** What is known of a source once it is open. Units: microseconds; the recording time since 1970, UTC. */
struct FileFacts {
    PictureShape shape;
    /** Empty where neither the headers nor a bounded look at the end tell it. */
    std::optional<std::int64_t> length;
    /** Of the first picture. */
    std::optional<std::int64_t> recordingTime;
    std::int64_t pictureDuration = 0;
    /** The packet of the picture at position 0, and its stamp in ticks. */
    std::int64_t firstNumber = 0;
    std::int64_t firstTick = 0;
    /** What a picture lasts where nothing tells; and the bytes that a decoded one takes. */
    std::int64_t nominalDuration = 0;
    std::int64_t pictureBytes = 0;
    /** Its stamps may start over or leap. */
    bool mayLeap = false;
};

/**
 * The pictures of a source in the order in which they are shown, from any position on.
 *
 * Position 0 is the first picture that can be decoded, whatever the container calls it. Times rise from picture to
 * picture, even where the source's own are missing or go back.
 *
 * Threads: one thread at a time, but for interrupt().
 * Owns:    container and decoder, and at most two pictures.
 * Errors:  the constructor throws OpenFailure; afterwards damage costs pictures and nothing else.
 */
class FileDecoder
{
public:
    using Superseded = std::function<bool()>;

    /** Opens the source and decodes its first picture. */
    FileDecoder(Clock &clock, std::unique_ptr<ByteSource> pBytes,
                const std::function<DecoderThreads(int, int)> &threads = &DecoderThreads::forPictures);
    ~FileDecoder();
    FileDecoder(const FileDecoder &) = delete;
    FileDecoder &operator=(const FileDecoder &) = delete;

    [[nodiscard]] const FileFacts &facts() const
    {
        return m_facts;
    }

    /** From now on the source is read ahead, on a thread of its own. Throws std::system_error. */
    void startReading()
    {
        m_reader.start();
    }
    /** What reads it; its sinks may be attached and want more from any thread. */
    [[nodiscard]] FileReader &reader()
    {
        return m_reader;
    }

    /** What is known of every picture from now on, as far as it has grown. */
    void setIndex(std::shared_ptr<const FileIndex> pIndex)
    {
        m_decoder.setIndex(pIndex);
        m_pIndex = std::move(pIndex);
    }
    /** Those who wait for the index to grow look whether they were superseded. From any thread. */
    void wake() const
    {
        if (m_pIndex) {
            m_pIndex->wake();
        }
    }

    /** The next picture; empty at the end. */
    Picture next();
    /**
     * The picture on display at a time: the last one that does not begin after it. Reading goes on behind it. Empty
     * when superseded() answered true, or nothing can be decoded any more.
     */
    Picture seek(std::int64_t time, const Superseded &superseded);

    /**
     * A picture by its ordinal, which the index has to know, and as many in front of it as fit into so many bytes and
     * come without another seek. Reading goes on behind it. Empty like seek().
     */
    std::deque<Picture> collect(std::int64_t ordinal, std::int64_t bytes, const Superseded &superseded);

    /** Leaves out pictures on which no other depends. */
    void leaveOutUnneeded(bool leaveOut);
    /** A single thread is too slow for the clock, or is so no more. Seeks hurry by themselves. */
    void setHurried(bool hurried)
    {
        m_decoder.setHurried(hurried);
    }
    /** That decode at the moment. */
    [[nodiscard]] int threads() const
    {
        return m_decoder.threads();
    }
    /** Goes on at a key picture nearer to the time, if there is one; what lies between is never decoded. */
    void hurryTo(std::int64_t time);

    /** From any thread: reading ends at once. */
    void interrupt()
    {
        m_reader.interrupt();
    }

private:
    void learnFacts(std::optional<std::int64_t> endTick);
    [[nodiscard]] std::int64_t tickOf(std::int64_t time) const;
    [[nodiscard]] bool canReachForward(std::int64_t time) const;
    [[nodiscard]] bool canReachForward(const FileIndex::Key &key, std::int64_t ordinal) const;
    void awaitIndex(std::int64_t time, const Superseded &superseded) const;
    Picture seekWithoutIndex(std::int64_t time, const Superseded &superseded);
    /** Each picture on the way is handed out; the last one is the one that was wanted, or the nearest ahead of it. */
    using Visitor = std::function<void(const Picture &picture)>;
    bool goToPicture(std::int64_t ordinal, std::int64_t from, const Visitor &visit, const Superseded &superseded);
    bool decodeUpToOrdinal(std::int64_t ordinal, const Visitor &visit, const Superseded &superseded);
    bool goBefore(std::int64_t time, std::int64_t back);
    bool goToStart(std::int64_t time);
    void restart(bool atKey);
    Picture decodeUpTo(std::int64_t time, Picture best, const Superseded &superseded);

    Clock &m_clock;
    FileReader m_reader;
    PictureDecoder m_decoder;
    std::shared_ptr<const FileIndex> m_pIndex;
    FileFacts m_facts;

    /** Decoded ahead of the picture that was returned last. */
    Picture m_pending;
    Picture m_latest;
};

} // namespace player

#endif
