#include "companion/SettingsFile.h"

#include "companion/Notice.h"
#include "companion/OwnModule.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace companion
{

namespace
{

constexpr std::size_t kMaxSize = 64 * 1024;
constexpr std::size_t kMaxComplaints = 8;
constexpr std::size_t kMaxQuoted = 40;
constexpr char kBlanks[] = " \t\r\n\v\f";

std::string trimmed(const std::string &text)
{
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/** Whatever the locale is. */
std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    return text;
}

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
    Parser(const std::string &section, const std::vector<Switch> &switches) : m_wanted(section), m_switches(switches) {}

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
        } else if (m_section == m_wanted) {
            setting(text);
        }
    }

    Complaints complaints;

private:
    void setting(const std::string &text)
    {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) {
            complain(quoted(text) + " is no \"key = value\"");
            return;
        }
        const std::string key = lowerCase(trimmed(text.substr(0, equals)));
        const auto found = std::find_if(m_switches.begin(), m_switches.end(),
                                        [&key](const Switch &entry) { return key == entry.pKey; });
        if (found == m_switches.end()) {
            complain("section [" + m_wanted + "] knows no key " + quoted(key));
            return;
        }
        const std::string value = lowerCase(trimmed(text.substr(equals + 1)));
        if (value == "yes" || value == "true" || value == "on" || value == "1") {
            *found->pValue = true;
        } else if (value == "no" || value == "false" || value == "off" || value == "0") {
            *found->pValue = false;
        } else {
            complain(key + " is yes or no, not " + quoted(value));
        }
    }

    void complain(const std::string &what)
    {
        if (complaints.size() < kMaxComplaints) {
            complaints.push_back("Pellora.ini, line " + std::to_string(m_nLine) + ": " + what + "; it is left out.");
        }
    }

    const std::string m_wanted;
    const std::vector<Switch> &m_switches;
    std::string m_section;
    int m_nLine = 0;
};

} // namespace

Complaints parseSettings(std::string text, const std::string &section, const std::vector<Switch> &switches)
{
    if (text.size() > kMaxSize) {
        return {"Pellora.ini is larger than 64 KiB; it is left out."};
    }
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        text.erase(0, 3);
    }
    if (text.find('\0') != std::string::npos) {
        return {"Pellora.ini is no text in UTF-8; it is left out."};
    }
    Parser parser(section, switches);
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        parser.line(trimmed(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return parser.complaints;
}

Complaints readSettingsFile(const std::string &fileName, const std::string &section,
                            const std::vector<Switch> &switches)
{
    std::ifstream file(std::filesystem::u8path(fileName), std::ios::binary);
    // One more than is allowed, to see that there is more.
    std::string text(kMaxSize + 1, ' ');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, file.gcount())));
    return parseSettings(std::move(text), section, switches);
}

void readSettings(const char *pLibrary, const std::string &section, const std::vector<Switch> &switches)
{
    const std::string folder = libraryFolder();
    if (folder.empty()) {
        return;
    }
    for (const std::string &complaint : readSettingsFile(folder + "/Pellora.ini", section, switches)) {
        notice(pLibrary, complaint);
    }
}

} // namespace companion
