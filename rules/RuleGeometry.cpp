#include "rules/RuleGeometry.h"

#include "rules/RuleArithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace pellora
{

namespace
{

std::int64_t wide(std::int32_t nValue)
{
    return nValue;
}

std::int64_t wrappingProduct(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

/** The cross product of the ways from the origin to p and to q. */
std::int64_t cross(PixelPoint origin, PixelPoint p, PixelPoint q)
{
    const std::int64_t nFirst = wrappingProduct(wide(p.x) - origin.x, wide(q.y) - origin.y);
    const std::int64_t nSecond = wrappingProduct(wide(q.x) - origin.x, wide(p.y) - origin.y);
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(nFirst) - static_cast<std::uint64_t>(nSecond));
}

int signOf(std::int64_t nValue)
{
    return nValue > 0 ? 1 : (nValue < 0 ? -1 : 0);
}

/** Whether nValue lies between a and b, both included. */
bool isBetween(std::int32_t nValue, std::int32_t a, std::int32_t b)
{
    return nValue >= std::min(a, b) && nValue <= std::max(a, b);
}

double distance(PixelPoint a, PixelPoint b)
{
    const double dx = static_cast<double>(wide(a.x) - b.x);
    const double dy = static_cast<double>(wide(a.y) - b.y);
    return std::sqrt(dx * dx + dy * dy);
}

/** Whether a ray to the left that ends at rayEnd counts the edge a-b as crossed: a shared vertex counts once. */
bool countsAsCrossed(PixelPoint a, PixelPoint b, PixelPoint p, PixelPoint rayEnd)
{
    if (a.y == b.y) {
        return false;
    }
    if (isOnSegment(a, p, rayEnd)) {
        return a.y > b.y;
    }
    if (isOnSegment(b, p, rayEnd)) {
        return b.y > a.y;
    }
    return segmentsCross(a, b, p, rayEnd);
}

} // namespace

bool isWithinGrabBox(PixelPoint p, PixelPoint q, std::int32_t nRadius)
{
    return std::abs(wide(p.x) - q.x) < nRadius && std::abs(wide(p.y) - q.y) < nRadius;
}

bool isOnSegment(PixelPoint p, PixelPoint a, PixelPoint b)
{
    return cross(a, b, p) == 0 && isBetween(p.x, a.x, b.x) && isBetween(p.y, a.y, b.y);
}

bool segmentsCross(PixelPoint a, PixelPoint b, PixelPoint c, PixelPoint d)
{
    // Signs instead of products: these would leave 64 bits for coordinates that cross() still gets right.
    if (signOf(cross(a, c, d)) * signOf(cross(b, c, d)) > 0) {
        return false;
    }
    return signOf(cross(c, a, b)) * signOf(cross(d, a, b)) <= 0;
}

bool isAlongSegment(PixelPoint p, PixelPoint a, PixelPoint b)
{
    return distance(a, b) + 0.5 > distance(p, a) + distance(p, b);
}

bool isInPolygon(PixelPoint p, const std::vector<PixelPoint> &vertices, std::int32_t nGrabRadius)
{
    double fMinX = std::numeric_limits<double>::max();
    for (const PixelPoint vertex : vertices) {
        fMinX = std::min(fMinX, static_cast<double>(vertex.x));
    }
    const PixelPoint rayEnd = {truncated(fMinX - 10), p.y};
    bool bInside = false;
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        const PixelPoint a = vertices[i];
        const PixelPoint b = vertices[(i + 1) % vertices.size()];
        if (isWithinGrabBox(p, a, nGrabRadius) || isOnSegment(p, a, b)) {
            return true;
        }
        if (countsAsCrossed(a, b, p, rayEnd)) {
            bInside = !bInside;
        }
    }
    return bInside;
}

PixelPoint centroid(const std::vector<PixelPoint> &vertices)
{
    if (vertices.empty()) {
        return {};
    }
    std::int64_t nSumX = 0;
    std::int64_t nSumY = 0;
    for (const PixelPoint vertex : vertices) {
        nSumX += vertex.x;
        nSumY += vertex.y;
    }
    const auto nCount = static_cast<std::int64_t>(vertices.size());
    return {static_cast<std::int32_t>(nSumX / nCount), static_cast<std::int32_t>(nSumY / nCount)};
}

} // namespace pellora
