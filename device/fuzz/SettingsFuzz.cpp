// The settings file beside the library.
#include "device/src/Settings.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <string>

void pellora::test::fuzz(FuzzInput &input)
{
    if (input.choose() == 0xFF) {
        input.repeatUpTo(64 * 1024 - 1024);
    }
    const FuzzTime time(500);
    const selvik::Settings settings = selvik::Settings::parse({input.bytes().data(), input.bytes().size()});
    mustHold(settings.complaints.size() <= 100, "complaints are bounded");
    for (const std::string &complaint : settings.complaints) {
        mustHold(!complaint.empty() && complaint.size() < 1000, "a complaint is a line of words");
        mustHold(complaint.find('\n') == std::string::npos, "a complaint is one line");
    }
    const std::string text(input.bytes().begin(), input.bytes().end());
    mustHold(!settings.bVerifyCertificates || text.find('=') != std::string::npos,
             "nothing is set where nothing is said");
}
