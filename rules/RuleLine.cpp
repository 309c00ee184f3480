#include "rules/RuleLine.h"

#include "rules/RuleArithmetic.h"
#include "rules/RuleGeometry.h"

namespace pellora
{

void RuleLine::setPoints(PixelPoint start, PixelPoint end)
{
    place(placement().clamped(start), placement().clamped(end));
}

void RuleLine::place(PixelPoint start, PixelPoint end)
{
    m_start = start;
    m_end = end;
}

bool RuleLine::isEmpty() const
{
    return m_start == PixelPoint{} && m_end == PixelPoint{};
}

bool RuleLine::hitTest(PixelPoint point) const
{
    return isAlongSegment(point, m_start, m_end) || isNear(point, m_start) || isNear(point, m_end);
}

void RuleLine::draw(RuleCanvas &canvas)
{
    canvas.setPen(pen());
    canvas.moveTo(m_start);
    canvas.lineTo(m_end);
    if (isSelected()) {
        drawHandle(canvas, m_start);
        drawHandle(canvas, m_end);
    }
}

bool RuleLine::addPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::LeftPress) {
        // docs/compatibility.md: line-at-origin.
        const bool bFirst = isEmpty();
        if (bFirst) {
            m_start = point;
        }
        m_end = point;
        return bFirst;
    }
    if (placement().isInPane(point)) {
        m_end = point;
    }
    return true;
}

bool RuleLine::editPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::Grab) {
        m_grabMode = grabAt(point);
        setLastPoint(point);
        return true;
    }
    switch (m_grabMode) {
    case Grab::None:
        break;
    case Grab::Start:
    case Grab::End:
        if (!placement().breaksLimits(point)) {
            (m_grabMode == Grab::Start ? m_start : m_end) = point;
        }
        break;
    case Grab::Whole:
        // The drag is measured before the limits are checked. docs/compatibility.md: rejected-drag-is-lost.
        moveWhole(dragTo(point));
        break;
    }
    return true;
}

RuleLine::Grab RuleLine::grabAt(PixelPoint point) const
{
    if (isNear(point, m_start)) {
        return Grab::Start;
    }
    if (isNear(point, m_end)) {
        return Grab::End;
    }
    return hitTest(point) ? Grab::Whole : Grab::None;
}

void RuleLine::moveWhole(PixelPoint way)
{
    const PixelPoint start = wrappingAdd(m_start, way);
    const PixelPoint end = wrappingAdd(m_end, way);
    if (!placement().breaksLimits(start) && !placement().breaksLimits(end)) {
        place(start, end);
    }
}

bool RuleLine::scale(float fx, float fy)
{
    place(scaled(m_start, fx, fy), scaled(m_end, fx, fy));
    return AbstractRule::scale(fx, fy);
}

bool RuleLine::translate(std::int32_t dx, std::int32_t dy)
{
    place(wrappingAdd(m_start, {dx, dy}), wrappingAdd(m_end, {dx, dy}));
    return AbstractRule::translate(dx, dy);
}

} // namespace pellora
