#include "player/src/core/Notice.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <cstdio>

namespace player
{

void notice(const char *pText) noexcept
{
    char line[512];
    (void)std::snprintf(line, sizeof line, "Drovel: %s.\n", pText);
#ifdef _WIN32
    OutputDebugStringA(line);
#endif
    (void)std::fputs(line, stderr);
}

} // namespace player
