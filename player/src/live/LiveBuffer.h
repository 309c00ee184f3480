#ifndef PLAYER_LIVEBUFFER_H
#define PLAYER_LIVEBUFFER_H

#include "player/src/core/Condition.h"
#include "player/src/core/Error.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace player
{

/**
 * The bytes of a pushed stream between the thread that pushes and the one that reads, within a bound.
 *
 * Records are taken whole or not at all. The buffer knows when each byte came, and where bytes are missing because a
 * record was refused and not pushed again.
 *
 * Threads: push() any; it never waits but for the moment of a copy. The reading operations one thread.
 * Owns:    a ring that grows to what was needed so far, never beyond the capacity.
 * Units:   bytes; positions count from the first byte pushed. Times of day in microseconds since 1970, UTC.
 * Errors:  as returned; growing throws std::bad_alloc and takes nothing.
 */
class LiveBuffer
{
public:
    struct Arrival {
        Moment moment;
        std::int64_t utc = 0;
    };

    LiveBuffer(Clock &clock, std::size_t capacity) : m_clock(clock), m_nCapacity(capacity), m_changed(clock) {}

    // Any thread.
    Error push(const std::uint8_t *pData, std::size_t size);
    /** Throws away what waits to be read; what is pushed next does not continue it. */
    void discard();
    /** A read that waits returns Woken, or the next one does. */
    void wake();
    /** A read that waits returns, and no later one waits. */
    void interrupt();

    [[nodiscard]] bool isInterrupted() const;

    // The reading thread.
    enum class Outcome { Bytes, Woken, Interrupted };
    struct Result {
        Outcome outcome;
        std::size_t count = 0;
    };
    /** Waits for bytes. Never reads across a place where bytes are missing. */
    Result read(std::uint8_t *pBuffer, std::size_t size);
    /** The bytes from the reading position on, without taking them, once more than `known` of them are there. */
    Outcome peek(std::size_t known, std::size_t most, std::vector<std::uint8_t> &bytes);
    [[nodiscard]] std::size_t capacity() const
    {
        return m_nCapacity;
    }
    [[nodiscard]] std::size_t available() const;
    [[nodiscard]] std::int64_t readPosition() const;
    /** When the byte at a position came; for one that was read long ago the oldest time that is still known. */
    [[nodiscard]] Arrival arrivalOf(std::int64_t position) const;
    /** The last place at or before which bytes are missing in what was read up to now; negative when there is none. */
    [[nodiscard]] std::int64_t latestGap() const;

private:
    /** Bytes from a position on that came at the same time. */
    struct Mark {
        std::int64_t begin = 0;
        Arrival arrival;
        bool afterGap = false;
    };

    [[nodiscard]] bool isRetryOfRefused(const std::uint8_t *pData, std::size_t size) const;
    void reserve(std::size_t size);
    void mark(bool afterGap);
    void forgetOldMarks();
    [[nodiscard]] std::size_t readable() const;
    void copyOut(std::uint8_t *pBuffer, std::size_t count) const;

    Clock &m_clock;
    const std::size_t m_nCapacity;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    Condition m_changed;
    std::vector<std::uint8_t> m_ring;
    std::size_t m_nFirst = 0;
    std::size_t m_nCount = 0;
    std::int64_t m_nReadPosition = 0;
    std::deque<Mark> m_marks;
    std::int64_t m_nLatestGap = -1;
    /** The record refused last, if nothing was taken since, by its size and a sum over its bytes. */
    std::size_t m_nRefusedSize = 0;
    std::uint64_t m_nRefusedSum = 0;
    bool m_bDiscarded = false;
    bool m_bWake = false;
    bool m_bInterrupted = false;
};

} // namespace player

#endif
