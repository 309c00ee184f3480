#ifndef TESTS_SUPPORT_PROCESSMEMORY_H
#define TESTS_SUPPORT_PROCESSMEMORY_H

#include <cstddef>

namespace support
{

/** Committed memory that is this process's own, in bytes. Counted page by page: Wine answers 0 for its private usage.
 */
[[nodiscard]] std::size_t privateBytes();

/**
 * The same without what the heaps keep free, which is as much as was needed at the same time: what was allocated and
 * not given back, and all private memory outside the heaps.
 */
[[nodiscard]] std::size_t usedBytes();

} // namespace support

#endif
