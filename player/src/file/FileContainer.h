#ifndef PLAYER_FILECONTAINER_H
#define PLAYER_FILECONTAINER_H

#include "player/src/core/ByteSource.h"
#include "player/src/core/Ffmpeg.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace player
{

/**
 * A file's bytes, and FFmpeg's reading context over them.
 *
 * Threads: one thread at a time, but for interrupt().
 * Owns:    the byte source and the reading context, whose buffer has a fixed size.
 * Errors:  open() throws OpenFailure, and leaves what was open before, from which nothing can be read any more.
 */
class FileContainer
{
public:
    explicit FileContainer(std::unique_ptr<ByteSource> pBytes);
    ~FileContainer();
    FileContainer(const FileContainer &) = delete;
    FileContainer &operator=(const FileContainer &) = delete;

    /** What open() came to; takes the place of what is open by use(). */
    struct Opened {
        IoPtr pIo;
        FormatPtr pFormat;
    };

    /** Reads the headers, from the file's first byte. */
    [[nodiscard]] Opened open();
    void use(Opened opened);
    /** From any thread: nothing waits any longer, and reading has come to its end. */
    void interrupt();

    [[nodiscard]] AVFormatContext &format() const
    {
        return *m_opened.pFormat;
    }
    [[nodiscard]] AVIOContext &io() const
    {
        return *m_opened.pIo;
    }
    /** When an exported file's time line begins; see exportStartTime(). */
    [[nodiscard]] std::optional<std::int64_t> startTime(std::uint32_t track);
    /** When its first fragment was taken; see firstReferenceTime(). */
    [[nodiscard]] std::optional<std::int64_t> referenceTime();
    /** Negative where the source has no size. */
    [[nodiscard]] std::int64_t size() const
    {
        return m_pBytes->size();
    }

private:
    static int readBytes(void *pSelf, std::uint8_t *pBuffer, int size);
    static std::int64_t seekBytes(void *pSelf, std::int64_t offset, int whence);
    static int isInterrupted(void *pSelf);

    std::unique_ptr<ByteSource> m_pBytes;
    std::int64_t m_nBytePosition = 0;
    std::atomic<bool> m_bInterrupted{false};
    /** The format goes first when they are given back. */
    Opened m_opened;
};

} // namespace player

#endif
