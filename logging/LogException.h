#ifndef LOGGING_LOGEXCEPTION_H
#define LOGGING_LOGEXCEPTION_H

#include "logging/Log.h"

namespace pellora
{

/**
 * Inside a catch block: writes what was thrown as an error line with this place. Any thread; never throws.
 */
void logException(const LogLocation &where) noexcept;

/**
 * Runs the body; what it throws becomes an error line. True when it threw nothing.
 *
 * For code that Windows, Qt, the player or the device library calls, none of which knows exceptions.
 */
template <typename Body>
bool contained(const LogLocation &where, Body body) noexcept
{
    try {
        body();
        return true;
    } catch (...) {
        logException(where);
        return false;
    }
}

} // namespace pellora

#endif
