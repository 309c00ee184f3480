#ifndef PLAYER_CLIPS_H
#define PLAYER_CLIPS_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace player::test
{

/** A test clip, as the manifest beside the clips describes it. */
struct Clip {
    std::string file;
    std::string container;
    std::string codec;
    int width = 0;
    int height = 0;
    int pictures = 0;
    std::int64_t rateNumerator = 0;
    std::int64_t rateDenominator = 1;
    std::string traits;

    [[nodiscard]] std::string path() const;
    [[nodiscard]] bool has(const std::string &trait) const;
    /** Nothing but coded pictures: no times in it. */
    [[nodiscard]] bool isRaw() const;
    /** When a picture begins, in microseconds from the first. */
    [[nodiscard]] std::int64_t timeOf(int picture) const;
};

void PrintTo(const Clip &clip, std::ostream *pStream);

/** The folder of the clips, from the environment. */
[[nodiscard]] std::string mediaPath(const std::string &file);
/** Every clip of the manifest whose pictures carry their number. */
[[nodiscard]] std::vector<Clip> numberedClips();
[[nodiscard]] Clip clip(const std::string &file);
/** A name that GoogleTest takes for a row of a table. */
[[nodiscard]] std::string testName(const std::string &file);

} // namespace player::test

#endif
