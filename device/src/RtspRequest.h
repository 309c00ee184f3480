#ifndef DEVICE_RTSPREQUEST_H
#define DEVICE_RTSPREQUEST_H

#include "device/src/RtspMessage.h"

#include <optional>

namespace selvik
{

/** A device's own request. Threads: a value. */
struct RtspRequest : RtspMessage {
    std::string method;

    /** Reads request line and headers; nothing when the first line does not end as one. */
    [[nodiscard]] static std::optional<RtspRequest> parse(const std::string &head);

    /** What it is to be answered with, without a body. */
    [[nodiscard]] std::string answer() const;
};

} // namespace selvik

#endif
