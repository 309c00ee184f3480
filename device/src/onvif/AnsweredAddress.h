#ifndef DEVICE_ONVIF_ANSWEREDADDRESS_H
#define DEVICE_ONVIF_ANSWEREDADDRESS_H

#include "device/src/Address.h"
#include "device/src/onvif/HttpClient.h"

#include <optional>
#include <string>

namespace selvik
{

// What the addresses that a device answers mean. The host in them is never believed, since devices answer private or
// stale ones, names that nobody resolves, or none at all: it is the one that was reached. Port and path are kept.

/**
 * Where a service of the device is: nothing for what is no http or https address. Never plain where `from`, by which it
 * was learnt, is encrypted: then `from` with the path alone.
 */
[[nodiscard]] std::optional<HttpTarget> serviceTarget(const std::string &answered, const HttpTarget &from);

/**
 * Where a stream of `device` is, an onvif address whose credentials it gets, if there are any: nothing for what is no
 * rtsp, rtsps, http or https address.
 */
[[nodiscard]] std::optional<Address> streamAddress(const std::string &answered, const Address &device);

} // namespace selvik

#endif
