#ifndef BENCH_MEASURES_H
#define BENCH_MEASURES_H

#include "tests/support/ProcessMemory.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench
{

inline double secondsSince(std::chrono::steady_clock::time_point begin)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/** Of this process, in MiB; see support::privateBytes(). */
inline double privateMegabytes()
{
    return static_cast<double>(support::privateBytes()) / (1024.0 * 1024.0);
}

/** The upper one of the two in the middle; 0 of none. */
inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace bench

#endif
