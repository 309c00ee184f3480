#ifndef PLAYER_SYSTEMTIME_H
#define PLAYER_SYSTEMTIME_H

#include "Kavun.h"

#include <cstdint>
#include <optional>

namespace player
{

/** A date of microseconds since 1970, UTC; empty where Windows has none for it: before 1601, or after 30827. */
[[nodiscard]] std::optional<KAVUN_SYSTEM_TIME> systemTime(std::int64_t microseconds);

} // namespace player

#endif
