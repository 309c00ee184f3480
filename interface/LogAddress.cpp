#include "interface/LogAddress.h"

namespace pellora
{

namespace
{

constexpr const char *kHidden = "***";

/** What may be shown of a cut address behind its scheme: the host, or nothing. */
std::string hostForLog(const std::string &rest)
{
    const std::size_t nAt = rest.rfind('@');
    const std::size_t nHost = nAt == std::string::npos ? 0 : nAt + 1;
    const std::size_t nEnd = rest.find('/', nHost);
    const std::string host = rest.substr(nHost, nEnd == std::string::npos ? 0 : nEnd - nHost);
    const bool bPlain = host.find_first_of("?=&") == std::string::npos &&
                        (nAt != std::string::npos || host.find(':') == std::string::npos);
    return (nAt != std::string::npos ? kHidden : "") + (bPlain ? host : "") + (bPlain && !host.empty() ? "/" : "") +
           kHidden;
}

} // namespace

std::string addressForLog(const std::string &address, bool bCut)
{
    const std::size_t nSchemeEnd = address.find("://");
    const std::size_t nRest = nSchemeEnd == std::string::npos ? 0 : nSchemeEnd + 3;
    const std::size_t nAt = address.rfind('@');
    std::string shown = address.substr(0, nRest);
    if (bCut) {
        return shown + hostForLog(address.substr(nRest));
    }
    std::size_t nTail = nRest;
    if (nAt != std::string::npos && nAt >= nRest) {
        shown += kHidden;
        nTail = nAt;
    }
    const std::size_t nQuery = address.find_first_of("?=&", nTail);
    shown += address.substr(nTail, nQuery == std::string::npos ? nQuery : nQuery - nTail);
    return nQuery == std::string::npos ? shown : shown + kHidden;
}

} // namespace pellora
