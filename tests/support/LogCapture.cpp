#include "tests/support/LogCapture.h"

#include "base/CLog.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/loggingevent.h>

#include <windows.h>

#include <atomic>
#include <fstream>
#include <mutex>

namespace support
{

// The library's class macros expect to be used where this name is known.
namespace helpers = log4cxx::helpers;

namespace
{

// log4cxx 1.5 hands out a signature only in pieces, whereas readers of the log match on the whole. An explicit
// instantiation may name a private member, which is how the whole comes out.
template <const char *log4cxx::spi::LocationInfo::*Member>
struct SignatureAccess {
    friend const char *signatureOf(const log4cxx::spi::LocationInfo &location)
    {
        return location.*Member;
    }
};
const char *signatureOf(const log4cxx::spi::LocationInfo &location);
template struct SignatureAccess<&log4cxx::spi::LocationInfo::methodName>;

std::string temporaryFile(const char *name)
{
    wchar_t folder[MAX_PATH];
    const DWORD length = GetTempPathW(MAX_PATH, folder);
    std::string path;
    for (DWORD i = 0; i < length; ++i) {
        path += static_cast<char>(folder[i]);
    }
    return path + std::to_string(GetCurrentProcessId()) + name;
}

} // namespace

class MemoryAppender : public log4cxx::AppenderSkeleton
{
public:
    DECLARE_LOG4CXX_OBJECT(MemoryAppender)
    BEGIN_LOG4CXX_CAST_MAP()
    LOG4CXX_CAST_ENTRY(MemoryAppender)
    LOG4CXX_CAST_ENTRY_CHAIN(log4cxx::AppenderSkeleton)
    END_LOG4CXX_CAST_MAP()

    void close() override {}

    bool requiresLayout() const override
    {
        return false;
    }

    /** Until then lines are dropped: the configured appender's are nobody's, and would fill the memory of long tests.
     */
    void keep()
    {
        m_bKeeps = true;
    }

    std::vector<LogLine> lines() const
    {
        const std::lock_guard<std::mutex> lock(m_linesMutex);
        return m_lines;
    }

    void clear()
    {
        const std::lock_guard<std::mutex> lock(m_linesMutex);
        m_lines.clear();
    }

protected:
    void append(const log4cxx::spi::LoggingEventPtr &event, log4cxx::helpers::Pool &) override
    {
        if (!m_bKeeps) {
            return;
        }
        const log4cxx::spi::LocationInfo &location = event->getLocationInformation();
        LogLine line;
        line.level = event->getLevel()->toString();
        line.message = event->getRenderedMessage();
        line.file = location.getFileName();
        line.function = signatureOf(location);
        line.line = location.getLineNumber();
        line.logger = event->getLoggerName();
        const std::lock_guard<std::mutex> lock(m_linesMutex);
        m_lines.push_back(line);
    }

private:
    std::atomic<bool> m_bKeeps{false};
    mutable std::mutex m_linesMutex;
    std::vector<LogLine> m_lines;
};

std::ostream &operator<<(std::ostream &stream, const LogLine &line)
{
    return stream << line.level << ' ' << line.message << " [" << line.file << ':' << line.line << ' ' << line.function
                  << ']';
}

void startLogger()
{
    const std::string path = temporaryFile("-test.properties");
    // The logger insists on an appender; this one's lines are nobody's.
    std::ofstream(path) << "log4j.rootLogger=INFO, test\nlog4j.appender.test=MemoryAppender\n";
    Base::CLog::getInstance()->InitLog(path);
    DeleteFileA(path.c_str());
}

void stopLogger()
{
    Base::CLog::getInstance()->UninitLog();
}

LogCapture::LogCapture() : m_pAppender(std::make_shared<MemoryAppender>())
{
    m_pAppender->keep();
    log4cxx::Logger::getRootLogger()->addAppender(m_pAppender);
}

LogCapture::~LogCapture()
{
    log4cxx::Logger::getRootLogger()->removeAppender(m_pAppender);
}

std::vector<LogLine> LogCapture::lines() const
{
    return m_pAppender->lines();
}

LogLine LogCapture::first() const
{
    const std::vector<LogLine> all = lines();
    return all.empty() ? LogLine() : all.front();
}

std::vector<std::string> LogCapture::texts() const
{
    std::vector<std::string> texts;
    for (const LogLine &line : lines()) {
        texts.push_back(line.level + ' ' + line.message);
    }
    return texts;
}

void LogCapture::clear()
{
    m_pAppender->clear();
}

// At the end: the macro opens a namespace log4cxx in here, which hides the library's.
IMPLEMENT_LOG4CXX_OBJECT(MemoryAppender)

} // namespace support
