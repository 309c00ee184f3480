#include "device/src/Settings.h"

#include "device/src/Module.h"
#include "device/src/Text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace selvik
{

namespace
{

constexpr std::size_t kMaxSize = 64 * 1024;
constexpr std::size_t kMaxComplaints = 8;
constexpr std::size_t kMaxQuoted = 40;

/** As much of a text as a line of the log bears. */
std::string quoted(const std::string &text)
{
    std::string result = "\"";
    for (const char letter : text.substr(0, kMaxQuoted)) {
        const bool bPrintable = static_cast<unsigned char>(letter) >= 0x20 && letter != 0x7F;
        result += bPrintable ? letter : '?';
    }
    return result + (text.size() > kMaxQuoted ? "...\"" : "\"");
}

class Parser
{
public:
    void line(const std::string &text)
    {
        ++m_nLine;
        if (text.empty() || text.front() == ';' || text.front() == '#') {
            return;
        }
        if (text.front() == '[') {
            const std::size_t close = text.find(']');
            m_section = close == std::string::npos ? std::string() : lowerCase(trimmed(text.substr(1, close - 1)));
            if (m_section.empty()) {
                complain(quoted(text) + " is no section");
                m_section = "?";
            }
            return;
        }
        if (m_section.empty()) {
            complain(quoted(text) + " stands before the first section");
        } else if (m_section == "device") {
            setting(text);
        }
    }

    Settings settings;

private:
    void setting(const std::string &text)
    {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) {
            complain(quoted(text) + " is no \"key = value\"");
            return;
        }
        const std::string key = lowerCase(trimmed(text.substr(0, equals)));
        if (key != "verify_certificates") {
            complain("section [device] knows no key " + quoted(key));
            return;
        }
        const std::string value = lowerCase(trimmed(text.substr(equals + 1)));
        if (value == "yes" || value == "true" || value == "on" || value == "1") {
            settings.bVerifyCertificates = true;
        } else if (value == "no" || value == "false" || value == "off" || value == "0") {
            settings.bVerifyCertificates = false;
        } else {
            complain("verify_certificates is yes or no, not " + quoted(value));
        }
    }

    void complain(const std::string &what)
    {
        if (settings.complaints.size() < kMaxComplaints) {
            settings.complaints.push_back("Pellora.ini, line " + std::to_string(m_nLine) + ": " + what +
                                          "; it is left out.");
        }
    }

    std::string m_section;
    int m_nLine = 0;
};

} // namespace

Settings Settings::parse(ByteView bytes)
{
    Parser parser;
    if (bytes.size > kMaxSize) {
        parser.settings.complaints.emplace_back("Pellora.ini is larger than 64 KiB; it is left out.");
        return parser.settings;
    }
    std::string text(bytes.begin(), bytes.end());
    if (startsWith(text, "\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
    if (text.find('\0') != std::string::npos) {
        parser.settings.complaints.emplace_back("Pellora.ini is no text in UTF-8; it is left out.");
        return parser.settings;
    }
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        parser.line(trimmed(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return parser.settings;
}

Settings Settings::read(const std::string &fileName)
{
    std::ifstream file(std::filesystem::u8path(fileName), std::ios::binary);
    // One more than is allowed, to see that there is more.
    Bytes bytes(kMaxSize + 1);
    file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return parse({bytes.data(), static_cast<std::size_t>(std::max<std::streamsize>(0, file.gcount()))});
}

bool verifyCertificates()
{
    static const bool bVerify = [] {
        const std::string folder = libraryFolder();
        const Settings settings = folder.empty() ? Settings() : Settings::read(folder + "/Pellora.ini");
        for (const std::string &complaint : settings.complaints) {
            tellDeveloper(complaint);
        }
        return settings.bVerifyCertificates;
    }();
    return bVerify;
}

} // namespace selvik
