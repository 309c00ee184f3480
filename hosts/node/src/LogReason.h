#ifndef HOSTS_NODE_LOGREASON_H
#define HOSTS_NODE_LOGREASON_H

#include <string>
#include <vector>
#include <windows.h>

namespace pellora::node
{

/**
 * Finds in the library's log why a call has failed.
 *
 * The library has no other place for reasons. The log file is the one that addon.log4cxx.properties beside the library
 * names; only its end is read, and only after a failure.
 *
 * Threads: any, one at a time.
 * Errors:  an empty reason: the file is elsewhere, its level leaves out warnings, or the library said it before.
 */
class LogReason
{
public:
    explicit LogReason(const std::wstring &libraryFolder);

    /** The text of the warning or error that followed the last call of this function, without the function's name. */
    [[nodiscard]] std::string of(const std::string &function) const;

    /** The same in a log's text. */
    [[nodiscard]] static std::string in(const std::string &log, const std::string &function);

private:
    std::vector<std::wstring> m_paths;
};

} // namespace pellora::node

#endif
