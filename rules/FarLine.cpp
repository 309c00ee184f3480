#include "rules/FarLine.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace pellora
{

namespace
{

/** So many pixels of a line are tried for its new end. All of them lie within the margin. */
constexpr std::int64_t kCandidates = kLineMargin / 2;
/** A candidate that misses the line by less than one pixel in so many is good enough. */
constexpr std::int64_t kGoodEnough = 1024;

/** Edges of the area that lines are clipped to; they belong to it. */
struct Area {
    double left;
    double top;
    double right;
    double bottom;
};

/** Parts of the way from a line's start, 0, to its end, 1. */
struct Stretch {
    double from = 0.0;
    double to = 1.0;
};

/** Cuts off what lies outside of two parallel edges; false when nothing is left. */
bool cut(Stretch &stretch, double fStart, double fWay, double fLow, double fHigh)
{
    if (fWay == 0.0) {
        return fStart >= fLow && fStart <= fHigh;
    }
    const double fToLow = (fLow - fStart) / fWay;
    const double fToHigh = (fHigh - fStart) / fWay;
    stretch.from = std::max(stretch.from, std::min(fToLow, fToHigh));
    stretch.to = std::min(stretch.to, std::max(fToLow, fToHigh));
    return stretch.from <= stretch.to;
}

std::optional<Stretch> stretchWithin(const PixelSegment &line, const Area &area)
{
    Stretch stretch;
    const double dx = static_cast<double>(line.end.x) - line.start.x;
    const double dy = static_cast<double>(line.end.y) - line.start.y;
    if (cut(stretch, line.start.x, dx, area.left, area.right) &&
        cut(stretch, line.start.y, dy, area.top, area.bottom)) {
        return stretch;
    }
    return std::nullopt;
}

PixelPoint pointAt(const PixelSegment &line, double fPart)
{
    const auto at = [fPart](std::int32_t nStart, std::int32_t nEnd) {
        return static_cast<std::int32_t>(std::lround(nStart + fPart * (static_cast<double>(nEnd) - nStart)));
    };
    return {at(line.start.x, line.end.x), at(line.start.y, line.end.y)};
}

std::uint64_t product(std::int64_t a, std::int64_t b)
{
    return static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b);
}

/** The whole pixel closest to the line, from that part of its way on towards its end. */
PixelPoint bestPoint(PixelSegment line, double fFrom)
{
    // Steps go along the axis on which the line makes more way.
    const bool bSteep =
        std::abs(std::int64_t{line.end.x} - line.start.x) < std::abs(std::int64_t{line.end.y} - line.start.y);
    if (bSteep) {
        std::swap(line.start.x, line.start.y);
        std::swap(line.end.x, line.end.y);
    }
    const std::int64_t nWay = std::int64_t{line.end.x} - line.start.x;
    const std::int64_t nRise = std::int64_t{line.end.y} - line.start.y;
    const std::int64_t nStep = nWay < 0 ? -1 : 1;
    PixelPoint candidate = pointAt(line, fFrom);
    PixelPoint best = candidate;
    // How far the candidate is off, times the way. Each step changes it by the rise, and each pixel across by the way.
    // The products may wrap: their difference is right all the same.
    std::int64_t nOff = static_cast<std::int64_t>(product(std::int64_t{candidate.x} - line.start.x, nRise) -
                                                  product(std::int64_t{candidate.y} - line.start.y, nWay));
    std::int64_t nLeast = std::abs(nOff);
    for (std::int64_t i = 1; i < kCandidates && nLeast > std::abs(nWay) / kGoodEnough; ++i) {
        candidate.x += static_cast<std::int32_t>(nStep);
        nOff += nStep * nRise;
        if (std::abs(nOff) * 2 > std::abs(nWay)) {
            const std::int64_t nAcross = (nOff < 0) == (nWay < 0) ? 1 : -1;
            candidate.y += static_cast<std::int32_t>(nAcross);
            nOff -= nAcross * nWay;
        }
        if (std::abs(nOff) < nLeast) {
            nLeast = std::abs(nOff);
            best = candidate;
        }
    }
    return bSteep ? PixelPoint{best.y, best.x} : best;
}

} // namespace

std::optional<PixelSegment> clipped(const PixelSegment &line, const PixelRect &surface)
{
    const Area area = {static_cast<double>(std::min(surface.left, surface.right)) - kLineMargin,
                       static_cast<double>(std::min(surface.top, surface.bottom)) - kLineMargin,
                       static_cast<double>(std::max(surface.left, surface.right)) + kLineMargin,
                       static_cast<double>(std::max(surface.top, surface.bottom)) + kLineMargin};
    const std::optional<Stretch> stretch = stretchWithin(line, area);
    if (!stretch) {
        return std::nullopt;
    }
    return PixelSegment{stretch->from > 0.0 ? bestPoint(line, stretch->from) : line.start,
                        stretch->to < 1.0 ? bestPoint({line.end, line.start}, 1.0 - stretch->to) : line.end};
}

} // namespace pellora
