#include "device/src/RtspResponse.h"

#include "device/src/Text.h"

namespace selvik
{

std::optional<RtspResponse> RtspResponse::parse(const std::string &head)
{
    const std::vector<std::string> headLines = lines(head);
    if (headLines.empty() || !startsWith(headLines.front(), "RTSP/")) {
        return std::nullopt;
    }
    RtspResponse response;
    const std::size_t blank = headLines.front().find(' ');
    response.nStatus = blank == std::string::npos ? 0 : leadingNumber(trimmed(headLines.front().substr(blank)));
    if (response.nStatus < 100 || response.nStatus > 999) {
        return std::nullopt;
    }
    for (std::size_t i = 1; i < headLines.size(); ++i) {
        const std::size_t colon = headLines[i].find(':');
        if (colon != std::string::npos) {
            response.headers.emplace(lowerCase(trimmed(headLines[i].substr(0, colon))),
                                     trimmed(headLines[i].substr(colon + 1)));
        }
    }
    return response;
}

std::string RtspResponse::header(const std::string &name) const
{
    const auto found = headers.lower_bound(name);
    return found != headers.end() && found->first == name ? found->second : std::string();
}

std::vector<std::string> RtspResponse::allOf(const std::string &name) const
{
    std::vector<std::string> values;
    const auto [begin, end] = headers.equal_range(name);
    for (auto it = begin; it != end; ++it) {
        values.push_back(it->second);
    }
    return values;
}

} // namespace selvik
