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
    response.readHeaders(headLines);
    return response;
}

} // namespace selvik
