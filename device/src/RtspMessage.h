#ifndef DEVICE_RTSPMESSAGE_H
#define DEVICE_RTSPMESSAGE_H

#include <map>
#include <string>
#include <vector>

namespace selvik
{

/** What answers and requests have in common; names of headers in lower case. Threads: a value. */
struct RtspMessage {
    std::multimap<std::string, std::string> headers;
    std::string body;

    /** The first header of that name; empty where there is none. */
    [[nodiscard]] std::string header(const std::string &name) const;
    [[nodiscard]] std::vector<std::string> allOf(const std::string &name) const;
    /** Reads a line of a head; one without a colon means nothing. */
    void readHeader(const std::string &line);

protected:
    /** Reads what follows the first line, as sloppily as devices write it. */
    void readHeaders(const std::vector<std::string> &headLines);
};

} // namespace selvik

#endif
