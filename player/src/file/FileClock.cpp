#include "player/src/file/FileClock.h"

namespace player
{

namespace
{

/** Left by the step where it is positive, right where it is negative, without shifting negative numbers. */
std::int64_t scaled(std::int64_t value, int step)
{
    const std::int64_t factor = std::int64_t{1} << (step < 0 ? -step : step);
    return step < 0 ? value / factor : value * factor;
}

} // namespace

std::int64_t FileClock::position(Moment now) const
{
    if (!m_bRunning || now <= m_since) {
        return m_nPosition;
    }
    const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(now - m_since).count();
    return m_nPosition + scaled(elapsed, m_nStep);
}

void FileClock::setPosition(std::int64_t position, Moment now)
{
    m_nPosition = position;
    m_since = now;
}

void FileClock::run(bool running, Moment now)
{
    if (running != m_bRunning) {
        setPosition(position(now), now);
        m_bRunning = running;
    }
}

bool FileClock::setSpeedStep(int step, Moment now)
{
    if (step < kSlowestStep || step > kFastestStep) {
        return false;
    }
    setPosition(position(now), now);
    m_nStep = step;
    return true;
}

std::int64_t FileClock::perSecond() const
{
    return scaled(1000000, m_nStep);
}

Moment FileClock::momentOf(std::int64_t position) const
{
    return m_since + onTheWall(position - m_nPosition);
}

std::chrono::microseconds FileClock::onTheWall(std::int64_t sourceTime) const
{
    return std::chrono::microseconds(scaled(sourceTime, -m_nStep));
}

} // namespace player
