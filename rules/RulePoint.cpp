#include "rules/RulePoint.h"

#include "rules/RuleArithmetic.h"

namespace pellora
{

void RulePoint::setPoint(PixelPoint point)
{
    m_point = placement().clamped(point);
}

bool RulePoint::isEmpty() const
{
    return m_point == PixelPoint{};
}

bool RulePoint::hitTest(PixelPoint point) const
{
    return isNear(point, m_point);
}

void RulePoint::draw(RuleCanvas &canvas)
{
    if (isEmpty()) {
        return;
    }
    // No pen: the circle keeps the black outline every canvas starts with. Selected or not, it looks the same.
    drawHandle(canvas, m_point);
}

bool RulePoint::addPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::LeftPress) {
        m_point = point;
    }
    return true;
}

bool RulePoint::editPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::Grab) {
        m_bGrabbed = isNear(point, m_point);
    } else if (m_bGrabbed && !placement().breaksLimits(point)) {
        m_point = point;
    }
    return true;
}

bool RulePoint::scale(float fx, float fy)
{
    m_point = scaled(m_point, fx, fy);
    return AbstractRule::scale(fx, fy);
}

bool RulePoint::translate(std::int32_t dx, std::int32_t dy)
{
    m_point = wrappingAdd(m_point, {dx, dy});
    return AbstractRule::translate(dx, dy);
}

} // namespace pellora
