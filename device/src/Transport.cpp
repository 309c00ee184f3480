#include "device/src/Transport.h"

#include "device/src/Text.h"

#include <cstdlib>

namespace selvik
{

namespace
{

Transport::Numbers numbersOf(const std::string &value)
{
    Transport::Numbers numbers;
    numbers.nFirst = leadingNumber(value);
    const std::size_t dash = value.find('-');
    numbers.nSecond = dash == std::string::npos ? numbers.nFirst + 1 : leadingNumber(value.substr(dash + 1));
    return numbers;
}

bool isNumeric(const std::string &host)
{
    // A name would have to be resolved, and most of those that cameras send are their own alone.
    const bool bIpv6 = host.find(':') != std::string::npos;
    const char *pAllowed = bIpv6 ? "0123456789abcdefABCDEF:." : "0123456789.";
    return !host.empty() && host.size() <= 45 && host.find_first_not_of(pAllowed) == std::string::npos;
}

} // namespace

Transport Transport::parse(const std::string &header)
{
    Transport transport;
    for (const std::string &part : split(header, ';')) {
        const std::size_t equals = part.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string name = lowerCase(trimmed(part.substr(0, equals)));
        const std::string value = trimmed(part.substr(equals + 1));
        if (name == "interleaved") {
            transport.interleaved = numbersOf(value);
        } else if (name == "server_port") {
            transport.ports = numbersOf(value);
        } else if (name == "port") {
            transport.groupPorts = numbersOf(value);
        } else if (name == "destination") {
            transport.group = value;
        } else if (name == "source" && isNumeric(value)) {
            transport.host = value;
        } else if (name == "ssrc" && !value.empty()) {
            transport.source = static_cast<std::uint32_t>(std::strtoull(value.c_str(), nullptr, 16));
        }
    }
    return transport;
}

} // namespace selvik
