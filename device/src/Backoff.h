#ifndef DEVICE_BACKOFF_H
#define DEVICE_BACKOFF_H

#include "device/src/Patience.h"

#include <random>

namespace selvik
{

/**
 * How long to wait before the next attempt to reconnect: 1, 2, 4, then always 8 seconds, each up to a tenth shorter or
 * longer, so that many previews of a device that comes back do not all ask at once.
 *
 * Threads: one.
 */
class Backoff
{
public:
    explicit Backoff(unsigned int seed) : m_random(seed) {}

    [[nodiscard]] Milliseconds next()
    {
        const Milliseconds wait = m_wait;
        m_wait = std::min(m_wait * 2, kLongest);
        std::uniform_int_distribution<Milliseconds::rep> jitter(-wait.count() / 10, wait.count() / 10);
        return wait + Milliseconds(jitter(m_random));
    }

    /** The device answered: the next loss begins anew. */
    void reset()
    {
        m_wait = kShortest;
    }

private:
    static constexpr Milliseconds kShortest{1000};
    static constexpr Milliseconds kLongest{8000};

    std::mt19937 m_random;
    Milliseconds m_wait = kShortest;
};

} // namespace selvik

#endif
