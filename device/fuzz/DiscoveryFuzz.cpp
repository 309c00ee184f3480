// A datagram that answers the search for ONVIF devices.
#include "device/src/Address.h"
#include "device/src/onvif/Discovery.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <string>

void pellora::test::fuzz(FuzzInput &input)
{
    if (input.choose() == 0xFF) {
        input.repeatUpTo(64 * 1024);
    }
    const FuzzTime time(1500);
    const std::string datagram(input.bytes().begin(), input.bytes().end());
    for (const selvik::FoundDevice &device : selvik::Discovery::readAnswer(datagram, "192.0.2.7")) {
        for (const std::string &text : {device.name, device.hardware, device.address}) {
            mustHold(std::none_of(text.begin(), text.end(),
                                  [](char letter) { return static_cast<unsigned char>(letter) < 0x20; }),
                     "what a device says of itself has no control characters");
            mustHold(text.size() <= 4096, "what a device says of itself is bounded");
        }
        const std::optional<selvik::Address> address = selvik::Address::parse(device.address, {});
        mustHold(address.has_value() && address->scheme() == selvik::Address::Scheme::Onvif,
                 "the address is one to log in with");
        mustHold(address->host() == "192.0.2.7", "the address is that of whoever answered");
    }
}
