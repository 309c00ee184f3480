#include "logging/Log.h"

#include "base/CLog.h"

#include <log4cxx/spi/location/locationinfo.h>

namespace pellora
{

void writeLog(LogLevel level, const LogLocation &location, const std::string &message) noexcept
{
    try {
        const log4cxx::spi::LocationInfo info(location.file, location.file, location.function, location.line);
        Base::details::CLog *pLog = Base::CLog::getInstance();
        switch (level) {
        case LogLevel::Info:
            pLog->Info(message, std::string(), info);
            break;
        case LogLevel::Warn:
            pLog->Warn(message, std::string(), info);
            break;
        case LogLevel::Error:
            pLog->Error(message, std::string(), info);
            break;
        }
    } catch (...) {
        // A message that cannot be logged must not end a host's call.
        return;
    }
}

} // namespace pellora
