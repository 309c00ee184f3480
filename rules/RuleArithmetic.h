#ifndef RULES_RULEARITHMETIC_H
#define RULES_RULEARITHMETIC_H

#include "rules/RuleTypes.h"

#include <limits>

namespace pellora
{

// Coordinates are int32, whatever hosts and mice send. Sums and products wrap modulo 2^32, so that a move and its
// opposite cancel out. A conversion that no int32 holds gives the smallest one, as the processor's own conversion does.

[[nodiscard]] constexpr std::int32_t wrapped(std::uint32_t nValue)
{
    return static_cast<std::int32_t>(nValue);
}

[[nodiscard]] constexpr std::int32_t wrappingAdd(std::int32_t a, std::int32_t b)
{
    return wrapped(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

[[nodiscard]] constexpr std::int32_t wrappingSubtract(std::int32_t a, std::int32_t b)
{
    return wrapped(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

[[nodiscard]] constexpr std::int32_t wrappingMultiply(std::int32_t a, std::int32_t b)
{
    return wrapped(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

[[nodiscard]] constexpr PixelPoint wrappingAdd(PixelPoint a, PixelPoint b)
{
    return {wrappingAdd(a.x, b.x), wrappingAdd(a.y, b.y)};
}

/** Whether an int32 holds the value, truncated; none holds not-a-number. */
[[nodiscard]] constexpr bool fitsInt32(double fValue)
{
    return fValue > -2147483649.0 && fValue < 2147483648.0;
}

/** Towards zero; not-a-number and what no int32 holds give the smallest int32. */
[[nodiscard]] constexpr std::int32_t truncated(double fValue)
{
    return fitsInt32(fValue) ? static_cast<std::int32_t>(fValue) : std::numeric_limits<std::int32_t>::min();
}

/** The quotient of doubles; a divisor of 0 gives infinity or not-a-number as in IEEE 754. */
[[nodiscard]] constexpr double divided(double a, double b)
{
    if (b == 0.0) {
        if (a == 0.0 || a != a) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        return a > 0.0 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity();
    }
    return a / b;
}

/** A coordinate times a factor, in single precision. docs/compatibility.md: scale-truncates. */
[[nodiscard]] constexpr std::int32_t scaled(std::int32_t nValue, float fFactor)
{
    const float fProduct = static_cast<float>(nValue) * fFactor;
    return truncated(fProduct);
}

[[nodiscard]] constexpr PixelPoint scaled(PixelPoint point, float fx, float fy)
{
    return {scaled(point.x, fx), scaled(point.y, fy)};
}

[[nodiscard]] constexpr PixelRect scaled(const PixelRect &rect, float fx, float fy)
{
    return {scaled(rect.left, fx), scaled(rect.top, fy), scaled(rect.right, fx), scaled(rect.bottom, fy)};
}

[[nodiscard]] constexpr PixelRect moved(const PixelRect &rect, PixelPoint by)
{
    return {wrappingAdd(rect.left, by.x), wrappingAdd(rect.top, by.y), wrappingAdd(rect.right, by.x),
            wrappingAdd(rect.bottom, by.y)};
}

/** Two opposite edges. */
struct PixelSpan {
    std::int32_t first = 0;
    std::int32_t last = 0;
};

/**
 * A picture's edges, scaled. A picture never vanishes, since no rule could come back from that: a factor of 0 counts as
 * 1, edges stay at least a pixel apart, and edges that would leave the range stay as they are.
 */
[[nodiscard]] constexpr PixelSpan scaledEdges(PixelSpan edges, float fFactor)
{
    const double fFirst = static_cast<float>(edges.first) * fFactor;
    const double fLast = static_cast<float>(edges.last) * fFactor;
    if (fFactor == 0.0F || !fitsInt32(fFirst) || !fitsInt32(fLast) || !fitsInt32(fLast - fFirst)) {
        return edges;
    }
    const PixelSpan result = {truncated(fFirst), truncated(fLast)};
    if (result.first != result.last) {
        return result;
    }
    // Regions may have turned the picture round. It stays so.
    const bool bTurned = (edges.last < edges.first) != (fFactor < 0.0F);
    return {result.first, wrappingAdd(result.first, bTurned ? -1 : 1)};
}

[[nodiscard]] constexpr PixelRect scaledPicture(const PixelRect &picture, float fx, float fy)
{
    const PixelSpan across = scaledEdges({picture.left, picture.right}, fx);
    const PixelSpan down = scaledEdges({picture.top, picture.bottom}, fy);
    return {across.first, down.first, across.last, down.last};
}

/** Half of the sum, towards zero. */
[[nodiscard]] constexpr PixelPoint middle(PixelPoint a, PixelPoint b)
{
    return {static_cast<std::int32_t>((static_cast<std::int64_t>(a.x) + b.x) / 2),
            static_cast<std::int32_t>((static_cast<std::int64_t>(a.y) + b.y) / 2)};
}

/** The box around a point that reaches as far to either side. */
[[nodiscard]] constexpr PixelRect boxAround(PixelPoint centre, std::int32_t nHalfWidth, std::int32_t nHalfHeight)
{
    return {wrappingSubtract(centre.x, nHalfWidth), wrappingSubtract(centre.y, nHalfHeight),
            wrappingAdd(centre.x, nHalfWidth), wrappingAdd(centre.y, nHalfHeight)};
}

} // namespace pellora

#endif
