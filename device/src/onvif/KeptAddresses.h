#ifndef DEVICE_ONVIF_KEPTADDRESSES_H
#define DEVICE_ONVIF_KEPTADDRESSES_H

#include "device/src/Address.h"

#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace selvik
{

/**
 * The streams' addresses that a device has answered, by channel and stream type; they live as long as a log-in.
 *
 * Threads: any.
 */
class KeptAddresses
{
public:
    using Stream = std::pair<unsigned int, unsigned int>;

    [[nodiscard]] std::optional<Address> find(const Stream &stream) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_addresses.find(stream);
        return found == m_addresses.end() ? std::nullopt : std::make_optional(found->second);
    }
    void keep(const Stream &stream, const Address &address)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_addresses.insert_or_assign(stream, address);
    }
    void forget(const Stream &stream)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_addresses.erase(stream);
    }

private:
    mutable std::mutex m_mutex;
    std::map<Stream, Address> m_addresses;
};

} // namespace selvik

#endif
