#include "device/src/onvif/AnsweredAddress.h"

namespace selvik
{

namespace
{

constexpr std::size_t kMaxAddress = 2048;

std::optional<Address> parseAnswered(std::string text)
{
    const std::size_t host = text.find("://");
    if (host == std::string::npos || text.size() > kMaxAddress || text.find(' ') != std::string::npos) {
        return std::nullopt;
    }
    const char first = text.size() > host + 3 ? text[host + 3] : '/';
    if (first == ':' || first == '/') {
        // A device that does not know its own address leaves it out. It is replaced in any case.
        text.insert(host + 3, "0.0.0.0");
    }
    return Address::parse(text, {});
}

} // namespace

std::optional<HttpTarget> serviceTarget(const std::string &answered, const HttpTarget &from)
{
    const std::optional<Address> address = parseAnswered(answered);
    if (!address || !address->isHttp()) {
        return std::nullopt;
    }
    HttpTarget target = from;
    const bool bEncrypted = address->isEncrypted();
    if (bEncrypted || !from.bEncrypted) {
        target.bEncrypted = bEncrypted;
        target.port = address->port();
    }
    target.path = address->path().empty() || address->path().front() != '/' ? "/" : address->path();
    return target;
}

std::optional<Address> streamAddress(const std::string &answered, const Address &device)
{
    const std::optional<Address> address = parseAnswered(answered);
    if (!address || (!address->isRtsp() && !address->isHttp())) {
        return std::nullopt;
    }
    return address->at(device.host(), device.credentials().empty() ? address->credentials() : device.credentials());
}

} // namespace selvik
