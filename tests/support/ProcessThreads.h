#ifndef TESTS_SUPPORT_PROCESSTHREADS_H
#define TESTS_SUPPORT_PROCESSTHREADS_H

#include <cstddef>

namespace support
{

/** Threads of this process, the caller's included. */
[[nodiscard]] std::size_t processThreads();

/** False when there still are more than this many once the time is over: a thread that was joined takes a moment. */
[[nodiscard]] bool waitForThreads(std::size_t nMost, unsigned milliseconds);

} // namespace support

#endif
