#ifndef INTERFACE_REFUSAL_H
#define INTERFACE_REFUSAL_H

#include "logging/LogException.h"

#include <string>

namespace pellora
{

// Why a call of the host's is refused: one warning behind the call's own line, "PELLORA_Play: nothing plays in pane 3
// of window 7". While there is no log, as before PELLORA_Init, it goes aside instead: to standard error and the
// debugger's output, each text once.
//
// A host may ask for positions and sizes many times a second, and go on where nothing plays any more. The warnings of
// functions that only ask (PELLORA_Get…) are therefore not repeated until a function that does something is called.
// Any thread.

/** A call of this function's is about to be carried out. */
void noteCall(const LogLocation &where) noexcept;

/** Writes the warning; `where` is the place of the call's own line, and gives the function's name. */
void writeRefusal(const LogLocation &where, const std::string &reason);

/** Formats the reason as Base::StringUtil::FormatString does and writes the warning. False, which callers hand on. */
template <typename... Arguments>
bool refuse(const LogLocation &where, const char *pReason, Arguments... arguments) noexcept
{
    contained(where, [&] { writeRefusal(where, Base::StringUtil::FormatString(pReason, arguments...)); });
    return false;
}

/** Refuses a handle that names no window. False. Always aside; docs/compatibility.md: unknown-window-unlogged. */
bool refuseWindow(const LogLocation &where, long lHandle) noexcept;

} // namespace pellora

#endif
