#ifndef COMPANION_NOTICE_H
#define COMPANION_NOTICE_H

#include <string>

namespace companion
{

/**
 * One line for whoever looks into why something does not work: to the debugger's output and to standard error, with the
 * library's name before it. It must hold no address and no secret. Any thread; never throws.
 */
void notice(const char *pLibrary, const std::string &text) noexcept;

} // namespace companion

#endif
