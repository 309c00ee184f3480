#include "rules/FarLine.h"

#include <array>
#include <cstdlib>

namespace pellora
{

namespace
{

/** Among so many places the best one is taken. */
constexpr std::int64_t kCandidates = kFarBeyond / 2;
/** Products of ways between coordinates within this fit into 64 bits. */
constexpr std::int64_t kLargest = std::int64_t{1} << 30;

/** A point by the axis along which the line goes further, and the other one. */
struct AxisPoint {
    std::int64_t along;
    std::int64_t across;
};

bool isWithin(std::int64_t nValue, std::int64_t nLimit)
{
    return nValue >= -nLimit && nValue <= nLimit;
}

/** The nearest whole number to a quotient; the divisor is not 0. */
std::int64_t nearestQuotient(std::int64_t nDividend, std::int64_t nDivisor)
{
    const std::int64_t nQuotient = nDividend / nDivisor;
    const std::int64_t nRest = nDividend % nDivisor;
    if (std::abs(nRest) * 2 < std::abs(nDivisor)) {
        return nQuotient;
    }
    return nQuotient + ((nRest < 0) == (nDivisor < 0) ? 1 : -1);
}

/** The whole pixel of the line nearest to it, from the place on towards the end, among kCandidates; the end is not
 * before the last of them. */
AxisPoint bestPoint(const AxisPoint &start, const AxisPoint &end, std::int64_t nFrom)
{
    const std::int64_t nWay = end.along - start.along;
    const std::int64_t nRise = end.across - start.across;
    if (nWay == 0) {
        return start;
    }
    const std::int64_t nStep = nWay < 0 ? -1 : 1;
    AxisPoint best = start;
    std::int64_t nLeast = std::abs(nWay);
    for (std::int64_t i = 0; i < kCandidates && nLeast > 0; ++i) {
        const std::int64_t nAlong = nFrom + i * nStep;
        const std::int64_t nProduct = (nAlong - start.along) * nRise;
        const std::int64_t nAcross = nearestQuotient(nProduct, nWay);
        const std::int64_t nMiss = std::abs(nProduct - nAcross * nWay);
        if (nMiss < nLeast) {
            nLeast = nMiss;
            best = {nAlong, start.across + nAcross};
        }
    }
    return best;
}

/** The start, or a better one for a line to that end over a surface of that extent along it. */
AxisPoint nearerStart(const AxisPoint &start, const AxisPoint &end, std::int64_t nLow, std::int64_t nHigh)
{
    if (start.along < nLow - kFarBeyond && end.along >= nLow - kFarBeyond + kCandidates) {
        return bestPoint(start, end, nLow - kFarBeyond);
    }
    if (start.along > nHigh + kFarBeyond && end.along <= nHigh + kFarBeyond - kCandidates) {
        return bestPoint(start, end, nHigh + kFarBeyond);
    }
    return start;
}

} // namespace

PixelSegment shortened(const PixelSegment &line, const PixelRect &surface)
{
    for (const std::int32_t nValue : std::array<std::int32_t, 4>{line.start.x, line.start.y, line.end.x, line.end.y}) {
        if (!isWithin(nValue, kLargest)) {
            return line;
        }
    }
    const std::int64_t dx = std::int64_t{line.end.x} - line.start.x;
    const std::int64_t dy = std::int64_t{line.end.y} - line.start.y;
    const bool bFlat = std::abs(dx) >= std::abs(dy);
    const auto turned = [bFlat](PixelPoint point) {
        return bFlat ? AxisPoint{point.x, point.y} : AxisPoint{point.y, point.x};
    };
    const auto turnedBack = [bFlat](const AxisPoint &point) {
        const auto nAlong = static_cast<std::int32_t>(point.along);
        const auto nAcross = static_cast<std::int32_t>(point.across);
        return bFlat ? PixelPoint{nAlong, nAcross} : PixelPoint{nAcross, nAlong};
    };
    const std::int64_t nLow = bFlat ? surface.left : surface.top;
    const std::int64_t nHigh = bFlat ? surface.right : surface.bottom;
    const AxisPoint start = turned(line.start);
    const AxisPoint end = turned(line.end);
    return {turnedBack(nearerStart(start, end, nLow, nHigh)), turnedBack(nearerStart(end, start, nLow, nHigh))};
}

} // namespace pellora
