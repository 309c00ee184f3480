#include "device/src/onvif/UserToken.h"

#include "device/src/Ffmpeg.h"
#include "device/src/Text.h"
#include "device/src/onvif/XmlDocument.h"

#include <random>

namespace selvik
{

namespace
{

constexpr std::size_t kNonceSize = 16;
constexpr std::size_t kSha1Size = 20;

// The names that the profile and WS-Security 1.0 fix.
constexpr const char *kOasis = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-";

Bytes sha1(const Bytes &bytes)
{
    AVHashContext *pContext = nullptr;
    if (av_hash_alloc(&pContext, "SHA160") < 0) {
        throw std::bad_alloc();
    }
    Bytes result(kSha1Size);
    av_hash_init(pContext);
    av_hash_update(pContext, bytes.data(), bytes.size());
    av_hash_final_bin(pContext, result.data(), static_cast<int>(result.size()));
    av_hash_freep(&pContext);
    return result;
}

} // namespace

Bytes makeNonce()
{
    std::random_device random;
    Bytes nonce(kNonceSize);
    for (std::uint8_t &byte : nonce) {
        byte = static_cast<std::uint8_t>(random());
    }
    return nonce;
}

// Without "mustUnderstand": a device that knows HTTP's digest alone would answer with a fault instead of asking for it.
std::string userToken(const Credentials &credentials, const std::string &created, const Bytes &nonce)
{
    Bytes digested = nonce;
    digested.insert(digested.end(), created.begin(), created.end());
    digested.insert(digested.end(), credentials.password.begin(), credentials.password.end());
    const Bytes digest = sha1(digested);
    const std::string oasis = kOasis;
    return "<wsse:Security xmlns:wsse=\"" + oasis + "wssecurity-secext-1.0.xsd\" xmlns:wsu=\"" + oasis +
           "wssecurity-utility-1.0.xsd\"><wsse:UsernameToken><wsse:Username>" + xmlEscaped(credentials.user) +
           "</wsse:Username><wsse:Password Type=\"" + oasis + "username-token-profile-1.0#PasswordDigest\">" +
           base64({digest.data(), digest.size()}) + "</wsse:Password><wsse:Nonce EncodingType=\"" + oasis +
           "soap-message-security-1.0#Base64Binary\">" + base64({nonce.data(), nonce.size()}) +
           "</wsse:Nonce><wsu:Created>" + created + "</wsu:Created></wsse:UsernameToken></wsse:Security>";
}

} // namespace selvik
