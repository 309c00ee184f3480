#include "rules/RulePolygon.h"

#include "rules/RuleArithmetic.h"
#include "rules/RuleGeometry.h"

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

/** Four vertices and the one at the mouse. */
constexpr std::size_t kPointsToFinishEarly = 5;

} // namespace

RulePolygon::RulePolygon(RuleType type, const RulePlacement &placement, PolygonShape shape, std::int32_t nPenWidth)
    : AbstractRule(type, placement, nPenWidth), m_shape(shape)
{
}

void RulePolygon::setPoints(std::vector<PixelPoint> points)
{
    for (PixelPoint &point : points) {
        point = placement().clamped(point);
    }
    m_points = std::move(points);
}

bool RulePolygon::isEmpty() const
{
    return std::all_of(m_points.begin(), m_points.end(), [](PixelPoint point) { return point == PixelPoint{}; });
}

bool RulePolygon::hitTest(PixelPoint point) const
{
    return isInPolygon(point, m_points, kHandleRadius);
}

void RulePolygon::draw(RuleCanvas &canvas)
{
    if (m_points.empty()) {
        return;
    }
    canvas.setPen(pen());
    canvas.moveTo(m_points.front());
    for (std::size_t i = 1; i < m_points.size(); ++i) {
        canvas.lineTo(m_points[i]);
    }
    canvas.lineTo(m_points.front());
    if (isSelected()) {
        for (const PixelPoint point : m_points) {
            drawHandle(canvas, point);
        }
    }
}

bool RulePolygon::addPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::LeftPress) {
        if (m_points.empty()) {
            m_points.assign(2, point);
            return true;
        }
        if (static_cast<std::int64_t>(m_points.size()) >= m_shape.maxPoints) {
            return false;
        }
        m_points.push_back(point);
        return true;
    }
    if (action == RuleAction::RightPress && m_shape.canFinishEarly && m_points.size() >= kPointsToFinishEarly) {
        m_points.pop_back();
        return false;
    }
    if (!m_points.empty()) {
        m_points.back() = point;
    }
    return true;
}

bool RulePolygon::editPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::Grab) {
        grabAt(point);
        setLastPoint(point);
        return true;
    }
    if (m_bVertexGrabbed) {
        // The host may have replaced the vertices by fewer since the grab.
        if (m_nGrabIndex < m_points.size() && !placement().breaksLimits(point)) {
            m_points[m_nGrabIndex] = point;
        }
        return true;
    }
    // Also when the press hit nothing of it. docs/compatibility.md: polygon-moves-ungrabbed.
    moveWhole(dragTo(point));
    return true;
}

void RulePolygon::grabAt(PixelPoint point)
{
    const auto vertex = std::find_if(m_points.begin(), m_points.end(),
                                     [point](PixelPoint candidate) { return isNear(point, candidate); });
    m_bVertexGrabbed = vertex != m_points.end();
    m_nGrabIndex = static_cast<std::size_t>(vertex - m_points.begin());
}

void RulePolygon::moveWhole(PixelPoint way)
{
    // docs/compatibility.md: rejected-drag-is-lost.
    const bool bBreaks = std::any_of(m_points.begin(), m_points.end(), [this, way](PixelPoint point) {
        return placement().breaksLimits(wrappingAdd(point, way));
    });
    if (bBreaks) {
        return;
    }
    for (PixelPoint &point : m_points) {
        point = wrappingAdd(point, way);
    }
}

bool RulePolygon::scale(float fx, float fy)
{
    for (PixelPoint &point : m_points) {
        point = scaled(point, fx, fy);
    }
    return AbstractRule::scale(fx, fy);
}

bool RulePolygon::translate(std::int32_t dx, std::int32_t dy)
{
    for (PixelPoint &point : m_points) {
        point = wrappingAdd(point, {dx, dy});
    }
    return AbstractRule::translate(dx, dy);
}

} // namespace pellora
