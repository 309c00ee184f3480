#ifndef DEVICE_INTERLEAVEDPACKET_H
#define DEVICE_INTERLEAVEDPACKET_H

#include "device/src/Bytes.h"

namespace selvik
{

/** An interleaved packet: "$", the channel, the length and the data, between two answers. Borrows its bytes. */
struct InterleavedPacket {
    int nChannel = 0;
    ByteView data;
};

} // namespace selvik

#endif
