#ifndef PLAYER_FILEDEMUXER_H
#define PLAYER_FILEDEMUXER_H

#include "player/src/core/ByteSource.h"
#include "player/src/core/Error.h"
#include "player/src/core/Ffmpeg.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace player
{

/**
 * The container: packets of the picture stream, positions in it, and what its headers tell.
 *
 * Threads: one thread at a time, but for interrupt().
 * Owns:    the byte source and FFmpeg's reading context over it, whose buffer has a fixed size.
 * Units:   ticks of the picture stream; the recording time in microseconds since 1970, UTC.
 * Errors:  open() throws OpenFailure; afterwards a file that breaks off simply ends.
 */
class FileDemuxer
{
public:
    explicit FileDemuxer(std::unique_ptr<ByteSource> pBytes);
    ~FileDemuxer();
    FileDemuxer(const FileDemuxer &) = delete;
    FileDemuxer &operator=(const FileDemuxer &) = delete;

    /** Reads the headers. */
    void open();
    /** From any thread: nothing waits any longer, and reading has come to its end. */
    void interrupt();

    [[nodiscard]] const AVStream &pictureStream() const
    {
        return *m_pStream;
    }

    /** The next packet of the picture stream; false at the end. */
    bool read(AVPacket &packet);
    /** Goes to a place at or before the tick, as exactly as the container can; false where it cannot at all. */
    bool seek(std::int64_t tick);
    /** Back to the very first packet. */
    bool rewind();
    /** Raw streams: nothing but pictures after each other, whose times come from the frame rate. */
    [[nodiscard]] bool isWithoutTimes() const;
    /** From the index that the container carries: is there a key picture after one tick and not after the other? */
    [[nodiscard]] std::optional<bool> keyBetween(std::int64_t after, std::int64_t upTo) const;

    /** The tick at which the last picture ends, if the container or a bounded look at its end tells. */
    [[nodiscard]] std::optional<std::int64_t> endTick();
    [[nodiscard]] std::optional<std::int64_t> recordingTime() const;

private:
    static int readBytes(void *pSelf, std::uint8_t *pBuffer, int size);
    static std::int64_t seekBytes(void *pSelf, std::int64_t offset, int whence);
    static int isInterrupted(void *pSelf);

    void openFormat();
    void choosePictureStream();
    void useOnlyPictureStream();
    [[nodiscard]] std::optional<std::int64_t> headerEndTick() const;
    [[nodiscard]] std::optional<std::int64_t> lookAtTheEnd();
    bool reopen();

    std::unique_ptr<ByteSource> m_pBytes;
    std::int64_t m_nBytePosition = 0;
    std::atomic<bool> m_bInterrupted{false};
    IoPtr m_pIo;
    FormatPtr m_pFormat;
    AVStream *m_pStream = nullptr;
};

} // namespace player

#endif
