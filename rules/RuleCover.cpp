#include "rules/RuleCover.h"

#include "rules/RuleArithmetic.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace pellora
{

namespace
{

/** Beyond the pen: for what a rasteriser rounds. */
constexpr double kSlack = 2;

std::int32_t tilesFor(std::int32_t nExtent, std::int32_t nTile)
{
    return std::max(0, (nExtent + nTile - 1) / nTile);
}

} // namespace

RuleCover::RuleCover(RuleCanvas &measuring, PixelSize surface)
    : m_measuring(measuring),
      m_surface(surface),
      m_nColumns(tilesFor(surface.width, kTileWidth)),
      m_nBands(tilesFor(surface.height, kBandHeight)),
      m_touched(static_cast<std::size_t>(m_nColumns) * static_cast<std::size_t>(m_nBands))
{
}

void RuleCover::setPen(RulePen pen)
{
    m_nPenWidth = pen.width;
}

void RuleCover::moveTo(PixelPoint point)
{
    m_position = point;
}

void RuleCover::lineTo(PixelPoint point)
{
    markSegment(m_position, point);
    m_position = point;
}

void RuleCover::frame(const PixelRect &rect)
{
    // Its inside stays untouched.
    markSegment({rect.left, rect.top}, {rect.right, rect.top});
    markSegment({rect.left, rect.bottom}, {rect.right, rect.bottom});
    markSegment({rect.left, rect.top}, {rect.left, rect.bottom});
    markSegment({rect.right, rect.top}, {rect.right, rect.bottom});
}

void RuleCover::disc(PixelPoint centre, std::int32_t nRadius, RuleColor /*fill*/)
{
    markBox(boxAround(centre, nRadius, nRadius));
}

PixelSize RuleCover::measureText(const char16_t *pText)
{
    return m_measuring.measureText(pText);
}

void RuleCover::drawText(const char16_t * /*pText*/, const PixelRect &box, RuleColor color)
{
    m_textColor = color;
    // Cut at the edges of its box.
    markBox(box);
}

std::vector<ColumnSpan> RuleCover::spansOf(std::int32_t nBand) const
{
    std::vector<ColumnSpan> spans;
    const auto row = m_touched.begin() + static_cast<std::ptrdiff_t>(nBand) * m_nColumns;
    for (std::int32_t nColumn = 0; nColumn < m_nColumns; ++nColumn) {
        if (row[nColumn] == 0) {
            continue;
        }
        const std::int32_t nBegin = nColumn * kTileWidth;
        const std::int32_t nEnd = std::min(nBegin + kTileWidth, m_surface.width);
        if (!spans.empty() && spans.back().end == nBegin) {
            spans.back().end = nEnd;
        } else {
            spans.push_back({nBegin, nEnd});
        }
    }
    return spans;
}

void RuleCover::markSegment(PixelPoint a, PixelPoint b)
{
    if (a.y > b.y) {
        std::swap(a, b);
    }
    const double fMargin = m_nPenWidth + kSlack;
    const double fTop = a.y - fMargin;
    const double fBottom = b.y + fMargin;
    if (fBottom < 0 || fTop >= m_surface.height || m_nBands == 0) {
        return;
    }
    const double fWay = static_cast<double>(b.x) - a.x;
    const double fHeight = static_cast<double>(b.y) - a.y;
    for (std::int32_t nBand = bandAt(fTop); nBand <= bandAt(fBottom); ++nBand) {
        // Where the segment enters and leaves the rows whose pens reach into the band.
        const double fFirst = std::clamp(nBand * kBandHeight - fMargin - a.y, 0.0, fHeight);
        const double fLast = std::clamp((nBand + 1) * kBandHeight + fMargin - a.y, 0.0, fHeight);
        const double x1 = a.x + (fHeight > 0 ? fWay * fFirst / fHeight : 0);
        const double x2 = a.x + (fHeight > 0 ? fWay * fLast / fHeight : fWay);
        markColumns(nBand, std::min(x1, x2) - fMargin, std::max(x1, x2) + fMargin);
    }
}

void RuleCover::markBox(const PixelRect &box)
{
    // It may be turned round.
    const double fMargin = m_nPenWidth + kSlack;
    const double fTop = std::min(box.top, box.bottom) - fMargin;
    const double fBottom = std::max(box.top, box.bottom) + fMargin;
    if (fBottom < 0 || fTop >= m_surface.height || m_nBands == 0) {
        return;
    }
    for (std::int32_t nBand = bandAt(fTop); nBand <= bandAt(fBottom); ++nBand) {
        markColumns(nBand, std::min(box.left, box.right) - fMargin, std::max(box.left, box.right) + fMargin);
    }
}

void RuleCover::markColumns(std::int32_t nBand, double fLeft, double fRight)
{
    if (m_nColumns == 0 || fRight < 0 || fLeft >= m_surface.width) {
        return;
    }
    const double fLastColumn = m_nColumns - 1;
    const auto nFirst = static_cast<std::int32_t>(std::clamp(fLeft / kTileWidth, 0.0, fLastColumn));
    const auto nLast = static_cast<std::int32_t>(std::clamp(fRight / kTileWidth, 0.0, fLastColumn));
    const auto row = m_touched.begin() + static_cast<std::ptrdiff_t>(nBand) * m_nColumns;
    std::fill(row + nFirst, row + nLast + 1, std::uint8_t{1});
}

std::int32_t RuleCover::bandAt(double fRow) const
{
    return static_cast<std::int32_t>(std::clamp(fRow / kBandHeight, 0.0, static_cast<double>(m_nBands - 1)));
}

} // namespace pellora
