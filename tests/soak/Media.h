#ifndef TESTS_SOAK_MEDIA_H
#define TESTS_SOAK_MEDIA_H

#include <optional>
#include <string>

namespace soak
{

/** How many files and addresses there are to draw from. */
constexpr long long kClips = 24;
constexpr long long kCameras = 10;

/** A file to play, good or bad, as a host names it. */
struct Clip {
    std::string path;
    bool bNull = false;         /**< no name at all */
    std::optional<bool> bPlays; /**< what opening answers, where that is certain */
};

/** From the folder of PELLORA_TEST_MEDIA. */
[[nodiscard]] Clip clip(long long nClip);
/** Where a camera is, alive, dead or nonsense; those of PELLORA_SOAK_CAMERAS, between blanks, take the first places. */
[[nodiscard]] std::string camera(long long nCamera);

} // namespace soak

#endif
