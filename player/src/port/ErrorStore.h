#ifndef PLAYER_ERRORSTORE_H
#define PLAYER_ERRORSTORE_H

#include "player/src/core/Error.h"

#include <cstdint>

namespace player
{

/**
 * The calling thread's last error of each port.
 *
 * Threads: each sees its own errors only; nothing is shared, so nothing is locked.
 * Owns:    a table of fixed size a thread, plain data, which goes with the thread.
 */
class ErrorStore
{
public:
    static constexpr int kSlots = 256;

    /** Slot: the port's place among those that are open; negative for a number that is no port. */
    static void set(int slot, std::int32_t port, Error error);
    [[nodiscard]] static Error get(int slot, std::int32_t port);
};

} // namespace player

#endif
