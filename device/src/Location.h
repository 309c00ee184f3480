#ifndef DEVICE_LOCATION_H
#define DEVICE_LOCATION_H

#include "device/src/Address.h"

#include <optional>
#include <string>

namespace selvik
{

/**
 * Where a device sends its client by a Location header, absolute or relative to the present address.
 *
 * The credentials are those of the log-in's address, where the target is on the same host and no weaker encrypted; else
 * there are none. Those inside the header are the device's own words, and are never used.
 * @param loginRemote the numeric address that the log-in's host has, which is the same host; may be empty
 * @return nothing where that is no address of the log-in's kind, RTSP or HTTP
 */
[[nodiscard]] std::optional<Address> resolveLocation(const Address &login, const std::string &loginRemote,
                                                     const Address &present, const std::string &location);

} // namespace selvik

#endif
