#include "base/StringUtil.h"

#include "base/src/base/PrintfFormatter.h"

#include <cstdarg>

namespace Base
{

std::string StringUtil::FormatString(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text;
    try {
        text = formatPrintf(format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
    return text;
}

} // namespace Base
