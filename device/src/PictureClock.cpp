#include "device/src/PictureClock.h"

#include <algorithm>

namespace selvik
{

namespace
{

constexpr std::int64_t kWindow = 1000000;
// After a stall of the network, one window is far from the clock. Two in a row are a fault of the camera's.
constexpr int kBadWindows = 2;
constexpr std::int64_t kWrongBy = 8;
constexpr std::int64_t kShortestStep = 1000;
// Stamps have at most half of it, so that no sum overflows.
constexpr std::int64_t kLongest = std::int64_t(1) << 61;

} // namespace

void PictureClock::judge(std::int64_t stamp, std::int64_t arrival)
{
    const std::int64_t passed = arrival - m_nWindowArrival;
    if (passed < kWindow) {
        return;
    }
    const std::int64_t progress = stamp - m_nWindowStamp;
    const bool bBad = progress < passed / kWrongBy || progress > passed * kWrongBy;
    m_nBadWindows = bBad ? m_nBadWindows + 1 : 0;
    m_bUseless = m_nBadWindows >= kBadWindows || (m_bUseless && bBad);
    m_nWindowStamp = stamp;
    m_nWindowArrival = arrival;
}

PictureClock::Time PictureClock::place(std::int64_t stamp, std::int64_t arrival)
{
    if (!m_bStarted) {
        m_bStarted = true;
        m_nWindowStamp = stamp;
        m_nWindowArrival = arrival;
        m_last = {stamp, true};
    } else {
        const bool bWasUseless = m_bUseless;
        judge(stamp, arrival);
        const std::int64_t next = m_last.media + std::max(kShortestStep, arrival - m_nLastArrival);
        Time time = {stamp + m_nOffset, true};
        if (m_bUseless || stamp == m_nLastStamp) {
            time = {next, false};
        } else if (bWasUseless || (!m_last.bStamped && time.media <= m_last.media)) {
            // The arrival has led to another place than the stamps. They go on from there.
            m_nOffset = std::clamp(next - stamp, -kLongest, kLongest);
            time.media = next;
        }
        m_last = time;
    }
    m_nLastStamp = stamp;
    m_nLastArrival = arrival;
    return m_last;
}

} // namespace selvik
