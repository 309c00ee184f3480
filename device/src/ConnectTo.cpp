#include "device/src/ConnectTo.h"

#include "device/src/Resolver.h"
#include "device/src/Settings.h"
#include "device/src/TcpStream.h"
#include "device/src/TlsStream.h"

namespace selvik
{

namespace
{

// A host of several addresses: one that never answers must leave time for the next one.
constexpr Milliseconds kTimeForOneAddress{1500};

} // namespace

Connected connectTo(const std::string &host, unsigned short port, bool bEncrypted, const Patience &patience,
                    const std::string &name)
{
    const std::vector<std::string> addresses = resolveHost(host, patience);
    for (std::size_t i = 0;; ++i) {
        const bool bLast = i + 1 == addresses.size();
        const Patience part = bLast ? patience : patience.atMost(kTimeForOneAddress);
        const Endpoint remote = {addresses[i], port};
        try {
            if (bEncrypted) {
                return {std::make_unique<TlsStream>(remote, name.empty() ? host : name, verifyCertificates(), part),
                        addresses[i]};
            }
            return {std::make_unique<TcpStream>(Socket::connectTcp(remote, part)), addresses[i]};
        } catch (const Failure &failure) {
            // A certificate that is refused is the host's word; another of its addresses would only hide it.
            if (bLast || failure.error() == SELVIK_ERROR_REFUSED) {
                throw;
            }
        }
    }
}

} // namespace selvik
