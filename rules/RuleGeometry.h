#ifndef RULES_RULEGEOMETRY_H
#define RULES_RULEGEOMETRY_H

#include "rules/RuleTypes.h"

#include <vector>

namespace pellora
{

// The geometric tests of hit testing. Exact for all coordinates within ±2^30; beyond, products wrap at 64 bits.

/** Whether p lies strictly within nRadius of q on both axes. */
[[nodiscard]] bool isWithinGrabBox(PixelPoint p, PixelPoint q, std::int32_t nRadius);

/** Whether p lies exactly on the segment a-b, its ends included. */
[[nodiscard]] bool isOnSegment(PixelPoint p, PixelPoint a, PixelPoint b);

/** Whether the segments a-b and c-d have a point in common. */
[[nodiscard]] bool segmentsCross(PixelPoint a, PixelPoint b, PixelPoint c, PixelPoint d);

/** Whether p lies so close to the segment a-b that the way over p is less than half a pixel longer. */
[[nodiscard]] bool isAlongSegment(PixelPoint p, PixelPoint a, PixelPoint b);

/** Whether p lies inside the closed polygon, on an edge of it, or in a vertex's grab box. */
[[nodiscard]] bool isInPolygon(PixelPoint p, const std::vector<PixelPoint> &vertices, std::int32_t nGrabRadius);

/** The mean of the vertices, towards zero; (0, 0) of none. */
[[nodiscard]] PixelPoint centroid(const std::vector<PixelPoint> &vertices);

} // namespace pellora

#endif
