// The address that a host logs in with, or that a camera sends the library to.
#include "device/src/Address.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <string>

using pellora::test::mustHold;
using selvik::Address;

namespace
{

const selvik::Credentials kGiven = {"given-user", "given-password"};

/** A zone means something on this machine only, and goes into no request. */
std::string withoutZone(const std::string &host)
{
    return host.find(':') == std::string::npos ? host : host.substr(0, host.find('%'));
}

/** What is written as an address is read as the same one. */
void expectTheSame(const Address &address, const std::string &text)
{
    const std::optional<Address> again = Address::parse(text, kGiven);
    mustHold(again.has_value(), "an address that was written can be read");
    mustHold(again->scheme() == address.scheme() && withoutZone(again->host()) == withoutZone(address.host()) &&
                 again->port() == address.port(),
             "an address that was written leads to the same place");
}

} // namespace

void pellora::test::fuzz(FuzzInput &input)
{
    if (input.choose() == 0xFF) {
        input.repeatUpTo(8 * 1024);
    }
    const FuzzTime time(500);
    const std::string text(input.bytes().begin(), input.bytes().end());
    const std::string filled = Address::fill(text, 4294967295U, 26);
    mustHold(filled.find("{channel}") == std::string::npos && filled.find("{stream}") == std::string::npos,
             "every placeholder is filled in");
    const std::optional<Address> address = Address::parse(text, kGiven);
    if (!address) {
        return;
    }
    if (address->scheme() == Address::Scheme::File) {
        mustHold(!address->fileName().empty(), "a file has a name");
        return;
    }
    const std::string url = address->url();
    mustHold(std::none_of(url.begin(), url.end(), [](char letter) { return letter == '\r' || letter == '\n'; }),
             "an address cannot end a line of a request");
    mustHold(!address->host().empty() && address->port() != 0, "an address leads to a place");
    expectTheSame(*address, url);
    // Without credentials of its own the address as requests name it takes those that are given.
    mustHold(Address::parse(url, kGiven)->credentials().user == kGiven.user, "a request names no credentials");
    expectTheSame(address->at(address->host(), {}), url);
}
