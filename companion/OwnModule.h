#ifndef COMPANION_OWNMODULE_H
#define COMPANION_OWNMODULE_H

#include <string>

namespace companion
{

// The library that this code is in: each companion has a copy of its own. Natively there is none. Any thread.

/** The library stays loaded from now on, since threads of it may still run when the host lets it go. False: it does
 * not. */
bool keepLoaded();
/** The folder that the library lies in, UTF-8; empty where it is not known, as in native test programs. */
[[nodiscard]] std::string libraryFolder();

} // namespace companion

#endif
