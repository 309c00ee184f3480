#ifndef DEVICE_LOGINTABLE_H
#define DEVICE_LOGINTABLE_H

#include "device/src/Address.h"
#include "device/src/onvif/KeptAddresses.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace selvik
{

/** An address with placeholders, and the credentials for it. */
struct Login {
    std::string address;
    Credentials credentials;
    std::shared_ptr<KeptAddresses> kept = std::make_shared<KeptAddresses>(); /**< what an ONVIF device has answered */
};

/**
 * The log-ins of the process. Identifiers count up from 0 and are never handed out twice.
 *
 * Threads: any.
 */
class LoginTable
{
public:
    [[nodiscard]] long add(Login login)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_logins.emplace(m_lNext, std::move(login));
        return m_lNext++;
    }

    [[nodiscard]] bool remove(long userID)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_logins.erase(userID) != 0;
    }

    /** Allocates nothing. */
    [[nodiscard]] bool has(long userID) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_logins.count(userID) != 0;
    }

    [[nodiscard]] std::optional<Login> find(long userID) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_logins.find(userID);
        return found == m_logins.end() ? std::nullopt : std::make_optional(found->second);
    }

private:
    mutable std::mutex m_mutex;
    std::map<long, Login> m_logins;
    long m_lNext = 0;
};

} // namespace selvik

#endif
