#ifndef DEVICE_DATAGRAMPORTS_H
#define DEVICE_DATAGRAMPORTS_H

#include "device/src/Socket.h"

namespace selvik
{

/**
 * Two sockets for one medium: RTP on an even port and RTCP on the next one (RFC 3550, 11). Cameras rely on that,
 * whatever numbers they are told.
 *
 * Threads: one at a time. Owns: the sockets.
 */
struct DatagramPorts {
    Socket rtp;
    Socket rtcp;

    /** Failure(SELVIK_ERROR_RESOURCES) where no such pair is free. */
    [[nodiscard]] static DatagramPorts bind(bool bIpv6);
};

} // namespace selvik

#endif
