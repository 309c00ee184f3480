#include "player/src/file/PictureTimes.h"

#include "player/src/core/Codec.h"

#include <algorithm>

namespace player
{

std::int64_t nextPictureTime(const std::optional<std::int64_t> &latest, const std::optional<std::int64_t> &fromFirst,
                             std::int64_t usualDuration)
{
    /** Between pictures whose times are the same. */
    constexpr std::int64_t kLeastDistance = 1000;
    if (!fromFirst) {
        return latest ? *latest + usualDuration : 0;
    }
    const std::int64_t time = std::max<std::int64_t>(*fromFirst, 0);
    return latest && time <= *latest ? *latest + kLeastDistance : time;
}

std::int64_t toldDuration(std::int64_t ticks, AVRational tick)
{
    /** Whatever a file says, its end is not waited for longer than that. */
    constexpr std::int64_t kLongestPicture = std::int64_t{3600} * 1000000;
    return std::min(microsecondsBetween(0, ticks, tick), kLongestPicture);
}

} // namespace player
