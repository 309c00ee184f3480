#include "rules/RuleRect.h"

#include "rules/RuleArithmetic.h"

#include <algorithm>

namespace pellora
{

namespace
{

PixelRect boxOf(PixelPoint a, PixelPoint b)
{
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

} // namespace

void RuleRect::setRect(PixelPoint topLeft, PixelPoint bottomRight)
{
    const PixelPoint first = placement().clamped(topLeft);
    const PixelPoint second = placement().clamped(bottomRight);
    m_rect = {first.x, first.y, second.x, second.y};
}

bool RuleRect::isEmpty() const
{
    return m_rect == PixelRect{};
}

bool RuleRect::hitTest(PixelPoint point) const
{
    return point.x >= m_rect.left && point.x <= m_rect.right && point.y >= m_rect.top && point.y <= m_rect.bottom;
}

void RuleRect::draw(RuleCanvas &canvas)
{
    canvas.setPen(pen());
    canvas.frame(m_rect);
    if (isSelected()) {
        drawHandle(canvas, {m_rect.left, m_rect.top});
        drawHandle(canvas, {m_rect.right, m_rect.top});
        drawHandle(canvas, {m_rect.right, m_rect.bottom});
        drawHandle(canvas, {m_rect.left, m_rect.bottom});
    }
}

bool RuleRect::addPoint(PixelPoint point, RuleAction action)
{
    const bool bPress = action == RuleAction::LeftPress;
    if (bPress && isEmpty()) {
        m_anchor = point;
    }
    if (bPress || placement().isInPane(point)) {
        m_rect = boxOf(m_anchor, point);
    }
    return true;
}

bool RuleRect::editPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::Grab) {
        m_grabMode = grabAt(point);
        setLastPoint(point);
        return true;
    }
    if (action == RuleAction::Release) {
        m_rect = boxOf({m_rect.left, m_rect.top}, {m_rect.right, m_rect.bottom});
        return true;
    }
    // Checked before the drag is measured: a mouse that comes back within the limits takes the rectangle along again.
    if (placement().breaksLimits(point)) {
        return true;
    }
    switch (m_grabMode) {
    case Grab::None:
        break;
    case Grab::TopLeft:
        m_rect.left = point.x;
        m_rect.top = point.y;
        break;
    case Grab::TopRight:
        m_rect.right = point.x;
        m_rect.top = point.y;
        break;
    case Grab::BottomRight:
        m_rect.right = point.x;
        m_rect.bottom = point.y;
        break;
    case Grab::BottomLeft:
        m_rect.left = point.x;
        m_rect.bottom = point.y;
        break;
    case Grab::Whole:
        moveWhole(dragTo(point));
        break;
    }
    return true;
}

RuleRect::Grab RuleRect::grabAt(PixelPoint point) const
{
    if (isNear(point, {m_rect.left, m_rect.top})) {
        return Grab::TopLeft;
    }
    if (isNear(point, {m_rect.right, m_rect.top})) {
        return Grab::TopRight;
    }
    if (isNear(point, {m_rect.right, m_rect.bottom})) {
        return Grab::BottomRight;
    }
    if (isNear(point, {m_rect.left, m_rect.bottom})) {
        return Grab::BottomLeft;
    }
    return hitTest(point) ? Grab::Whole : Grab::None;
}

void RuleRect::moveWhole(PixelPoint way)
{
    const PixelRect rect = moved(m_rect, way);
    if (!placement().breaksLimits({rect.left, rect.top}) && !placement().breaksLimits({rect.right, rect.bottom})) {
        m_rect = rect;
    }
}

bool RuleRect::scale(float fx, float fy)
{
    m_rect = scaled(m_rect, fx, fy);
    m_anchor = scaled(m_anchor, fx, fy);
    return AbstractRule::scale(fx, fy);
}

bool RuleRect::translate(std::int32_t dx, std::int32_t dy)
{
    m_rect = moved(m_rect, {dx, dy});
    m_anchor = wrappingAdd(m_anchor, {dx, dy});
    return AbstractRule::translate(dx, dy);
}

} // namespace pellora
