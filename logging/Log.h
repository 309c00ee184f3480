#ifndef LOGGING_LOG_H
#define LOGGING_LOG_H

#include "base/StringUtil.h"

#include <string>

namespace pellora
{

/** Where a log line comes from. Literals: log readers match on them, whatever compiler built the library. */
struct LogLocation {
    const char *file;     /**< source file without extension, such as "VideoWindow\\VideoWindowMgr" */
    const char *function; /**< full signature, such as "int __cdecl PELLORA_Init(void)" */
    int line;
};

enum class LogLevel { Info, Warn, Error };

/**
 * Hands one message to the process's logger. Any thread; never throws. Silent until the logger is started.
 */
void writeLog(LogLevel level, const LogLocation &location, const std::string &message) noexcept;

/** Formats as Base::StringUtil::FormatString does and logs; never throws. */
template <typename... Arguments>
void logInfo(const LogLocation &location, const char *format, Arguments... arguments)
{
    writeLog(LogLevel::Info, location, Base::StringUtil::FormatString(format, arguments...));
}

/** See logInfo. */
template <typename... Arguments>
void logWarn(const LogLocation &location, const char *format, Arguments... arguments)
{
    writeLog(LogLevel::Warn, location, Base::StringUtil::FormatString(format, arguments...));
}

/** See logInfo. */
template <typename... Arguments>
void logError(const LogLocation &location, const char *format, Arguments... arguments)
{
    writeLog(LogLevel::Error, location, Base::StringUtil::FormatString(format, arguments...));
}

} // namespace pellora

#endif
