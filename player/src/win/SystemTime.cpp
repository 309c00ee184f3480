#include "player/src/win/SystemTime.h"

namespace player
{

std::optional<KAVUN_SYSTEM_TIME> systemTime(std::int64_t microseconds)
{
    // FILETIME counts tenths of microseconds since 1601.
    constexpr std::int64_t kFrom1601To1970 = 11644473600000000;
    constexpr std::int64_t kMost = INT64_MAX / 10 - kFrom1601To1970;
    if (microseconds < -kFrom1601To1970 || microseconds > kMost) {
        return std::nullopt;
    }
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>((microseconds + kFrom1601To1970) * 10);
    const FILETIME fileTime{ticks.LowPart, ticks.HighPart};
    SYSTEMTIME time{};
    if (!FileTimeToSystemTime(&fileTime, &time)) {
        return std::nullopt;
    }
    return KAVUN_SYSTEM_TIME{time.wYear,   time.wMonth,  time.wDay,         time.wHour,
                             time.wMinute, time.wSecond, time.wMilliseconds};
}

} // namespace player
