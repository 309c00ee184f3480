#ifndef PREVIEW_TESTS_PLAYERDOUBLE_H
#define PREVIEW_TESTS_PLAYERDOUBLE_H

#include <cstddef>

/** A player at link time, for tests without DLLs: it knows which ports are open, and as what. Threads: any. */
namespace playerdouble
{

[[nodiscard]] std::size_t openPorts();
/** Ports that were closed as something else than they were opened as, or used by two callers at a time. */
[[nodiscard]] int faults();

} // namespace playerdouble

#endif
