#ifndef BASE_LOGCONFIGURATION_H
#define BASE_LOGCONFIGURATION_H

#include <log4cxx/helpers/properties.h>

#include <string>

namespace Base
{

/**
 * Reads a properties file whose path is UTF-8. False when it cannot be read or configures no root logger.
 *
 * Relative names of log files are made absolute: they lie beside the properties file or, where that folder cannot be
 * written to, in %LOCALAPPDATA%\Corvane.
 * Threads: those of details::CLog::InitLog, one at a time.
 */
[[nodiscard]] bool readLogConfiguration(const std::string &path, log4cxx::helpers::Properties &properties);

/** True for a file that exists and can be appended to; `path` is UTF-8. */
[[nodiscard]] bool canAppendTo(const std::string &path);

/** Warnings and errors to standard error. */
void fillDefaultLogConfiguration(log4cxx::helpers::Properties &properties);

} // namespace Base

#endif
