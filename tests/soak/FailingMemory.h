#ifndef TESTS_SOAK_FAILINGMEMORY_H
#define TESTS_SOAK_FAILINGMEMORY_H

#include <cstddef>

namespace soak
{

/** Which allocations fail. */
enum class Lack {
    Once,    /**< the one with the number alone */
    Lasting, /**< that one and all behind it */
};

/**
 * From now on memory runs out at the allocation with this number, from 1, whichever thread asks for it; 0: never, only
 * counting. What the libraries under test allocate counts: with operator new, and FFmpeg's.
 *
 * Threads: any; one caller at a time.
 */
void failAllocation(std::size_t nNumber, Lack lack);

/** Memory is there again; how many allocations there were since failAllocation(). */
std::size_t endFailing();

/** Whether one has failed since failAllocation(). */
[[nodiscard]] bool hasFailed();

/** Between failAllocation() and endFailing(). */
[[nodiscard]] bool isCounting();

/** For those who allocate: counts one allocation; whether it has to fail. */
[[nodiscard]] bool runsOut();

#ifdef _WIN32
/** Lets the loaded libraries' allocations count from now on, once a process; how many of their imports were found. */
[[nodiscard]] int leadImportsHere();
#endif

} // namespace soak

#endif
