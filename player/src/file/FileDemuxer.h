#ifndef PLAYER_FILEDEMUXER_H
#define PLAYER_FILEDEMUXER_H

#include "player/src/core/ByteSource.h"
#include "player/src/core/Error.h"
#include "player/src/core/Ffmpeg.h"
#include "player/src/core/PacketSink.h"
#include "player/src/file/FileContainer.h"
#include "player/src/file/FileIndex.h"
#include "player/src/file/TimeLine.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace player
{

/**
 * The container: packets of its streams, positions in it, and what its headers tell.
 *
 * Threads: one thread at a time, but for interrupt() and for the streams' descriptions, which never change.
 * Owns:    the byte source and FFmpeg's reading context over it.
 * Units:   ticks of the picture stream; the recording time in microseconds since 1970, UTC.
 * Errors:  open() throws OpenFailure; afterwards a file that breaks off simply ends, and one that cannot be begun anew
 *          stays at its end until a later seek succeeds.
 */
class FileDemuxer
{
public:
    /** What read() came to. */
    enum class Found { Picture, Sound, Metadata, End };

    explicit FileDemuxer(std::unique_ptr<ByteSource> pBytes);
    ~FileDemuxer();
    FileDemuxer(const FileDemuxer &) = delete;
    FileDemuxer &operator=(const FileDemuxer &) = delete;

    /** Reads the headers. Of the streams only the pictures' is used at first. */
    void open();
    /** From any thread: nothing waits any longer, and reading has come to its end. */
    void interrupt();

    /** As the headers tell it: a copy that goes on when the container is opened anew. */
    [[nodiscard]] const AVStream &pictureStream() const
    {
        return *m_pTold->streams[0];
    }

    /** The same of the others; null where there is none. */
    [[nodiscard]] const AVStream *sideStream(SideStream kind) const;
    /** Whether packets of that stream are read or discarded; the latter at first. */
    void use(SideStream kind, bool used);

    /** The next packet of a stream in use. */
    Found read(AVPacket &packet);
    /** The next packet of the picture stream, others being thrown away; false at the end. */
    bool readPicture(AVPacket &packet);
    /** Goes to a place at or before the tick, as exactly as the container can; false where it cannot at all. */
    bool seek(std::int64_t tick);
    /** The same for a key picture that the index knows; what is read next may still lie ahead of it. */
    bool seek(const FileIndex::Key &key);
    /** What it takes to come back to a key picture that was just read; empty where that cannot be told. */
    [[nodiscard]] std::optional<FileIndex::Key> keyOf(const AVPacket &packet) const;
    /** Whether a packet is that of the key picture, or one that lies behind it. */
    enum class Match { Before, Here, Behind };
    [[nodiscard]] Match match(const AVPacket &packet, const FileIndex::Key &key) const;
    /** Back to the first packet of the pictures; of others, what lies ahead of it may be left out. */
    bool rewind();
    /** Back to the very first packet of all, which takes as long as opening did. */
    bool reopen();
    /** Raw streams: nothing but pictures after each other, whose times come from the frame rate. */
    [[nodiscard]] bool isWithoutTimes() const
    {
        return m_bWithoutTimes;
    }
    /** Some of its packets do not tell when they are shown, or none does. */
    [[nodiscard]] bool lacksStamps() const
    {
        return m_bLacksStamps;
    }
    /** A line for its stamps, the same for everybody who reads it. */
    [[nodiscard]] TimeLine timeLine() const;
    /** How long a picture lasts by the stream's rate, in ticks; at least one. */
    [[nodiscard]] std::int64_t nominalTicks() const;
    /** Its stamps tell in which order packets are decoded, and not when their pictures are shown. */
    [[nodiscard]] bool tellsOrderOfDecoding() const
    {
        return m_bTellsOrderOfDecoding;
    }
    /** Times may start over or leap, as where broadcasts are cut. */
    [[nodiscard]] bool mayLeap() const
    {
        return m_bMayLeap;
    }
    /** From the index that the container carries: is there a key picture after one tick and not after the other? */
    [[nodiscard]] std::optional<bool> keyBetween(std::int64_t after, std::int64_t upTo) const;

    /** The tick at which the last picture ends, if the container or a bounded look at its end tells. */
    [[nodiscard]] std::optional<std::int64_t> endTick();
    /** Of the whole file: of tick 0 where `isOfTickZero` says so, else of its first picture. */
    [[nodiscard]] std::optional<std::int64_t> recordingTime();
    [[nodiscard]] bool isRecordingTimeOfTickZero() const
    {
        return m_bTimeOfTickZero;
    }
    /** Of one picture, where its packet carries one; 0 where it does not. */
    [[nodiscard]] static std::int64_t recordingTimeOf(const AVPacket &packet);

private:
    void chooseStreams();
    void tellOf(const AVStream &stream);
    void discardUnused();
    [[nodiscard]] AVStream &stream() const;
    [[nodiscard]] bool isSame(const AVFormatContext &format) const;
    [[nodiscard]] std::optional<std::int64_t> headerEndTick() const;
    [[nodiscard]] std::optional<std::int64_t> lookAtTheEnd();

    FileContainer m_container;
    /** Where beginning anew failed, nothing can be read from what is left. */
    bool m_bBroken = false;

    /** Copies of the streams in use, the pictures' first; and where each stands in the container. */
    FormatPtr m_pTold;
    std::vector<int> m_places;
    bool m_bWithoutTimes = false;
    bool m_bTellsOrderOfDecoding = false;
    bool m_bLacksStamps = false;
    /** Key pictures are found again by their place in bytes. */
    bool m_bByBytes = false;
    /** Its own index grows with reading, and can be taught. */
    bool m_bLearns = false;
    bool m_bMayLeap = false;
    bool m_bGuessesDecoding = false;
    bool m_bTimeOfTickZero = false;

    /** A side stream's number in m_pTold, 0 for none, and whether it is used. */
    struct Side {
        std::size_t number = 0;
        bool used = false;
    };
    Side m_sound;
    Side m_metadata;
};

} // namespace player

#endif
