#include "device/src/onvif/DeviceClock.h"

#include <chrono>
#include <cstdio>

namespace selvik
{

namespace
{

// The calendar in 400 years is always the same: 146097 days. Years begin in March here, so that the odd day is the
// last.
constexpr std::int64_t kDaysOf400Years = 146097;
constexpr std::int64_t kDaysToMarch0000 = 719468; // from 0000-03-01 to 1970-01-01
constexpr std::int64_t kSecondsADay = 86400;

bool isPossible(const UtcDate &date)
{
    // A leap second is shown as 60.
    return date.nYear >= 1970 && date.nYear <= 9999 && date.nMonth >= 1 && date.nMonth <= 12 && date.nDay >= 1 &&
           date.nDay <= 31 && date.nHour >= 0 && date.nHour <= 23 && date.nMinute >= 0 && date.nMinute <= 59 &&
           date.nSecond >= 0 && date.nSecond <= 60;
}

std::int64_t secondsOf(const UtcDate &date)
{
    const std::int64_t year = date.nMonth <= 2 ? date.nYear - 1 : date.nYear;
    const std::int64_t month = (date.nMonth + 9) % 12;
    const std::int64_t days = year / 400 * kDaysOf400Years + year % 400 * 365 + year % 400 / 4 - year % 400 / 100 +
                              (153 * month + 2) / 5 + date.nDay - 1 - kDaysToMarch0000;
    return days * kSecondsADay + date.nHour * 3600 + date.nMinute * 60 + date.nSecond;
}

UtcDate dateOf(std::int64_t seconds)
{
    const std::int64_t days = seconds / kSecondsADay + kDaysToMarch0000;
    const std::int64_t ofDay = seconds % kSecondsADay;
    const std::int64_t day400 = days % kDaysOf400Years;
    const std::int64_t year = (day400 - day400 / 1460 + day400 / 36524 - day400 / 146096) / 365;
    const std::int64_t dayOfYear = day400 - (365 * year + year / 4 - year / 100);
    const std::int64_t month = (5 * dayOfYear + 2) / 153;
    UtcDate date;
    date.nMonth = static_cast<int>(month < 10 ? month + 3 : month - 9);
    date.nYear = static_cast<int>(days / kDaysOf400Years * 400 + year) + (date.nMonth <= 2 ? 1 : 0);
    date.nDay = static_cast<int>(dayOfYear - (153 * month + 2) / 5 + 1);
    date.nHour = static_cast<int>(ofDay / 3600);
    date.nMinute = static_cast<int>(ofDay / 60 % 60);
    date.nSecond = static_cast<int>(ofDay % 60);
    return date;
}

} // namespace

DeviceClock::DeviceClock(TimeSource &time)
    : m_time(time),
      m_nSeconds(std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
                     .count()),
      m_set(time.now())
{
}

void DeviceClock::set(const UtcDate &date)
{
    if (isPossible(date)) {
        m_nSeconds = secondsOf(date);
        m_set = m_time.now();
    }
}

std::string DeviceClock::stamp() const
{
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(m_time.now() - m_set);
    const UtcDate date = dateOf(m_nSeconds + passed.count());
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", date.nYear, date.nMonth, date.nDay, date.nHour,
                  date.nMinute, date.nSecond);
    return text;
}

} // namespace selvik
