// The questions for credentials that a camera asks one after the other: WWW-Authenticate lines, an empty line between
// two questions.
#include "device/src/Authenticator.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <string>
#include <vector>

using pellora::test::mustHold;
using selvik::Authenticator;

namespace
{

constexpr const char *kPassword = "rtsp-password";

/** The fuzzer reads along where texts are compared, and asks with the password in its question. */
bool isGuessed(const std::vector<std::string> &lines)
{
    return std::any_of(lines.begin(), lines.end(),
                       [](const std::string &line) { return line.find("rtsp") != std::string::npos; });
}

/** Two requests of which each is answered, if the camera asked. */
void answer(Authenticator &authenticator, const std::vector<std::string> &lines, bool bRefused)
{
    const bool bAgain = authenticator.challenge(lines, bRefused);
    for (const char *pMethod : {"DESCRIBE", "SETUP"}) {
        const std::string text = authenticator.authorization(pMethod, "rtsp://camera/live");
        mustHold(!bAgain || !text.empty(), "a question that is worth another attempt is answered");
        mustHold(text.find('\n') == std::string::npos, "an answer is one line");
        mustHold(text.find(kPassword) == std::string::npos || isGuessed(lines), "no answer holds the password");
    }
}

} // namespace

void pellora::test::fuzz(FuzzInput &input)
{
    const std::uint8_t choice = input.choose();
    if (choice == 0xFF) {
        input.repeatUpTo(16 * 1024);
    }
    const FuzzTime time(1000);
    const bool bAnonymous = (choice & 1) != 0;
    Authenticator authenticator(bAnonymous ? selvik::Credentials{} : selvik::Credentials{"viewer", kPassword},
                                [] { return std::string("0123456789abcdef"); });
    std::vector<std::string> lines(1);
    for (const std::uint8_t byte : input.bytes()) {
        if (byte != '\n') {
            lines.back() += static_cast<char>(byte);
        } else if (lines.back().empty()) {
            answer(authenticator, lines, (choice & 2) != 0);
            lines.assign(1, {});
        } else {
            lines.emplace_back();
        }
    }
    answer(authenticator, lines, (choice & 2) != 0);
}
