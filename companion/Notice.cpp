#include "companion/Notice.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <cstdio>

namespace companion
{

void notice(const char *pLibrary, const std::string &text) noexcept
{
    try {
        const std::string line = std::string(pLibrary) + ": " + text + "\n";
#ifdef _WIN32
        OutputDebugStringA(line.c_str());
#endif
        (void)std::fputs(line.c_str(), stderr);
    } catch (...) {
        // No memory for a line: there are worse troubles then.
        return;
    }
}

} // namespace companion
