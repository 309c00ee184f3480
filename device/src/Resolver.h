#ifndef DEVICE_RESOLVER_H
#define DEVICE_RESOLVER_H

#include "device/src/Patience.h"

#include <string>
#include <vector>

namespace selvik
{

/**
 * The numeric addresses of a host, the system's best first.
 *
 * The system's resolver cannot be interrupted, so it runs on a thread of its own that nobody waits for longer than
 * `patience`; a bounded number of such threads may hang at once.
 * Errors: Failure(SELVIK_ERROR_HOST) for a name that is not known, or when too many look-ups hang.
 */
[[nodiscard]] std::vector<std::string> resolveHost(const std::string &host, const Patience &patience);

} // namespace selvik

#endif
