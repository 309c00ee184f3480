#include "device/src/DatagramPorts.h"

namespace selvik
{

DatagramPorts DatagramPorts::bind(bool bIpv6)
{
    constexpr int kMostAttempts = 50;
    for (int nAttempt = 0; nAttempt < kMostAttempts; ++nAttempt) {
        Socket probe = Socket::bindUdp(bIpv6, 0);
        const unsigned short port = probe.isValid() ? probe.localPort() : 0;
        if (port == 0 || port % 2 != 0 || port == 0xFFFF) {
            continue;
        }
        Socket next = Socket::bindUdp(bIpv6, static_cast<unsigned short>(port + 1));
        if (next.isValid()) {
            return {std::move(probe), std::move(next)};
        }
    }
    throw Failure(SELVIK_ERROR_RESOURCES);
}

} // namespace selvik
