#ifndef PLAYER_FILEDECODER_H
#define PLAYER_FILEDECODER_H

#include "player/src/core/Picture.h"
#include "player/src/file/FileDemuxer.h"

#include <functional>
#include <optional>

namespace player
{

/** What is known of a source once it is open. Units: microseconds; the recording time since 1970, UTC. */
struct FileFacts {
    PictureShape shape;
    /** Empty where neither the headers nor a bounded look at the end tell it. */
    std::optional<std::int64_t> length;
    std::optional<std::int64_t> recordingTime;
    std::int64_t pictureDuration = 0;
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
    explicit FileDecoder(std::unique_ptr<ByteSource> pBytes);
    ~FileDecoder();
    FileDecoder(const FileDecoder &) = delete;
    FileDecoder &operator=(const FileDecoder &) = delete;

    [[nodiscard]] const FileFacts &facts() const
    {
        return m_facts;
    }

    /** The next picture; empty at the end. */
    Picture next();
    /**
     * The picture on display at a time: the last one that does not begin after it. Reading goes on behind it. Empty
     * when superseded() answered true, or nothing can be decoded any more.
     */
    Picture seek(std::int64_t time, const Superseded &superseded);

    /** Leaves out pictures on which no other depends. */
    void leaveOutUnneeded(bool leaveOut);
    /** Goes on at a key picture nearer to the time, if there is one; what lies between is never decoded. */
    void hurryTo(std::int64_t time);

    /** From any thread: reading ends at once. */
    void interrupt()
    {
        m_demuxer.interrupt();
    }

private:
    void openDecoder();
    void decodeFirst();
    void learnFacts(std::optional<std::int64_t> endTick);
    Picture decode();
    bool feedDecoder();
    bool isToBeFed(const AVPacket &packet);
    Picture stamped(FramePtr pFrame);
    [[nodiscard]] std::int64_t durationOf(const AVFrame &frame) const;
    [[nodiscard]] std::int64_t nominalDuration() const;
    std::int64_t timeOf(const AVFrame &frame);
    [[nodiscard]] std::int64_t tickOf(std::int64_t time) const;
    [[nodiscard]] bool canReachForward(std::int64_t time) const;
    bool goBefore(std::int64_t time, std::int64_t back);
    bool goToStart();
    void restartDecoder(bool atKey);
    Picture decodeUpTo(std::int64_t time, Picture best, const Superseded &superseded);

    FileDemuxer m_demuxer;
    CodecPtr m_pCodec;
    PacketPtr m_pPacket;
    FileFacts m_facts;

    /** Decoded ahead of the picture that was returned last. */
    Picture m_pending;
    Picture m_latest;
    std::optional<std::int64_t> m_firstTick;
    std::optional<std::int64_t> m_latestTime;
    /** What has to be added to the source's times since they jumped back. */
    std::int64_t m_nShift = 0;
    bool m_bWaitForKey = false;
    /** After a seek nothing can be counted from: pictures without a time of their own are of no use. */
    bool m_bWaitForTime = false;
    bool m_bDrained = false;
    bool m_bAfterGap = false;
    /** Set by the first key packet after a seek: pictures shown before it may lack what they refer to. */
    std::optional<std::int64_t> m_keyTick;
    std::optional<std::int64_t> m_keyNotBefore;
    /** Longest distance of key pictures so far, in ticks, and the last one seen. */
    std::int64_t m_nKeyDistance = 0;
    std::optional<std::int64_t> m_latestKeyTick;
};

} // namespace player

#endif
