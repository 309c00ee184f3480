#include "device/src/Location.h"

#include "device/src/Text.h"

namespace selvik
{

namespace
{

bool hasScheme(const std::string &location)
{
    const std::size_t end = location.find_first_of(":/?#");
    return end != std::string::npos && end > 0 && location[end] == ':';
}

/** The location with a scheme and a host. */
std::string absolute(const Address &present, const std::string &location)
{
    const std::string here = present.url();
    const std::size_t host = here.find("://") + 3;
    if (hasScheme(location)) {
        return location;
    }
    if (startsWith(location, "//")) {
        return here.substr(0, host - 2) + location;
    }
    const std::size_t path = std::min(here.find_first_of("/?#", host), here.size());
    if (location.front() == '/') {
        return here.substr(0, path) + location;
    }
    const std::size_t query = std::min(here.find_first_of("?#", path), here.size());
    if (location.front() == '?') {
        return here.substr(0, query) + location;
    }
    // Beside the last part of the present path.
    const std::size_t slash = here.rfind('/', query);
    const bool bInPath = slash != std::string::npos && slash >= path;
    return (bInPath ? here.substr(0, slash + 1) : here.substr(0, path) + "/") + location;
}

} // namespace

std::optional<Address> resolveLocation(const Address &login, const std::string &loginRemote, const Address &present,
                                       const std::string &location)
{
    if (location.empty()) {
        return std::nullopt;
    }
    std::optional<Address> target = Address::parse(absolute(present, location), {});
    if (!target || (login.isRtsp() ? !target->isRtsp() : !target->isHttp())) {
        return std::nullopt;
    }
    const bool bSameHost =
        lowerCase(target->host()) == lowerCase(login.host()) || (!loginRemote.empty() && target->host() == loginRemote);
    const bool bWeaker = login.isEncrypted() && !target->isEncrypted();
    target->setCredentials(bSameHost && !bWeaker ? login.credentials() : Credentials());
    return target;
}

} // namespace selvik
