#ifndef LOGGING_NOTHROW_H
#define LOGGING_NOTHROW_H

#include "logging/Log.h"

#include <exception>

namespace pellora
{

/**
 * Runs what others call that know no exceptions: callbacks of C libraries, slots, tasks of the pool.
 *
 * An exception becomes an error line at `where`, and the caller goes on. Any thread. True: nothing was thrown.
 */
template <typename Body>
bool withoutThrowing(const LogLocation &where, Body body) noexcept
{
    try {
        body();
        return true;
    } catch (const std::exception &exception) {
        logError(where, "exception: %s", exception.what());
    } catch (...) {
        logError(where, "exception: unknown");
    }
    return false;
}

} // namespace pellora

#endif
