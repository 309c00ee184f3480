#ifndef DEVICE_RTSPRESPONSE_H
#define DEVICE_RTSPRESPONSE_H

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace selvik
{

/** A device's answer to one request; names of headers in lower case. Threads: a value. */
struct RtspResponse {
    int nStatus = 0;
    std::multimap<std::string, std::string> headers;
    std::string body;

    /** Reads status line and headers, as sloppily as devices write them; nothing when the first line is no status. */
    [[nodiscard]] static std::optional<RtspResponse> parse(const std::string &head);

    /** The first header of that name; empty where there is none. */
    [[nodiscard]] std::string header(const std::string &name) const;
    [[nodiscard]] std::vector<std::string> allOf(const std::string &name) const;
    [[nodiscard]] bool isSuccess() const
    {
        return nStatus >= 200 && nStatus < 300;
    }
};

} // namespace selvik

#endif
