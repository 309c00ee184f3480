#ifndef DEVICE_ONVIF_HTTPRESPONSE_H
#define DEVICE_ONVIF_HTTPRESPONSE_H

#include <map>
#include <string>
#include <vector>

namespace selvik
{

/** An answer to one HTTP request, whatever its status; names of headers in lower case. Threads: a value. */
struct HttpResponse {
    int nStatus = 0;
    std::multimap<std::string, std::string> headers;
    std::string body;
    bool bGoesOn = false; /**< the connection takes another request */

    /** The first header of that name; empty where there is none. */
    [[nodiscard]] std::string header(const std::string &name) const
    {
        const auto found = headers.lower_bound(name);
        return found != headers.end() && found->first == name ? found->second : std::string();
    }
    [[nodiscard]] std::vector<std::string> allOf(const std::string &name) const
    {
        std::vector<std::string> values;
        const auto [begin, end] = headers.equal_range(name);
        for (auto it = begin; it != end; ++it) {
            values.push_back(it->second);
        }
        return values;
    }
};

} // namespace selvik

#endif
