#include "tests/soak/Media.h"

#include <array>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace soak
{

namespace
{

struct Row {
    const char *name;
    std::optional<bool> bPlays;
};

const std::array<Row, kClips> kRows = {{
    {"small.mp4", true},
    {"small.mkv", true},
    {"small.ts", true},
    {"small.mpg", true},
    {"small.h264", true},
    {"long.mp4", true},
    {"long.mp4", true},
    {"h264-alaw.mkv", true},
    {"mjpeg.avi", true},
    {"vp9.webm", true},
    {"recorded.mkv", true},
    {"rotated-90.mp4", true},
    {"variable-rate.mkv", true},
    {"pixel-1x1.avi", true},
    {"one-gop.mp4", true},
    {"broken/cut-h264.mp4", std::nullopt},
    {"broken/cut-h264.ts", std::nullopt},
    {"broken/damaged-h264-alaw.mkv", std::nullopt},
    {"broken/garbage.mkv", std::nullopt},
    {"broken/empty.mp4", false},
    {"too-large.mp4", std::nullopt},
    {"manifest.tsv", false},
    {"there-is-none.mp4", false},
    {nullptr, false},
}};

const std::array<const char *, kCameras> kSources = {"long.mp4", "small.mkv", "h264-alaw.mkv", "recorded.mkv",
                                                     "mjpeg.avi", "broken/cut-h264.ts", "there-is-none.mkv",
                                                     // Nobody listens at this port of this machine.
                                                     "rtsp://127.0.0.1:9/camera", "nonsense", ""};

/** On Wine's drive Z:, which is the file system. */
std::string path(const std::string &name)
{
    const char *const pFolder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string("Z:") + (pFolder != nullptr ? pFolder : "") + "/" + name;
}

std::vector<std::string> given()
{
    const char *const pText = std::getenv("PELLORA_SOAK_CAMERAS");
    std::istringstream words(pText != nullptr ? pText : "");
    std::vector<std::string> addresses;
    for (std::string word; words >> word;) {
        addresses.push_back(word);
    }
    return addresses;
}

} // namespace

Clip clip(long long nClip)
{
    const Row &row = kRows.at(static_cast<std::size_t>(nClip));
    return {row.name != nullptr ? path(row.name) : std::string(), row.name == nullptr, row.bPlays};
}

std::string camera(long long nCamera)
{
    static const std::vector<std::string> extra = given();
    const auto index = static_cast<std::size_t>(nCamera);
    if (index < extra.size()) {
        return extra[index];
    }
    const std::string source = kSources.at(index);
    return source.find('.') == std::string::npos || source.find("://") != std::string::npos ? source
                                                                                            : "file:///" + path(source);
}

} // namespace soak
