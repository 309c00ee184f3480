#include "base/CLog.h"

#include "base/src/base/LogConfiguration.h"

#include <log4cxx/fileappender.h>
#include <log4cxx/helpers/loglog.h>
#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/propertyconfigurator.h>
#include <log4cxx/spi/location/locationinfo.h>
#include <log4cxx/spi/loggerrepository.h>

#include <cstdio>
#include <mutex>
#include <shared_mutex>

namespace Base
{
namespace details
{
namespace
{

bool configure(log4cxx::helpers::Properties &properties)
{
    return log4cxx::PropertyConfigurator::configure(properties) == log4cxx::spi::ConfigurationStatus::Configured;
}

bool configureFromFile(const std::string &path)
{
    try {
        log4cxx::helpers::Properties properties;
        return readLogConfiguration(path, properties) && configure(properties) &&
               !log4cxx::LogManager::getRootLogger()->getAllAppenders().empty();
    } catch (const std::exception &) {
        // A file that cannot be understood; the caller reports it.
        return false;
    }
}

/** log4cxx opens its files while it is configured, and goes on without one that it cannot open. */
void reportFilesOf(const log4cxx::LoggerPtr &pLogger)
{
    for (const log4cxx::AppenderPtr &pAppender : pLogger->getAllAppenders()) {
        const auto pFileAppender = std::dynamic_pointer_cast<log4cxx::FileAppender>(pAppender);
        if (pFileAppender == nullptr) {
            continue;
        }
        std::string path;
        log4cxx::helpers::Transcoder::encodeUTF8(pFileAppender->getFile(), path);
        if (!canAppendTo(path)) {
            std::fprintf(stderr, "Corvane: the log file \"%s\" cannot be opened; what belongs there is lost\n",
                         path.c_str());
        }
    }
}

void reportUnopenedFiles()
{
    reportFilesOf(log4cxx::LogManager::getRootLogger());
    for (const log4cxx::LoggerPtr &pLogger : log4cxx::LogManager::getCurrentLoggers()) {
        reportFilesOf(pLogger);
    }
}

/**
 * log4cxx destroys its loggers when the process ends, after the system has stopped all other threads, and waits for
 * ever for the lock of an appender that one of those was writing to. With a share that nobody gives back they stay;
 * every line is in its file by then.
 */
void keepLoggersToTheEnd()
{
    static const auto *const pKept = new log4cxx::spi::LoggerRepositoryPtr(log4cxx::LogManager::getLoggerRepository());
    static_cast<void>(pKept);
}

void closeAppenders()
{
    log4cxx::LogManager::resetConfiguration();
}

} // namespace

struct CLog::State {
    // Shared by those who log; taken alone to start and to stop.
    std::shared_mutex mutex;
    bool started = false;

    void write(const log4cxx::LevelPtr &level, const std::string &message, const std::string &name,
               const log4cxx::spi::LocationInfo &location) noexcept;
};

void CLog::State::write(const log4cxx::LevelPtr &level, const std::string &message, const std::string &name,
                        const log4cxx::spi::LocationInfo &location) noexcept
{
    try {
        const std::shared_lock<std::shared_mutex> lock(mutex);
        if (!started) {
            return;
        }
        const log4cxx::LoggerPtr pLogger =
            name.empty() ? log4cxx::LogManager::getRootLogger() : log4cxx::LogManager::getLogger(name);
        if (!pLogger->isEnabledFor(level)) {
            return;
        }
        log4cxx::LogString text;
        log4cxx::helpers::Transcoder::decodeUTF8(message, text);
        pLogger->forcedLogLS(level, text, location);
    } catch (...) {
        // A message that cannot be logged must not disturb what it reports.
        return;
    }
}

CLog::CLog() : m_pState(std::make_unique<State>()) {}

CLog::~CLog() = default;

void CLog::InitLog(const std::string &path)
{
    try {
        const std::unique_lock<std::shared_mutex> lock(m_pState->mutex);
        // Its own complaints would say the same as the one line below, at length.
        log4cxx::helpers::LogLog::setQuietMode(true);
        keepLoggersToTheEnd();
        if (m_pState->started) {
            closeAppenders();
        }
        if (!configureFromFile(path)) {
            std::fprintf(stderr,
                         "Corvane: no usable log configuration in \"%s\"; warnings and errors go to standard error\n",
                         path.c_str());
            closeAppenders();
            log4cxx::helpers::Properties properties;
            fillDefaultLogConfiguration(properties);
            configure(properties);
        } else {
            reportUnopenedFiles();
        }
        m_pState->started = true;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "Corvane: the logger cannot be started: %s\n", error.what());
    }
}

void CLog::UninitLog()
{
    try {
        const std::unique_lock<std::shared_mutex> lock(m_pState->mutex);
        if (m_pState->started) {
            m_pState->started = false;
            closeAppenders();
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "Corvane: the logger cannot be stopped: %s\n", error.what());
    }
}

bool CLog::isStarted() const
{
    const std::shared_lock<std::shared_mutex> lock(m_pState->mutex);
    return m_pState->started;
}

void CLog::Info(const std::string &message, const std::string &logger, const log4cxx::spi::LocationInfo &location)
{
    m_pState->write(log4cxx::Level::getInfo(), message, logger, location);
}

void CLog::Warn(const std::string &message, const std::string &logger, const log4cxx::spi::LocationInfo &location)
{
    m_pState->write(log4cxx::Level::getWarn(), message, logger, location);
}

void CLog::Error(const std::string &message, const std::string &logger, const log4cxx::spi::LocationInfo &location)
{
    m_pState->write(log4cxx::Level::getError(), message, logger, location);
}

} // namespace details

details::CLog *CLog::getInstance()
{
    return CSingleton<details::CLog>::getInstance();
}

} // namespace Base
