#ifndef INTERFACE_BOUNDARY_H
#define INTERFACE_BOUNDARY_H

#include "interface/Refusal.h"

namespace pellora
{

// What every exported function shares: its log line, the check of its thread, and the end of the road for exceptions.
// For any thread: the host's calls come on whichever it likes.

/** An export's place in the log; docs/compatibility.md: log-places. */
[[nodiscard]] constexpr LogLocation exportAt(const char *pSignature, int nLine = PELLORA_CALLER_LINE)
{
    return {"Pellora", pSignature, nLine};
}

/** True on the thread of the application object, and where there is no such object yet. */
[[nodiscard]] bool isUserInterfaceThread();

void reportWrongThread(const LogLocation &where);

/** The line that an export writes before it checks anything. */
template <typename... Arguments>
void logCall(const LogLocation &where, const char *pFormat, Arguments... arguments) noexcept
{
    logInfo(where, pFormat, arguments...);
}

/** Runs the body on the right thread; elsewhere, and when it throws, logs an error and answers with `failure`. */
template <typename Result, typename Body>
Result guarded(const LogLocation &where, Result failure, Body body) noexcept
{
    try {
        if (isUserInterfaceThread()) {
            noteCall(where);
            return static_cast<Result>(body());
        }
        reportWrongThread(where);
    } catch (...) {
        logException(where);
    }
    return failure;
}

} // namespace pellora

#endif
