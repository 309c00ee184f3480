#ifndef DEVICE_TRANSPORT_H
#define DEVICE_TRANSPORT_H

#include <cstdint>
#include <optional>
#include <string>

namespace selvik
{

/** What a camera's Transport header says about the way of one medium (RFC 2326, 12.39). Threads: a value. */
struct Transport {
    /** Of "a-b"; -1 where there is none. */
    struct Numbers {
        int nFirst = -1;
        int nSecond = -1;
    };

    Numbers interleaved;
    Numbers ports; /**< the camera's */
    Numbers groupPorts;
    std::string group; /**< that the media are sent to, as the camera writes it; empty where there is none */
    std::string host;  /**< that the media come from, numeric; empty where it is the one that answers */
    std::optional<std::uint32_t> source;

    [[nodiscard]] static Transport parse(const std::string &header);
    /** 0 for what is no port. */
    [[nodiscard]] static unsigned short serverPort(int nNumber)
    {
        return nNumber > 0 && nNumber <= 0xFFFF ? static_cast<unsigned short>(nNumber) : std::uint16_t(0);
    }
};

} // namespace selvik

#endif
