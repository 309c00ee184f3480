#ifndef PLAYER_SYSTEMCLOCK_H
#define PLAYER_SYSTEMCLOCK_H

#include "player/src/core/Clock.h"

namespace player
{

/** The computer's own time. Threads: any. */
class SystemClock : public Clock
{
public:
    [[nodiscard]] Moment now() override;
    [[nodiscard]] std::int64_t utc() override;
    [[nodiscard]] std::thread startThread(std::function<void()> body) override;
    void join(std::thread &thread) override;
    bool wait(WaitQueue &queue, std::unique_lock<std::mutex> &lock, const std::optional<Moment> &deadline) override;
    void notify(WaitQueue &queue) override;
};

} // namespace player

#endif
