#ifndef TESTS_SOAK_HELD_H
#define TESTS_SOAK_HELD_H

#include <cstddef>
#include <map>
#include <string>

namespace soak
{

/** What the process holds. Threads: the one of the windows. */
struct Held {
    std::size_t nThreads = 0;
    std::size_t nHandles = 0;
    std::map<std::string, std::size_t> handles; /**< these by their kinds, in the system's words */
    std::size_t nWindows = 0;                   /**< top-level windows of the thread and all below them */
    long nObjects = 0;                          /**< Qt's */
    std::size_t nBytes = 0;                     /**< private ones */
    std::size_t nUsed = 0;                      /**< of these without what the heaps keep free */
};

[[nodiscard]] Held held();
[[nodiscard]] std::string textOf(const Held &held);

/** Lets messages run until there is no more of anything but memory than before; false when the time is over. */
[[nodiscard]] bool waitForHeld(const Held &before, unsigned milliseconds);

} // namespace soak

#endif
