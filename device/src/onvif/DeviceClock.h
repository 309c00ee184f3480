#ifndef DEVICE_ONVIF_DEVICECLOCK_H
#define DEVICE_ONVIF_DEVICECLOCK_H

#include "device/src/TimeSource.h"

#include <cstdint>
#include <optional>
#include <string>

namespace selvik
{

/** A date and a time of day in UTC. */
struct UtcDate {
    int nYear = 1970;
    int nMonth = 1;
    int nDay = 1;
    int nHour = 0;
    int nMinute = 0;
    int nSecond = 0;
};

/**
 * What a device's clock shows. Cameras without a battery begin in 1970 or at the day they were made, and refuse tokens
 * that are not of that time. Until the device has told, it is taken for right.
 *
 * Threads: one.
 */
class DeviceClock
{
public:
    explicit DeviceClock(TimeSource &time);

    /** The clock shows that now. A date that there cannot be is ignored. */
    void set(const UtcDate &date);
    /** Now, as 2030-01-31T23:59:59Z: the form of xsd:dateTime that devices understand. */
    [[nodiscard]] std::string stamp() const;

private:
    TimeSource &m_time;
    std::int64_t m_nSeconds = 0; /**< UTC since 1970 at m_set */
    Clock::time_point m_set;
};

} // namespace selvik

#endif
