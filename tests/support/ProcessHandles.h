#ifndef TESTS_SUPPORT_PROCESSHANDLES_H
#define TESTS_SUPPORT_PROCESSHANDLES_H

#include <cstddef>
#include <map>
#include <string>

namespace support
{

/** How many handles this process has of each kind, in the system's words: "Event", "File", "Thread" … Empty on failure.
 */
[[nodiscard]] std::map<std::string, std::size_t> processHandles();

} // namespace support

#endif
