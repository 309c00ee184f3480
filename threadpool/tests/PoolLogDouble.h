#ifndef THREADPOOL_TESTS_POOLLOGDOUBLE_H
#define THREADPOOL_TESTS_POOLLOGDOUBLE_H

#include <algorithm>
#include <atomic>
#include <ios>
#include <iostream>
#include <sstream>
#include <string>

namespace publicdatacontroller
{

/** How often the pool logged since the start of the program. */
struct PoolLogCounts {
    std::atomic<int> full{0};
    std::atomic<int> threw{0};
};

PoolLogCounts &poolLogCounts();

/**
 * Catches the standard output while it lives.
 *
 * Threads: made before and destroyed after the threads that print; those of one queue print under its lock. lines() is
 *          for any thread, text() for when the others have ended.
 */
class CaughtOutput
{
public:
    CaughtOutput() : m_pBefore(std::cout.rdbuf(&m_buffer)) {}
    ~CaughtOutput()
    {
        std::cout.rdbuf(m_pBefore);
    }
    CaughtOutput(const CaughtOutput &) = delete;
    CaughtOutput &operator=(const CaughtOutput &) = delete;

    [[nodiscard]] std::string text() const
    {
        return m_buffer.str();
    }

    [[nodiscard]] int lines() const
    {
        return m_buffer.m_nLines;
    }

private:
    /** Counts the lines that pass. */
    class Buffer : public std::stringbuf
    {
    public:
        std::atomic<int> m_nLines{0};

    protected:
        std::streamsize xsputn(const char *pText, std::streamsize length) override
        {
            const std::streamsize written = std::stringbuf::xsputn(pText, length);
            m_nLines += static_cast<int>(std::count(pText, pText + length, '\n'));
            return written;
        }
    };

    Buffer m_buffer;
    std::streambuf *m_pBefore;
};

/** How often `what` stands in `text`. */
int occurrences(const std::string &text, const std::string &what);

} // namespace publicdatacontroller

#endif
