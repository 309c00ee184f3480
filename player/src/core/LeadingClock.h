#ifndef PLAYER_LEADINGCLOCK_H
#define PLAYER_LEADINGCLOCK_H

#include "player/src/core/Clock.h"

#include <cstdint>
#include <optional>

namespace player
{

/**
 * A clock that a file's own follows while it runs, such as that of sound which is being heard.
 *
 * Threads: any; called with a lock of the playback held, so that it must neither wait nor call back.
 * Units:   microseconds from the first picture of the source.
 */
class LeadingClock
{
public:
    LeadingClock() = default;
    virtual ~LeadingClock() = default;
    LeadingClock(const LeadingClock &) = delete;
    LeadingClock &operator=(const LeadingClock &) = delete;

    /** Where it stands; empty while nothing is heard, and the file goes by the computer's time. */
    [[nodiscard]] virtual std::optional<std::int64_t> position(Moment now) const = 0;
    /**
     * Whether the file's clock runs, at which speed (two to the power of the step), and where it stands now. Told at
     * each change but those to this clock's own position.
     */
    virtual void paceChanged(bool running, int speedStep, std::int64_t position) = 0;
};

} // namespace player

#endif
