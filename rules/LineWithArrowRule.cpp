#include "rules/LineWithArrowRule.h"

#include "rules/RuleArithmetic.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace pellora
{

namespace
{

using Outline = std::array<PixelPoint, 7>;

// Local coordinates: +x along the line from start to end, the origin at its middle.
constexpr Outline kOutlineA = {{{-5, 0}, {-5, 10}, {-10, 10}, {0, 20}, {10, 10}, {5, 10}, {5, 0}}};
constexpr Outline kOutlineB = {{{5, 0}, {5, -10}, {10, -10}, {0, -20}, {-10, -10}, {-5, -10}, {-5, 0}}};
constexpr PixelPoint kLabelA = {0, 30};
constexpr PixelPoint kLabelB = {0, -30};
constexpr PixelSize kLabelSize = {20, 20};
constexpr RuleColor kLabelColor = 0x000000FF;

// The float with the bits 0x40490FDA. docs/compatibility.md: half-turn.
constexpr float kHalfTurn = 3.1415925F;

/** The turn and the place that take local points to the pane. */
class LineFrame
{
public:
    LineFrame(PixelPoint start, PixelPoint end) : m_middle(middle(start, end))
    {
        const double dx = static_cast<double>(end.x) - start.x;
        const double dy = static_cast<double>(end.y) - start.y;
        auto fAngle = static_cast<float>(std::atan(divided(dy, dx)));
        if (start.x > end.x) {
            fAngle = start.y > end.y ? fAngle - kHalfTurn : fAngle + kHalfTurn;
        }
        m_fCos = std::cos(fAngle);
        m_fSin = std::sin(fAngle);
    }

    /** A line without direction has no place for anything: all points then fall on the smallest coordinates. */
    [[nodiscard]] PixelPoint map(PixelPoint local) const
    {
        const auto x = static_cast<float>(local.x);
        const auto y = static_cast<float>(local.y);
        const float fX = x * m_fCos - y * m_fSin + static_cast<float>(m_middle.x);
        const float fY = x * m_fSin + y * m_fCos + static_cast<float>(m_middle.y);
        return {truncated(fX), truncated(fY)};
    }

private:
    PixelPoint m_middle;
    float m_fCos;
    float m_fSin;
};

void drawOutline(RuleCanvas &canvas, const LineFrame &frame, const Outline &outline)
{
    canvas.moveTo(frame.map(outline.front()));
    for (std::size_t i = 1; i < outline.size(); ++i) {
        canvas.lineTo(frame.map(outline[i]));
    }
}

void drawLabel(RuleCanvas &canvas, PixelPoint centre, const char16_t *pText)
{
    canvas.drawText(pText, boxAround(centre, kLabelSize.width / 2, kLabelSize.height / 2), kLabelColor);
}

} // namespace

LineWithArrowRule::LineWithArrowRule(const RulePlacement &placement) : RuleLine(RuleType::LineWithArrow, placement)
{
    const std::int32_t nMiddleX = placement.paneWidth / 2;
    const std::int32_t nMiddleY = placement.paneHeight / 2;
    place({nMiddleX, truncated(nMiddleY * 0.5)}, {nMiddleX, truncated(nMiddleY * 1.5)});
}

void LineWithArrowRule::setArrowType(std::uint16_t nArrowType)
{
    m_nArrowType = nArrowType;
}

void LineWithArrowRule::draw(RuleCanvas &canvas)
{
    RuleLine::draw(canvas);
    const LineFrame frame(getStart(), getEnd());
    if (m_nArrowType == kBothArrows || m_nArrowType == kArrowA) {
        drawOutline(canvas, frame, kOutlineA);
    }
    if (m_nArrowType == kBothArrows || m_nArrowType == kArrowB) {
        drawOutline(canvas, frame, kOutlineB);
    }
    // docs/compatibility.md: arrow-letters.
    drawLabel(canvas, frame.map(kLabelA), u"A");
    drawLabel(canvas, frame.map(kLabelB), u"B");
}

} // namespace pellora
