#ifndef PREVIEW_TESTS_DEVICEDOUBLE_H
#define PREVIEW_TESTS_DEVICEDOUBLE_H

#include <functional>
#include <string>
#include <vector>

/**
 * A device library at link time, for tests without DLLs. Threads: any.
 *
 * Quiet, it answers at once and records what it is asked. With traffic each of its steps takes a short random time, and
 * each preview sends headers and data on a thread of its own until it is stopped.
 */
namespace devicedouble
{

/** Forgets everything. No preview may be running. */
void reset();
void setTraffic(bool bTraffic, unsigned nSeed = 1);
/** What the next starts answer; afterwards handles count up. */
void answerStarts(const std::vector<long> &handles);
/** Runs inside the next start, before it answers. */
void whenStarting(std::function<void()> action);
/** How many of the next stops fail. */
void refuseStops(int nStops);
/** "start 7" with the user, "stop 3" with the handle, since the last look. */
[[nodiscard]] std::vector<std::string> newCalls();
[[nodiscard]] std::size_t openPreviews();
/** Calls back as the device's thread would: 1 header, 2 data. */
void send(long lHandle, unsigned int nType, void *pUser);

/** A short random pause, as the device makes them. */
void pause();
[[nodiscard]] int chance(int nBelow);

} // namespace devicedouble

#endif
