#ifndef BENCH_PROCESSORTIME_H
#define BENCH_PROCESSORTIME_H

#include <windows.h>

namespace bench
{

/** Processor time of the whole process, all threads, in seconds. */
inline double processorSeconds()
{
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto seconds = [](const FILETIME &time) {
        return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) * 1e-7;
    };
    return seconds(kernel) + seconds(user);
}

} // namespace bench

#endif
