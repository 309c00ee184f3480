#ifndef TESTS_SUPPORT_LOGCAPTURE_H
#define TESTS_SUPPORT_LOGCAPTURE_H

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace support
{

class MemoryAppender;

struct LogLine {
    std::string level; /**< "INFO", "WARN", "ERROR" */
    std::string message;
    std::string file;
    std::string function; /**< the whole signature, as it was handed to the logger */
    int line = 0;
    std::string logger;
};

std::ostream &operator<<(std::ostream &stream, const LogLine &line);

/** Starts the process's logger from a properties file that the test writes: info and up, no output of its own. */
void startLogger();
void stopLogger();

/**
 * Records what reaches the root logger while it lives.
 *
 * Threads: lines may come from any; everything else on one.
 */
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    [[nodiscard]] std::vector<LogLine> lines() const;
    /** An empty line when there is none. */
    [[nodiscard]] LogLine first() const;
    /** Level and message: "ERROR Kavun_Play error: 2.". */
    [[nodiscard]] std::vector<std::string> texts() const;
    void clear();

private:
    std::shared_ptr<MemoryAppender> m_pAppender;
};

} // namespace support

#endif
