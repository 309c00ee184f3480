#ifndef PLAYER_PICTURE_H
#define PLAYER_PICTURE_H

#include "player/src/core/Ffmpeg.h"
#include "player/src/picture/PictureShape.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace player
{

/**
 * One decoded picture of a source. Cheap to copy: the pixels are shared and never written again.
 *
 * Units: microseconds from the first picture of the source.
 */
struct Picture {
    std::shared_ptr<const AVFrame> pFrame;
    PictureShape shape;
    std::int64_t time = 0;
    std::int64_t duration = 0;
    /** Files only, and the same whichever way led to it: what its container calls it, in ticks of the stream. */
    std::int64_t stamp = AV_NOPTS_VALUE;
    /** How many pictures are shown before it; negative while nobody has counted them. Files only. */
    std::int64_t ordinal = -1;
    /** The container says that decoding may begin at it. Files only. */
    bool key = false;
    /** Pictures between this one and the one before it were left out to keep up with the clock. */
    bool afterGap = false;
    /** Live only: when it was taken or, where nobody tells, when it came; microseconds since 1970, UTC. */
    std::int64_t utc = 0;
    /** Live only: its time as the container tells it, which the sound's times compare with; empty where it does not. */
    std::optional<std::int64_t> streamTime;

    explicit operator bool() const
    {
        return pFrame != nullptr;
    }

    /** Takes a decoded frame over. */
    void hold(FramePtr pDecoded);
    /** Bytes that the pixels take, for bounds. */
    [[nodiscard]] std::int64_t bytes() const;
};

} // namespace player

#endif
