#include "device/src/RtspMessage.h"

#include "device/src/Text.h"

namespace selvik
{

void RtspMessage::readHeaders(const std::vector<std::string> &headLines)
{
    for (std::size_t i = 1; i < headLines.size(); ++i) {
        readHeader(headLines[i]);
    }
}

void RtspMessage::readHeader(const std::string &line)
{
    const std::size_t colon = line.find(':');
    if (colon != std::string::npos) {
        // Values come back in requests: nonces, sessions, addresses.
        headers.emplace(lowerCase(trimmed(line.substr(0, colon))), trimmed(onOneLine(line.substr(colon + 1))));
    }
}

std::string RtspMessage::header(const std::string &name) const
{
    const auto found = headers.lower_bound(name);
    return found != headers.end() && found->first == name ? found->second : std::string();
}

std::vector<std::string> RtspMessage::allOf(const std::string &name) const
{
    std::vector<std::string> values;
    const auto [begin, end] = headers.equal_range(name);
    for (auto it = begin; it != end; ++it) {
        values.push_back(it->second);
    }
    return values;
}

} // namespace selvik
