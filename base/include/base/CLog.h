#ifndef BASE_CLOG_H
#define BASE_CLOG_H

#include "base/CSingleton.h"
#include "base/CorvaneExport.h"

#include <memory>
#include <string>

namespace log4cxx::spi
{
class LocationInfo;
}

namespace Base
{
namespace details
{

/**
 * The process's logger over log4cxx.
 *
 * Threads: any thread may log at any time; InitLog and UninitLog may race with logging.
 * Errors:  never throws. Logging before InitLog or after UninitLog is silent and safe. A missing or broken
 *          properties file gives one clear line on standard error, and warnings and errors go there. A log file that
 *          cannot be opened gives one, too.
 */
class CORVANE_API CLog
{
public:
    CLog();
    ~CLog();
    CLog(const CLog &) = delete;
    CLog &operator=(const CLog &) = delete;

    /** Configures log4cxx from a properties file; `path` is UTF-8. Again after UninitLog: starts afresh. */
    void InitLog(const std::string &path);
    /** Closes the appenders; later messages are dropped. */
    void UninitLog();
    /** False while messages are dropped. */
    [[nodiscard]] bool isStarted() const;

    /** `message` is UTF-8; an empty logger name means the root logger. */
    void Info(const std::string &message, const std::string &logger, const log4cxx::spi::LocationInfo &location);
    void Warn(const std::string &message, const std::string &logger, const log4cxx::spi::LocationInfo &location);
    void Error(const std::string &message, const std::string &logger, const log4cxx::spi::LocationInfo &location);

private:
    struct State;
    std::unique_ptr<State> m_pState;
};

} // namespace details

/** The process's logger. */
class CORVANE_API CLog
{
public:
    CLog() = delete;
    /** The same object for every module of the process. */
    [[nodiscard]] static details::CLog *getInstance();
};

} // namespace Base

#endif
