#ifndef LOGGING_LOG_H
#define LOGGING_LOG_H

#include "base/StringUtil.h"
#include "logging/CallerLine.h"

#include <string>

namespace pellora
{

/** Where a log line comes from. Literals: log readers match on them, whatever compiler built the library. */
struct LogLocation {
    const char *file;     /**< source file without extension, such as "VideoWindow\\VideoWindowMgr" */
    const char *function; /**< full signature, such as "int __cdecl PELLORA_Init(void)" */
    int line;
};

/** The place of a log line: `file` and `function` as in LogLocation; the line is that of the call. */
[[nodiscard]] constexpr LogLocation logAt(const char *file, const char *function, int line = PELLORA_CALLER_LINE)
{
    return {file, function, line};
}

enum class LogLevel { Info, Warn, Error };

/**
 * Hands one message to the process's logger. Any thread; never throws. Silent until the logger is started.
 */
void writeLog(LogLevel level, const LogLocation &location, const std::string &message) noexcept;

/** What logInfo, logWarn and logError do. */
template <typename... Arguments>
void formatLog(LogLevel level, const LogLocation &location, const char *format, Arguments... arguments) noexcept
{
    try {
        writeLog(level, location, Base::StringUtil::FormatString(format, arguments...));
    } catch (...) {
        // No memory for the text: a message that cannot be logged must not end a host's call.
        return;
    }
}

/** Formats as Base::StringUtil::FormatString does and logs; never throws. */
template <typename... Arguments>
void logInfo(const LogLocation &location, const char *format, Arguments... arguments) noexcept
{
    formatLog(LogLevel::Info, location, format, arguments...);
}

/** See logInfo. */
template <typename... Arguments>
void logWarn(const LogLocation &location, const char *format, Arguments... arguments) noexcept
{
    formatLog(LogLevel::Warn, location, format, arguments...);
}

/** See logInfo. */
template <typename... Arguments>
void logError(const LogLocation &location, const char *format, Arguments... arguments) noexcept
{
    formatLog(LogLevel::Error, location, format, arguments...);
}

} // namespace pellora

#endif
