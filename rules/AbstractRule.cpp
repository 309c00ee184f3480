#include "rules/AbstractRule.h"

#include "rules/RuleArithmetic.h"
#include "rules/RuleGeometry.h"

#include <algorithm>

namespace pellora
{

bool RulePlacement::breaksLimits(PixelPoint point) const
{
    return ((limitMask & kKeepLeft) != 0 && point.x < picture.left) ||
           ((limitMask & kKeepTop) != 0 && point.y < picture.top) ||
           ((limitMask & kKeepRight) != 0 && point.x > picture.right) ||
           ((limitMask & kKeepBottom) != 0 && point.y > picture.bottom);
}

PixelPoint RulePlacement::clamped(PixelPoint point) const
{
    if ((limitMask & kKeepLeft) != 0) {
        point.x = std::max(point.x, picture.left);
    }
    if ((limitMask & kKeepTop) != 0) {
        point.y = std::max(point.y, picture.top);
    }
    if ((limitMask & kKeepRight) != 0) {
        point.x = std::min(point.x, picture.right);
    }
    if ((limitMask & kKeepBottom) != 0) {
        point.y = std::min(point.y, picture.bottom);
    }
    return point;
}

bool RulePlacement::isInPane(PixelPoint point) const
{
    return point.x >= 0 && point.x <= paneWidth && point.y >= 0 && point.y <= paneHeight;
}

AbstractRule::AbstractRule(RuleType type, const RulePlacement &placement, std::int32_t nPenWidth)
    : m_type(type), m_nPenWidth(nPenWidth), m_placement(placement)
{
}

void AbstractRule::setPicture(const PixelRect &picture)
{
    m_placement.picture = picture;
    m_placement.paneWidth = wrappingSubtract(picture.right, picture.left);
    m_placement.paneHeight = wrappingSubtract(picture.bottom, picture.top);
}

bool AbstractRule::scale(float fx, float fy)
{
    setPicture(scaledPicture(m_placement.picture, fx, fy));
    return true;
}

bool AbstractRule::translate(std::int32_t dx, std::int32_t dy)
{
    setPicture(moved(m_placement.picture, {dx, dy}));
    return true;
}

bool AbstractRule::isNear(PixelPoint point, PixelPoint handle)
{
    return isWithinGrabBox(point, handle, kHandleRadius);
}

PixelPoint AbstractRule::dragTo(PixelPoint point)
{
    const PixelPoint way = {wrappingSubtract(point.x, m_lastPoint.x), wrappingSubtract(point.y, m_lastPoint.y)};
    m_lastPoint = point;
    return way;
}

void AbstractRule::drawHandle(RuleCanvas &canvas, PixelPoint centre) const
{
    canvas.disc(centre, kHandleRadius, m_color);
}

} // namespace pellora
