#ifndef DEVICE_ONVIF_USERTOKEN_H
#define DEVICE_ONVIF_USERTOKEN_H

#include "device/src/Address.h"
#include "device/src/Bytes.h"

#include <string>

namespace selvik
{

/** Random bytes for one token. */
[[nodiscard]] Bytes makeNonce();

/**
 * The SOAP header's wsse:Security element for one request, with a digest in the password's place:
 * base64(SHA-1(nonce + created + password)), by OASIS's Web Services Security UsernameToken Profile 1.0. `created` is
 * of the device's clock.
 */
[[nodiscard]] std::string userToken(const Credentials &credentials, const std::string &created, const Bytes &nonce);

} // namespace selvik

#endif
