#ifndef PLAYER_BYTESOURCE_H
#define PLAYER_BYTESOURCE_H

#include <cstdint>

namespace player
{

/**
 * The bytes of a source that is read at its own pace, such as a file.
 *
 * Threads: one thread at a time, but for interrupt().
 * Errors:  negative numbers; never throws.
 */
class ByteSource
{
public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource &) = delete;
    ByteSource &operator=(const ByteSource &) = delete;

    /** Bytes read, 0 at the end, negative on failure. */
    virtual int read(std::uint8_t *pBuffer, int size) = 0;
    /** Goes to a byte position; false where that cannot be done. */
    virtual bool seek(std::int64_t position) = 0;
    /** Negative for a source that has no size, which then cannot seek either. */
    [[nodiscard]] virtual std::int64_t size() const = 0;
    /** From any thread: a read that waits returns, and no later one waits. */
    virtual void interrupt() {}
};

} // namespace player

#endif
