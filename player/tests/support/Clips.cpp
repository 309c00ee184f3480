#include "player/tests/support/Clips.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace player::test
{

namespace
{

std::vector<Clip> readManifest()
{
    std::ifstream file(mediaPath("manifest.tsv"));
    std::vector<Clip> clips;
    std::string line;
    std::getline(file, line); // the names of the columns
    while (std::getline(file, line)) {
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, '\t');) {
            cells.push_back(cell);
        }
        if (cells.size() < 10) {
            throw std::runtime_error("manifest.tsv: " + line);
        }
        Clip entry;
        entry.file = cells[0];
        entry.container = cells[1];
        entry.codec = cells[2];
        entry.width = std::stoi(cells[3]);
        entry.height = std::stoi(cells[4]);
        entry.pictures = std::stoi(cells[5]);
        const auto slash = cells[6].find('/');
        entry.rateNumerator = std::stoll(cells[6]);
        entry.rateDenominator = slash == std::string::npos ? 1 : std::stoll(cells[6].substr(slash + 1));
        entry.traits = cells[9];
        clips.push_back(entry);
    }
    if (clips.empty()) {
        throw std::runtime_error("no test clips in " + mediaPath("") + ": run tests/media/make-media.sh");
    }
    return clips;
}

} // namespace

std::string mediaPath(const std::string &file)
{
    const char *folder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string(folder ? folder : "build/media") + "/" + file;
}

std::string Clip::path() const
{
    return mediaPath(file);
}

bool Clip::has(const std::string &trait) const
{
    return traits.find(trait) != std::string::npos;
}

bool Clip::isRaw() const
{
    return file.rfind("raw.", 0) == 0;
}

std::int64_t Clip::timeOf(int picture) const
{
    if (has("variable-rate")) {
        return (std::int64_t{40} * picture + std::int64_t{80} * (picture / 5)) * 1000;
    }
    return std::int64_t{1000000} * picture * rateDenominator / rateNumerator;
}

void PrintTo(const Clip &clip, std::ostream *pStream)
{
    *pStream << clip.file;
}

std::vector<Clip> numberedClips()
{
    std::vector<Clip> clips = readManifest();
    clips.erase(std::remove_if(clips.begin(), clips.end(), [](const Clip &c) { return !c.has("barcode"); }),
                clips.end());
    return clips;
}

Clip clip(const std::string &file)
{
    for (const Clip &entry : readManifest()) {
        if (entry.file == file) {
            return entry;
        }
    }
    throw std::runtime_error("no such test clip: " + file);
}

std::string testName(const std::string &file)
{
    std::string name = file;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

} // namespace player::test
