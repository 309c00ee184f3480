#include "threadpool/tests/PoolLogDouble.h"

#include "threadpool/PoolLog.h"

namespace publicdatacontroller
{

PoolLogCounts &poolLogCounts()
{
    static PoolLogCounts counts;
    return counts;
}

void logSyncQueueFull() noexcept
{
    ++poolLogCounts().full;
}

void logTaskThrew() noexcept
{
    ++poolLogCounts().threw;
}

int occurrences(const std::string &text, const std::string &what)
{
    int count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) {
        ++count;
    }
    return count;
}

} // namespace publicdatacontroller
