#include "device/src/Address.h"

#include "device/src/Text.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace selvik
{

namespace
{

struct SchemeName {
    const char *pText;
    Address::Scheme scheme;
    unsigned short port;
};

constexpr std::array<SchemeName, 5> kNetworkSchemes = {{{"rtsp", Address::Scheme::Rtsp, 554},
                                                        {"rtsps", Address::Scheme::Rtsps, 322},
                                                        {"http", Address::Scheme::Http, 80},
                                                        {"https", Address::Scheme::Https, 443},
                                                        {"onvif", Address::Scheme::Onvif, 80}}};

const SchemeName &nameOf(Address::Scheme scheme)
{
    return *std::find_if(kNetworkSchemes.begin(), kNetworkSchemes.end(),
                         [scheme](const SchemeName &name) { return name.scheme == scheme; });
}

/** A port number of 1 to 65535; 0 for anything else. */
unsigned short parsePort(const std::string &text)
{
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos) {
        return 0;
    }
    const unsigned long port = std::stoul(text);
    return port > 0xFFFF ? 0 : static_cast<unsigned short>(port);
}

/** "fe80::1%25eth0" as the system writes it, with a plain "%" (RFC 6874); many write it so from the start. */
std::string withZone(std::string host)
{
    const std::size_t percent = host.find('%');
    if (percent != std::string::npos && host.compare(percent, 3, "%25") == 0 && percent + 3 < host.size()) {
        host.erase(percent + 1, 2);
    }
    return host;
}

/** Whether it looks like a number of IPv6, with or without a zone behind it: nothing else stands in brackets. */
bool isIpv6(const std::string &text)
{
    const std::string number = text.substr(0, text.find('%'));
    return number.find(':') != std::string::npos &&
           number.find_first_not_of("0123456789abcdefABCDEF:.") == std::string::npos;
}

/** "host", "host:port", "[v6]:port" into their parts; an empty host where that is none of them. */
struct HostAndPort {
    std::string host;
    std::string port;
    bool bPort = false;
};

HostAndPort splitHost(const std::string &text)
{
    HostAndPort result;
    std::size_t end = 0;
    if (!text.empty() && text.front() == '[') {
        const std::size_t close = text.find(']');
        if (close == std::string::npos || !isIpv6(text.substr(1, close - 1))) {
            return result;
        }
        result.host = withZone(text.substr(1, close - 1));
        end = close + 1;
    } else {
        end = std::min(text.find(':'), text.size());
        result.host = text.substr(0, end);
    }
    if (end < text.size()) {
        if (text[end] != ':') {
            result.host.clear();
            return result;
        }
        result.bPort = true;
        result.port = text.substr(end + 1);
    }
    return result;
}

bool hasControlCharacter(const std::string &text)
{
    // With a line break, an address could add lines of its own to a request.
    return std::any_of(text.begin(), text.end(),
                       [](char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; });
}

} // namespace

std::optional<Address> Address::parse(const std::string &text, const Credentials &credentials)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || hasControlCharacter(text)) {
        return std::nullopt;
    }
    const std::string scheme = lowerCase(text.substr(0, colon));
    if (scheme == "file") {
        return parseFile(text.substr(colon + 1));
    }
    const auto *const pName = std::find_if(kNetworkSchemes.begin(), kNetworkSchemes.end(),
                                           [&scheme](const SchemeName &name) { return scheme == name.pText; });
    if (pName == kNetworkSchemes.end() || text.compare(colon, 3, "://") != 0) {
        return std::nullopt;
    }

    Address address;
    address.m_scheme = pName->scheme;
    const std::string rest = text.substr(colon + 3);
    const std::size_t pathBegin = std::min(rest.find_first_of("/?#"), rest.size());
    // A password may hold an unescaped "/" or "@". So the credentials end at the last "@" before the query that is
    // followed by what can be a host.
    std::size_t at = rest.rfind('@', pathBegin);
    std::size_t hostEnd = pathBegin;
    if (at == std::string::npos && rest.find('@') != std::string::npos) {
        const std::size_t late = rest.find('@');
        const HostAndPort first = splitHost(rest.substr(0, pathBegin));
        const bool bPlace = !first.host.empty() && (!first.bPort || parsePort(first.port) != 0);
        if (rest.substr(0, late).find(':') < pathBegin && !bPlace) {
            at = late;
            hostEnd = std::min(rest.find_first_of("/?#", late), rest.size());
        }
    }
    std::size_t hostBegin = 0;
    address.m_credentials = credentials;
    if (at != std::string::npos) {
        const std::string own = rest.substr(0, at);
        const std::size_t separator = std::min(own.find(':'), own.size());
        address.m_credentials.user = percentDecoded(own.substr(0, separator));
        address.m_credentials.password =
            separator < own.size() ? percentDecoded(own.substr(separator + 1)) : std::string();
        hostBegin = at + 1;
    }
    const HostAndPort where = splitHost(rest.substr(hostBegin, hostEnd - hostBegin));
    address.m_host = where.host;
    address.m_bPortGiven = where.bPort;
    address.m_port = where.bPort ? parsePort(where.port) : pName->port;
    address.m_path = rest.substr(hostEnd);
    if (address.m_host.empty() || address.m_port == 0 ||
        address.m_host.find_first_of(" \\@\"[]") != std::string::npos) {
        return std::nullopt;
    }
    return address;
}

std::optional<Address> Address::parseFile(const std::string &rest)
{
    Address address;
    address.m_scheme = Scheme::File;
    address.m_path = rest;
    if (rest.compare(0, 2, "//") == 0) {
        // file://[localhost]/path, where the path is percent-encoded and a drive stands behind a slash.
        const std::size_t slash = rest.find('/', 2);
        const std::string host = rest.substr(2, slash == std::string::npos ? std::string::npos : slash - 2);
        if (slash == std::string::npos || (!host.empty() && lowerCase(host) != "localhost")) {
            return std::nullopt;
        }
        address.m_path = percentDecoded(rest.substr(slash));
        const bool bDrive = address.m_path.size() > 2 && address.m_path[2] == ':' &&
                            std::isalpha(static_cast<unsigned char>(address.m_path[1])) != 0;
        if (bDrive) {
            address.m_path.erase(0, 1);
        }
    }
    if (address.m_path.empty() || address.m_path == "/") {
        return std::nullopt;
    }
    return address;
}

std::string Address::fill(std::string text, unsigned int channel, unsigned int streamType)
{
    const std::array<std::pair<std::string, std::string>, 2> values = {
        {{"{channel}", std::to_string(channel)}, {"{stream}", std::to_string(streamType)}}};
    for (const auto &[name, value] : values) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + value.size())) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

Address Address::at(const std::string &host, const Credentials &credentials) const
{
    Address address = *this;
    address.m_host = host;
    address.m_credentials = credentials;
    return address;
}

std::string Address::hostAndPort() const
{
    // A zone means something on this machine only.
    const std::string host =
        m_host.find(':') == std::string::npos ? m_host : "[" + m_host.substr(0, m_host.find('%')) + "]";
    return m_bPortGiven ? host + ":" + std::to_string(m_port) : host;
}

std::string Address::url() const
{
    if (m_scheme == Scheme::File) {
        return "file:" + m_path;
    }
    return std::string(nameOf(m_scheme).pText) + "://" + hostAndPort() + m_path;
}

Address Address::asHttp() const
{
    Address address = *this;
    address.m_scheme = m_scheme == Scheme::Rtsps ? Scheme::Https : Scheme::Http;
    // The other scheme has another port where none is named.
    address.m_bPortGiven = true;
    return address;
}

} // namespace selvik
