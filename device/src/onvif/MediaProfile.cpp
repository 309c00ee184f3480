#include "device/src/onvif/MediaProfile.h"

#include <algorithm>

namespace selvik
{

std::vector<VideoSource> bySource(const std::vector<std::string> &sources, const std::vector<MediaProfile> &profiles)
{
    std::vector<VideoSource> found;
    const auto sourceOf = [&found](const std::string &token) -> VideoSource & {
        const auto known = std::find_if(found.begin(), found.end(),
                                        [&token](const VideoSource &source) { return source.token == token; });
        return known != found.end() ? *known : found.emplace_back(VideoSource{token, {}});
    };
    for (const std::string &token : sources) {
        (void)sourceOf(token);
    }
    for (const MediaProfile &profile : profiles) {
        sourceOf(profile.source).profiles.push_back(profile);
    }
    for (VideoSource &source : found) {
        std::stable_sort(source.profiles.begin(), source.profiles.end(),
                         [](const MediaProfile &one, const MediaProfile &other) {
                             return static_cast<long long>(one.nWidth) * one.nHeight >
                                    static_cast<long long>(other.nWidth) * other.nHeight;
                         });
    }
    return found;
}

} // namespace selvik
