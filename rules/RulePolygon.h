#ifndef RULES_RULEPOLYGON_H
#define RULES_RULEPOLYGON_H

#include "rules/AbstractRule.h"

#include <cstddef>
#include <vector>

namespace pellora
{

/** How many vertices a polygon is drawn with, and whether the right button may finish it with fewer. */
struct PolygonShape {
    std::int32_t maxPoints = 4;
    bool canFinishEarly = false;
};

/**
 * A closed polygon. Each click sets a vertex; until it is complete the last vertex follows the mouse.
 *
 * Threads and units: see AbstractRule.
 */
class RulePolygon : public AbstractRule
{
public:
    RulePolygon(const RulePlacement &placement, PolygonShape shape)
        : RulePolygon(RuleType::Polygon, placement, shape, kOutlineWidth)
    {
    }

    [[nodiscard]] const std::vector<PixelPoint> &getPoints() const
    {
        return m_points;
    }
    /** Each vertex kept within the limits. */
    void setPoints(std::vector<PixelPoint> points);

    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool hitTest(PixelPoint point) const override;
    void draw(RuleCanvas &canvas) override;
    bool addPoint(PixelPoint point, RuleAction action) override;
    bool editPoint(PixelPoint point, RuleAction action) override;
    bool scale(float fx, float fy) override;
    bool translate(std::int32_t dx, std::int32_t dy) override;

protected:
    RulePolygon(RuleType type, const RulePlacement &placement, PolygonShape shape, std::int32_t nPenWidth);

private:
    void grabAt(PixelPoint point);
    void moveWhole(PixelPoint way);

    std::vector<PixelPoint> m_points;
    const PolygonShape m_shape;
    bool m_bVertexGrabbed = false;
    std::size_t m_nGrabIndex = 0;
};

} // namespace pellora

#endif
