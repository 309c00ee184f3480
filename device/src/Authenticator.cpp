#include "device/src/Authenticator.h"

#include "device/src/Ffmpeg.h"
#include "device/src/Text.h"

extern "C" {
#include <libavutil/base64.h>
}

#include <cstdio>
#include <random>
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

std::string base64(const std::string &text)
{
    std::string encoded(AV_BASE64_SIZE(text.size()), '\0');
    av_base64_encode(encoded.data(), static_cast<int>(encoded.size()),
                     reinterpret_cast<const std::uint8_t *>(text.data()), static_cast<int>(text.size()));
    return encoded.c_str();
}

std::string clientNonce()
{
    std::random_device random;
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", random(), random());
    return text;
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

Authenticator::Authenticator(Credentials credentials) : m_credentials(std::move(credentials)) {}

Authenticator::Fields Authenticator::parseFields(const std::string &text)
{
    Fields fields;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t equals = text.find('=', at);
        if (equals == std::string::npos) {
            break;
        }
        const std::string name = lowerCase(trimmed(text.substr(at, equals - at)));
        std::string value;
        at = equals + 1;
        if (at < text.size() && text[at] == '"') {
            for (++at; at < text.size() && text[at] != '"'; ++at) {
                if (text[at] == '\\' && at + 1 < text.size()) {
                    ++at;
                }
                value += text[at];
            }
            at = text.find(',', at);
        } else {
            const std::size_t end = text.find(',', at);
            value = trimmed(text.substr(at, end == std::string::npos ? std::string::npos : end - at));
            at = end;
        }
        fields.emplace(name, value);
        at = at == std::string::npos ? text.size() : at + 1;
    }
    return fields;
}

bool Authenticator::challenge(const std::vector<std::string> &headers)
{
    if (m_credentials.empty()) {
        return false;
    }
    Kind best = Kind::None;
    Fields bestFields;
    bool bBestSha256 = false;
    for (const std::string &header : headers) {
        const std::string kind = lowerCase(header.substr(0, header.find(' ')));
        if (kind == "basic" && best == Kind::None) {
            best = Kind::Basic;
        } else if (kind == "digest") {
            const Fields fields = parseFields(header.substr(std::min(header.size(), kind.size() + 1)));
            const auto algorithm = fields.find("algorithm");
            const std::string name = algorithm == fields.end() ? "md5" : lowerCase(algorithm->second);
            const bool bSha256 = name == "sha-256";
            if ((bSha256 || name == "md5") && fields.count("nonce") != 0 && (best != Kind::Digest || bSha256)) {
                best = Kind::Digest;
                bestFields = fields;
                bBestSha256 = bSha256;
            }
        }
    }
    // A device sends a fresh nonce when the last one has expired, and also when the password is wrong. Another attempt
    // is made only where it says that the last nonce was stale.
    const auto stale = bestFields.find("stale");
    const bool bStale = stale != bestFields.end() && lowerCase(stale->second) == "true";
    const bool bAgain = best != Kind::None && (!m_bAnswered || (best == Kind::Digest && bStale));
    m_kind = best;
    m_fields = std::move(bestFields);
    m_bSha256 = bBestSha256;
    m_nUses = 0;
    return bAgain;
}

std::string Authenticator::hash(const std::string &text) const
{
    return hexHash(m_bSha256 ? "SHA256" : "MD5", text);
}

std::string Authenticator::digest(const std::string &method, const std::string &url)
{
    const std::string realm = m_fields["realm"];
    const std::string nonce = m_fields["nonce"];
    const std::string first = hash(m_credentials.user + ":" + realm + ":" + m_credentials.password);
    const std::string second = hash(method + ":" + url);
    bool bQop = false;
    for (const std::string &qop : split(m_fields["qop"], ',')) {
        bQop = bQop || lowerCase(qop) == "auth";
    }
    std::string text = "Digest username=" + quoted(m_credentials.user) + ", realm=" + quoted(realm) +
                       ", nonce=" + quoted(nonce) + ", uri=" + quoted(url);
    if (m_fields.count("algorithm") != 0) {
        text += ", algorithm=" + m_fields["algorithm"];
    }
    if (m_fields.count("opaque") != 0) {
        text += ", opaque=" + quoted(m_fields["opaque"]);
    }
    if (!bQop) {
        return text + ", response=" + quoted(hash(first + ":" + nonce + ":" + second));
    }
    char count[9];
    std::snprintf(count, sizeof count, "%08x", ++m_nUses);
    const std::string cnonce = clientNonce();
    const std::string response = hash(first + ":" + nonce + ":" + count + ":" + cnonce + ":auth:" + second);
    return text + ", qop=auth, nc=" + count + ", cnonce=" + quoted(cnonce) + ", response=" + quoted(response);
}

std::string Authenticator::authorization(const std::string &method, const std::string &url)
{
    if (m_kind == Kind::None) {
        return {};
    }
    m_bAnswered = true;
    return m_kind == Kind::Basic ? "Basic " + base64(m_credentials.user + ":" + m_credentials.password)
                                 : digest(method, url);
}

} // namespace selvik
