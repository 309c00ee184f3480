#include "tests/support/ExportNames.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace support
{

namespace
{

std::string contents(const std::string &path)
{
    // Wine's drive Z: is the file system that the sources are in.
    std::ifstream file("Z:" PELLORA_SOURCE_FOLDER "/" + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

std::set<std::string> exportedNames(HMODULE module)
{
    std::set<std::string> names;
    const auto *base = reinterpret_cast<const unsigned char *>(module);
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS64 *>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY &entry = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    if (entry.Size == 0) {
        return names;
    }
    const auto *table = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY *>(base + entry.VirtualAddress);
    const auto *nameOffsets = reinterpret_cast<const DWORD *>(base + table->AddressOfNames);
    for (DWORD i = 0; i < table->NumberOfNames; ++i) {
        names.insert(reinterpret_cast<const char *>(base + nameOffsets[i]));
    }
    return names;
}

std::set<std::string> declaredFunctions(const std::string &headerPath, const std::string &prefix)
{
    static const std::regex comments(R"(/\*[^*]*\*+([^/*][^*]*\*+)*/|//[^\n]*)");
    const std::string text = std::regex_replace(contents(headerPath), comments, " ");
    const std::regex declaration("(" + prefix + R"(\w+)\s*\()");
    std::set<std::string> names;
    for (std::sregex_iterator found(text.begin(), text.end(), declaration), end; found != end; ++found) {
        names.insert((*found)[1]);
    }
    return names;
}

std::set<std::string> functionsInSection(const std::string &path, const std::string &heading, const std::string &prefix)
{
    std::string text = contents(path);
    if (!heading.empty()) {
        const std::size_t nBegin = text.find("\n## " + heading + "\n");
        if (nBegin == std::string::npos) {
            return {};
        }
        text = text.substr(nBegin, text.find("\n## ", nBegin + 1) - nBegin);
    }
    // "PELLORA_Get…" stands for several.
    const std::regex function(prefix + R"([A-Z][a-z]\w*\b(?!…))");
    std::set<std::string> names;
    for (std::sregex_iterator found(text.begin(), text.end(), function), end; found != end; ++found) {
        names.insert(found->str());
    }
    return names;
}

std::set<std::string> definitionFileNames(const std::string &path)
{
    std::set<std::string> names;
    std::istringstream lines(contents(path));
    std::string line;
    bool exports = false;
    while (std::getline(lines, line)) {
        std::istringstream words(line.substr(0, line.find(';')));
        std::string word;
        if (!(words >> word)) {
            continue;
        }
        if (word == "LIBRARY" || word == "EXPORTS") {
            exports = word == "EXPORTS";
        } else if (exports) {
            names.insert(word);
        }
    }
    return names;
}

} // namespace support
