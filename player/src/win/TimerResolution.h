#ifndef PLAYER_TIMERRESOLUTION_H
#define PLAYER_TIMERRESOLUTION_H

#include <windows.h>

#include <mmsystem.h>

namespace player
{

/** While it lives, Windows wakes threads within a millisecond instead of sixteen. */
class TimerResolution
{
public:
    TimerResolution()
    {
        timeBeginPeriod(kMilliseconds);
    }

    ~TimerResolution()
    {
        timeEndPeriod(kMilliseconds);
    }

    TimerResolution(const TimerResolution &) = delete;
    TimerResolution &operator=(const TimerResolution &) = delete;

private:
    static constexpr UINT kMilliseconds = 1;
};

} // namespace player

#endif
