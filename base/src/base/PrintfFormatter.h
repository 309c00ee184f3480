#ifndef BASE_PRINTFFORMATTER_H
#define BASE_PRINTFFORMATTER_H

#include <cstdarg>
#include <string>

namespace Base
{

/**
 * Expands a printf format. The C library's own one is not used as a whole: its `%p` and null `%s` differ between
 * systems, hosts match on the log's text, and a bad format must do no harm.
 *
 * Threads: any.
 * Errors: an unknown conversion is copied as it stands; `%n` writes nothing; widths and precisions end at 65536.
 */
[[nodiscard]] std::string formatPrintf(const char *format, va_list arguments);

} // namespace Base

#endif
