#ifndef TESTS_SOAK_FAILURE_H
#define TESTS_SOAK_FAILURE_H

#include <atomic>
#include <string>

namespace soak
{

/** What a run ends with. The driver tells failures apart by it. */
enum class Outcome { Fine = 0, WrongAnswer = 1, Usage = 2, Hang = 3, Crash = 4, Leak = 5, Exception = 6 };

/** What is being done now, for whoever reports its failure. Threads: written by one, read by any. */
void setDoing(const std::string &what);

/** Prints "FAILURE …" with what is being done and ends the process at once, whatever stands on the stack. Any thread.
 */
[[noreturn]] void fail(Outcome outcome, const std::string &what);

/** From now on a crash is a failure that tells its place: module and offset. */
void reportCrashes();

/**
 * Ends the process with a failure when nobody has said for so long that it is alive.
 *
 * Threads: alive() is one thread's; the dog has its own. Units: seconds.
 */
void watch(unsigned seconds);
void alive();

} // namespace soak

#endif
