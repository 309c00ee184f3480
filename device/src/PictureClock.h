#ifndef DEVICE_PICTURECLOCK_H
#define DEVICE_PICTURECLOCK_H

#include <cstdint>

namespace selvik
{

/**
 * The times of a camera's pictures: those that it stamped, or where the stamps are of no use those of their arrival.
 *
 * A stamp that two pictures share counts once. Stamps that stand still, creep or run away for two seconds are given up
 * until they go as time does again.
 *
 * Threads: one. Units: microseconds.
 */
class PictureClock
{
public:
    struct Time {
        std::int64_t media = 0;
        bool bStamped = true; /**< it is the camera's own */
    };

    [[nodiscard]] Time place(std::int64_t stamp, std::int64_t arrival);

private:
    void judge(std::int64_t stamp, std::int64_t arrival);

    bool m_bStarted = false;
    std::int64_t m_nLastStamp = 0;
    std::int64_t m_nLastArrival = 0;
    Time m_last;
    std::int64_t m_nOffset = 0; /**< from stamps to times */

    // What the stamps are judged by.
    std::int64_t m_nWindowStamp = 0;
    std::int64_t m_nWindowArrival = 0;
    int m_nBadWindows = 0;
    bool m_bUseless = false;
};

} // namespace selvik

#endif
