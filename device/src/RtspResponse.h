#ifndef DEVICE_RTSPRESPONSE_H
#define DEVICE_RTSPRESPONSE_H

#include "device/src/RtspMessage.h"

#include <optional>

namespace selvik
{

/** A device's answer to one request. Threads: a value. */
struct RtspResponse : RtspMessage {
    int nStatus = 0;

    /** Reads status line and headers; nothing when the first line is no status. */
    [[nodiscard]] static std::optional<RtspResponse> parse(const std::string &head);

    [[nodiscard]] bool isSuccess() const
    {
        return nStatus >= 200 && nStatus < 300;
    }
    [[nodiscard]] bool isRedirection() const
    {
        return nStatus >= 300 && nStatus < 400 && !header("location").empty();
    }
};

} // namespace selvik

#endif
