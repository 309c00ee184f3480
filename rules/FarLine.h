#ifndef RULES_FARLINE_H
#define RULES_FARLINE_H

#include "rules/RuleTypes.h"

namespace pellora
{

struct PixelSegment {
    PixelPoint start;
    PixelPoint end;
};

/** So far beyond a surface shortened lines end, or a little nearer. */
constexpr std::int32_t kFarBeyond = 16384;

/** Whether the point is so far away that a line to it is better shortened; no pane reaches there. */
[[nodiscard]] constexpr bool isFar(PixelPoint point)
{
    constexpr std::int32_t kFar = 2 * kFarBeyond;
    return point.x < -kFar || point.x > kFar || point.y < -kFar || point.y > kFar;
}

/**
 * The part of the line that matters to the surface: ends that lie further than kFarBeyond from it along the line are
 * replaced by whole pixels nearer to it, of many the one that the line misses by least: mostly by less than a
 * thousandth of a pixel, always by half of one at most. Lines beyond ±2^30, and those that pass by, stay as they are.
 */
[[nodiscard]] PixelSegment shortened(const PixelSegment &line, const PixelRect &surface);

} // namespace pellora

#endif
