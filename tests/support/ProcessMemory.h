#ifndef TESTS_SUPPORT_PROCESSMEMORY_H
#define TESTS_SUPPORT_PROCESSMEMORY_H

#include <cstddef>

namespace support
{

/** Committed memory that is this process's own, in bytes. Counted page by page: Wine answers 0 for its private usage.
 */
[[nodiscard]] std::size_t privateBytes();

} // namespace support

#endif
