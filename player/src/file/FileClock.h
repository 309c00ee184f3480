#ifndef PLAYER_FILECLOCK_H
#define PLAYER_FILECLOCK_H

#include "player/src/core/Clock.h"

#include <chrono>
#include <cstdint>

namespace player
{

/**
 * The position in a file as time goes by, at a speed that is a power of two.
 *
 * Threads: none of its own; guarded by its owner. The present moment is always handed in.
 * Units:   positions in microseconds of the source.
 */
class FileClock
{
public:
    static constexpr int kFastestStep = 4;
    static constexpr int kSlowestStep = -4;

    [[nodiscard]] std::int64_t position(Moment now) const;
    void setPosition(std::int64_t position, Moment now);

    [[nodiscard]] bool isRunning() const
    {
        return m_bRunning;
    }

    /** Runs or stands still; the position does not jump. */
    void run(bool running, Moment now);

    [[nodiscard]] int speedStep() const
    {
        return m_nStep;
    }

    /** The speed is two to the power of the step. False, and no change, past either end. */
    bool setSpeedStep(int step, Moment now);

    /** Source time that passes in a second on the wall, were it running. */
    [[nodiscard]] std::int64_t perSecond() const;
    /** At this speed more pictures fall due than anybody sees; not all of them need be decoded. */
    [[nodiscard]] bool isCoarse() const
    {
        constexpr int kEightfold = 3;
        return m_nStep >= kEightfold;
    }

    /** The moment at which a running clock reaches a position. */
    [[nodiscard]] Moment momentOf(std::int64_t position) const;

    /** Source time to time on the wall at the speed in force. */
    [[nodiscard]] std::chrono::microseconds onTheWall(std::int64_t sourceTime) const;

private:
    std::int64_t m_nPosition = 0;
    Moment m_since;
    int m_nStep = 0;
    bool m_bRunning = false;
};

} // namespace player

#endif
