#ifndef RULES_RULEPOINT_H
#define RULES_RULEPOINT_H

#include "rules/AbstractRule.h"

namespace pellora
{

/** A single place, drawn as a filled circle. One click draws it. Threads and units: see AbstractRule. */
class RulePoint : public AbstractRule
{
public:
    explicit RulePoint(const RulePlacement &placement) : RulePoint(RuleType::Point, placement) {}

    [[nodiscard]] PixelPoint getPoint() const
    {
        return m_point;
    }
    /** Kept within the limits. */
    void setPoint(PixelPoint point);

    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool hitTest(PixelPoint point) const override;
    void draw(RuleCanvas &canvas) override;
    bool addPoint(PixelPoint point, RuleAction action) override;
    bool editPoint(PixelPoint point, RuleAction action) override;
    bool scale(float fx, float fy) override;
    bool translate(std::int32_t dx, std::int32_t dy) override;

protected:
    RulePoint(RuleType type, const RulePlacement &placement) : AbstractRule(type, placement) {}

private:
    PixelPoint m_point;
    bool m_bGrabbed = false;
};

} // namespace pellora

#endif
