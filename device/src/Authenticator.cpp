#include "device/src/Authenticator.h"

#include "device/src/Ffmpeg.h"
#include "device/src/Text.h"

#include <cstdio>
#include <utility>

namespace selvik
{

namespace
{

std::string hexHash(const char *pAlgorithm, const std::string &text)
{
    AVHashContext *pContext = nullptr;
    if (av_hash_alloc(&pContext, pAlgorithm) < 0) {
        throw std::bad_alloc();
    }
    std::string result(2 * AV_HASH_MAX_SIZE + 1, '\0');
    av_hash_init(pContext);
    av_hash_update(pContext, reinterpret_cast<const std::uint8_t *>(text.data()), text.size());
    av_hash_final_hex(pContext, reinterpret_cast<std::uint8_t *>(result.data()), static_cast<int>(result.size()));
    av_hash_freep(&pContext);
    return result.c_str();
}

std::string quoted(const std::string &text)
{
    std::string result = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') {
            result += '\\';
        }
        result += letter;
    }
    return result + "\"";
}

} // namespace

Authenticator::Authenticator(Credentials credentials, std::function<std::string()> nonce)
    : m_credentials(std::move(credentials)), m_nonce(std::move(nonce))
{
}

bool Authenticator::challenge(const std::vector<std::string> &headers, bool bRefused)
{
    if (m_credentials.empty()) {
        return false;
    }
    const Kind before = std::exchange(m_kind, Kind::None);
    m_challenge = {};
    for (const std::string &header : headers) {
        for (Challenge &offer : Challenge::parse(header)) {
            const std::string algorithm = lowerCase(offer.parameter("algorithm"));
            const bool bSha256 = startsWith(algorithm, "sha-256");
            const bool bKnown = algorithm.empty() || algorithm == "md5" || algorithm == "md5-sess" ||
                                algorithm == "sha-256" || algorithm == "sha-256-sess";
            if (offer.scheme == "basic" && m_kind == Kind::None) {
                m_kind = Kind::Basic;
            } else if (offer.scheme == "digest" && bKnown && offer.parameters.count("nonce") != 0 &&
                       (m_kind != Kind::Digest || (bSha256 && !m_bSha256))) {
                m_kind = Kind::Digest;
                m_bSha256 = bSha256;
                m_bSession = algorithm.find("-sess") != std::string::npos;
                m_challenge = std::move(offer);
            }
        }
    }
    m_clientNonce = m_nonce();
    m_nUses = 0;
    if (m_kind != Kind::Digest) {
        // The same answer would be refused again.
        return m_kind == Kind::Basic && !bRefused && before != Kind::Basic;
    }
    // A device sends a fresh nonce when the last one has expired, and some with every request. It does so, too, when
    // the password is wrong: then the same request is refused twice, and the last nonce was not stale.
    return !bRefused || lowerCase(m_challenge.parameter("stale")) == "true";
}

std::string Authenticator::hash(const std::string &text) const
{
    return hexHash(m_bSha256 ? "SHA256" : "MD5", text);
}

std::string Authenticator::qop() const
{
    std::string chosen;
    for (const std::string &offer : split(lowerCase(m_challenge.parameter("qop")), ',')) {
        if (offer == "auth" || (offer == "auth-int" && chosen.empty())) {
            chosen = offer;
        }
    }
    return chosen;
}

std::string Authenticator::digest(const std::string &method, const std::string &url)
{
    const std::string realm = m_challenge.parameter("realm");
    const std::string nonce = m_challenge.parameter("nonce");
    std::string first = hash(m_credentials.user + ":" + realm + ":" + m_credentials.password);
    if (m_bSession) {
        first = hash(first + ":" + nonce + ":" + m_clientNonce);
    }
    const std::string quality = qop();
    const std::string body = quality == "auth-int" ? ":" + hash({}) : std::string();
    const std::string second = hash(method + ":" + url + body);
    std::string text = "Digest username=" + quoted(m_credentials.user) + ", realm=" + quoted(realm) +
                       ", nonce=" + quoted(nonce) + ", uri=" + quoted(url);
    if (!m_challenge.parameter("algorithm").empty()) {
        text += ", algorithm=" + m_challenge.parameter("algorithm");
    }
    if (m_challenge.parameters.count("opaque") != 0) {
        text += ", opaque=" + quoted(m_challenge.parameter("opaque"));
    }
    std::string middle = nonce;
    if (!quality.empty()) {
        char count[9];
        std::snprintf(count, sizeof count, "%08x", ++m_nUses);
        text += ", qop=" + quality + ", nc=" + count;
        middle += std::string(":") + count + ":" + m_clientNonce + ":" + quality;
    }
    if (!quality.empty() || m_bSession) {
        text += ", cnonce=" + quoted(m_clientNonce);
    }
    return text + ", response=" + quoted(hash(first + ":" + middle + ":" + second));
}

std::string Authenticator::authorization(const std::string &method, const std::string &url)
{
    if (m_kind == Kind::None) {
        return {};
    }
    if (m_kind == Kind::Digest) {
        return digest(method, url);
    }
    const std::string pair = m_credentials.user + ":" + m_credentials.password;
    return "Basic " + base64({reinterpret_cast<const std::uint8_t *>(pair.data()), pair.size()});
}

} // namespace selvik
