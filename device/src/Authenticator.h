#ifndef DEVICE_AUTHENTICATOR_H
#define DEVICE_AUTHENTICATOR_H

#include "device/src/Address.h"

#include <map>
#include <string>
#include <vector>

namespace selvik
{

/**
 * Answers a device's question for credentials: digest (MD5 or SHA-256, with or without qop) where it offers that, else
 * basic.
 *
 * Threads: one at a time. Owns: a copy of the credentials, which leave it only inside authorization().
 */
class Authenticator
{
public:
    explicit Authenticator(Credentials credentials);

    /**
     * Takes the device's WWW-Authenticate headers. Whether another attempt makes sense: not without credentials, nor
     * when the device has refused an answer to this very question.
     */
    [[nodiscard]] bool challenge(const std::vector<std::string> &headers);
    /** The Authorization header's value for one request; empty while the device has not asked. */
    [[nodiscard]] std::string authorization(const std::string &method, const std::string &url);

private:
    using Fields = std::map<std::string, std::string>;
    enum class Kind { None, Basic, Digest };

    [[nodiscard]] static Fields parseFields(const std::string &text);
    [[nodiscard]] std::string digest(const std::string &method, const std::string &url);
    [[nodiscard]] std::string hash(const std::string &text) const;

    Credentials m_credentials;
    Kind m_kind = Kind::None;
    Fields m_fields; /**< of the digest question in force */
    bool m_bSha256 = false;
    bool m_bAnswered = false; /**< the question in force was answered once */
    unsigned int m_nUses = 0; /**< of the nonce in force */
};

} // namespace selvik

#endif
