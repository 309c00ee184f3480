#ifndef DEVICE_AUTHENTICATOR_H
#define DEVICE_AUTHENTICATOR_H

#include "device/src/Address.h"
#include "device/src/Challenge.h"
#include "device/src/Text.h"

#include <functional>
#include <string>
#include <vector>

namespace selvik
{

/**
 * Answers a device's question for credentials: digest where it offers that, else basic.
 *
 * Digest is that of RFC 7616, with MD5 or SHA-256, each also "-sess", with qop auth, auth-int or none; requests are
 * taken to have no body. Threads: one at a time. Owns: a copy of the credentials, which leave it only inside
 * authorization().
 */
class Authenticator
{
public:
    /** `nonce` makes the client's part of each digest; by default of random numbers. */
    explicit Authenticator(Credentials credentials, std::function<std::string()> nonce = &randomWord);

    /**
     * Takes the device's WWW-Authenticate headers. Whether another attempt makes sense: not without credentials, nor
     * when `bRefused`, unless the device says that its question was out of date.
     * @param bRefused this very request was sent with an answer to a question of its own before
     */
    [[nodiscard]] bool challenge(const std::vector<std::string> &headers, bool bRefused);
    /** The Authorization header's value for one request; empty while the device has not asked. */
    [[nodiscard]] std::string authorization(const std::string &method, const std::string &url);

private:
    enum class Kind { None, Basic, Digest };

    [[nodiscard]] std::string digest(const std::string &method, const std::string &url);
    [[nodiscard]] std::string hash(const std::string &text) const;
    /** "auth" or "auth-int", whichever is to be answered with; empty where the device has asked for neither. */
    [[nodiscard]] std::string qop() const;

    Credentials m_credentials;
    std::function<std::string()> m_nonce;
    Kind m_kind = Kind::None;
    Challenge m_challenge; /**< the digest question in force */
    bool m_bSha256 = false;
    bool m_bSession = false;   /**< "-sess" */
    std::string m_clientNonce; /**< one for each question, on which "-sess" stands */
    unsigned int m_nUses = 0;  /**< of the nonce in force */
};

} // namespace selvik

#endif
