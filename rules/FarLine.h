#ifndef RULES_FARLINE_H
#define RULES_FARLINE_H

#include "rules/RuleTypes.h"

#include <optional>

namespace pellora
{

struct PixelSegment {
    PixelPoint start;
    PixelPoint end;
};

/** So far around a surface lines are drawn. */
constexpr std::int32_t kLineMargin = 16384;

/** Whether a line to the point is better clipped. Points of panes, and a good way around them, are not far. */
[[nodiscard]] constexpr bool isFar(PixelPoint point)
{
    constexpr std::int32_t kFar = 2 * kLineMargin;
    return point.x < -kFar || point.x > kFar || point.y < -kFar || point.y > kFar;
}

/**
 * The part of the line on the surface and kLineMargin pixels around it; none when the line does not come there.
 *
 * An end outside is replaced by a whole pixel near the margin's edge. Of many pixels the one closest to the line is
 * taken. Mostly it misses the line by less than a thousandth of a pixel, and always by half of one at most.
 */
[[nodiscard]] std::optional<PixelSegment> clipped(const PixelSegment &line, const PixelRect &surface);

} // namespace pellora

#endif
