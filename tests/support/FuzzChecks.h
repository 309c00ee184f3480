#ifndef TESTS_SUPPORT_FUZZCHECKS_H
#define TESTS_SUPPORT_FUZZCHECKS_H

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace pellora::test
{

/** Ends a fuzz target, which keeps the input, where what must hold for every input does not. */
inline void mustHold(bool bHolds, const char *pWhat)
{
    if (!bHolds) {
        std::fprintf(stderr, "ERROR: does not hold: %s\n", pWhat);
        std::abort();
    }
}

/**
 * The time that one input may take, to be made before it is read and destroyed behind it. It is the processor's, which
 * does not pass while other programs run.
 *
 * Threads: one, whose time is measured. Units: milliseconds.
 */
class FuzzTime
{
public:
    explicit FuzzTime(long most) : m_nMost(most), m_nBegin(spent()) {}
    ~FuzzTime()
    {
        const long nTook = spent() - m_nBegin;
        if (nTook > m_nMost) {
            std::fprintf(stderr, "ERROR: took %ld ms of the processor's time, may take %ld\n", nTook, m_nMost);
            std::abort();
        }
    }
    FuzzTime(const FuzzTime &) = delete;
    FuzzTime &operator=(const FuzzTime &) = delete;

private:
    [[nodiscard]] static long spent()
    {
        timespec time = {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<long>(time.tv_sec) * 1000 + static_cast<long>(time.tv_nsec) / 1000000;
    }

    const long m_nMost;
    const long m_nBegin;
};

} // namespace pellora::test

#endif
