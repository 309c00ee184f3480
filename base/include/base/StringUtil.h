#ifndef BASE_STRINGUTIL_H
#define BASE_STRINGUTIL_H

#include "base/CorvaneExport.h"

#include <string>

namespace Base
{

class CORVANE_API StringUtil
{
public:
    StringUtil() = delete;

    /**
     * printf-style formatting into UTF-8 text of any length. `%p` prints 16 upper-case hexadecimal digits, a null
     * `%s` prints "(null)". `%d` and its kin take 32-bit values (`long` is one of them here), `%lld` 64-bit ones. Any
     * thread.
     */
    [[nodiscard]] static std::string FormatString(const char *format, ...);
};

} // namespace Base

#endif
