#include "interface/LogAddress.h"

namespace pellora
{

std::string addressForLog(const std::string &address)
{
    constexpr const char *pHidden = "***";
    const std::size_t nSchemeEnd = address.find("://");
    const std::size_t nRest = nSchemeEnd == std::string::npos ? 0 : nSchemeEnd + 3;
    const std::size_t nAt = address.rfind('@');
    std::string shown = address.substr(0, nRest);
    std::size_t nTail = nRest;
    if (nAt != std::string::npos && nAt >= nRest) {
        shown += pHidden;
        nTail = nAt;
    }
    const std::size_t nQuery = address.find_first_of("?=&", nTail);
    shown += address.substr(nTail, nQuery == std::string::npos ? nQuery : nQuery - nTail);
    return nQuery == std::string::npos ? shown : shown + pHidden;
}

} // namespace pellora
