// Where a camera sends its client: an address to log in to, a line break, and a Location header.
#include "device/src/Location.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <string>

void pellora::test::fuzz(FuzzInput &input)
{
    const bool bEncrypted = (input.choose() & 1) != 0;
    const FuzzTime time(500);
    const std::string text(input.bytes().begin(), input.bytes().end());
    const selvik::Credentials given = {"given-user", "given-password"};
    const std::string host = "camera.example";
    const std::optional<selvik::Address> login =
        selvik::Address::parse((bEncrypted ? "rtsps://" : "rtsp://") + host + "/live", given);
    mustHold(login.has_value(), "the address to log in to is one");
    const std::size_t end = std::min(text.find('\n'), text.size());
    const selvik::Address present = selvik::Address::parse(text.substr(0, end), {}).value_or(*login);
    const std::string location = end < text.size() ? text.substr(end + 1) : text;
    const std::optional<selvik::Address> target = selvik::resolveLocation(*login, "192.0.2.7", present, location);
    if (!target) {
        return;
    }
    mustHold(target->isRtsp(), "a redirection leads to another RTSP address");
    const std::string url = target->url();
    mustHold(std::none_of(url.begin(), url.end(), [](char letter) { return letter == '\r' || letter == '\n'; }),
             "an address cannot end a line of a request");
    if (target->credentials().empty()) {
        return;
    }
    mustHold(target->credentials().user == given.user && target->credentials().password == given.password,
             "no credentials but the user's are used");
    mustHold(!bEncrypted || target->scheme() == selvik::Address::Scheme::Rtsps,
             "credentials never go by a weaker scheme");
    std::string reached = target->host();
    std::transform(reached.begin(), reached.end(), reached.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    mustHold(reached == host || reached == "192.0.2.7", "credentials never go to another host");
}
