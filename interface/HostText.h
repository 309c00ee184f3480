#ifndef INTERFACE_HOSTTEXT_H
#define INTERFACE_HOSTTEXT_H

#include "interface/Boundary.h"

#include <string>

namespace pellora
{

/** A host's text for a log line: as far as it is readable, at most 1 KiB; "(null)" for null. */
[[nodiscard]] std::string hostTextForLog(const char *pText);

/** As logCall, with a text of the host's as the last argument. */
template <typename... Arguments>
void logCallWithText(const LogLocation &where, const char *pFormat, const char *pText, Arguments... arguments) noexcept
{
    try {
        logInfo(where, pFormat, arguments..., hostTextForLog(pText).c_str());
    } catch (...) {
        logException(where);
    }
}

/**
 * A host's path for the player: all of it, as far as it is readable.
 *
 * A null path stays null, since the player has an error code for it.
 */
class HostPath
{
public:
    explicit HostPath(const char *pPath);

    [[nodiscard]] char *get();

private:
    bool m_bNull;
    std::string m_path;
};

} // namespace pellora

#endif
