#ifndef DEVICE_RESOLVER_H
#define DEVICE_RESOLVER_H

#include "device/src/Patience.h"

#include <string>
#include <vector>

namespace selvik
{

/** How many look-ups may hang at once. */
constexpr int kMaxLookups = 32;

/** Numeric addresses of a name, after however long; none where the name is not known. */
using NameLookup = std::function<std::vector<std::string>(const std::string &)>;

/** Asks the system. */
[[nodiscard]] std::vector<std::string> lookUpName(const std::string &host);

/**
 * The numeric addresses of a host, the system's best first.
 *
 * The system's resolver cannot be interrupted. So it runs on a thread of its own, which is left alone when the patience
 * is over, and the number of such threads is bounded.
 * Errors: Failure(SELVIK_ERROR_HOST) for a name that is not known, or when too many look-ups hang; Failure and Stopped
 *         as Patience::check().
 */
[[nodiscard]] std::vector<std::string> resolveHost(const std::string &host, const Patience &patience,
                                                   const NameLookup &lookUp = &lookUpName);

} // namespace selvik

#endif
