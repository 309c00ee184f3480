#ifndef DEVICE_CONNECTTO_H
#define DEVICE_CONNECTTO_H

#include "device/src/ByteStream.h"

#include <memory>
#include <string>

namespace selvik
{

/** A connection, and the numeric address that it leads to. */
struct Connected {
    std::unique_ptr<ByteStream> stream;
    std::string remoteHost;
};

/**
 * Connects to a host by its name or number, at the first of its addresses that answers; encrypted, the host's
 * certificate is checked where the settings say so.
 *
 * @param name whom the certificate is to be for, where `host` is its number already; else empty
 * Errors: Failure with the last address's error, or SELVIK_ERROR_REFUSED for a certificate; Failure and Stopped as
 * Patience::check(). Threads: any.
 */
[[nodiscard]] Connected connectTo(const std::string &host, unsigned short port, bool bEncrypted,
                                  const Patience &patience, const std::string &name = {});

} // namespace selvik

#endif
