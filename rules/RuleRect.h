#ifndef RULES_RULERECT_H
#define RULES_RULERECT_H

#include "rules/AbstractRule.h"

namespace pellora
{

/** An upright rectangle. Press, drag and release draw it. Threads and units: see AbstractRule. */
class RuleRect : public AbstractRule
{
public:
    explicit RuleRect(const RulePlacement &placement) : RuleRect(RuleType::Rect, placement, kOutlineWidth) {}

    [[nodiscard]] const PixelRect &getRect() const
    {
        return m_rect;
    }
    /** Each edge kept within the limits; not normalised. */
    void setRect(PixelPoint topLeft, PixelPoint bottomRight);

    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool hitTest(PixelPoint point) const override;
    void draw(RuleCanvas &canvas) override;
    bool addPoint(PixelPoint point, RuleAction action) override;
    /** While a corner is dragged across the opposite one the rectangle is inside out, until Release. */
    bool editPoint(PixelPoint point, RuleAction action) override;
    bool scale(float fx, float fy) override;
    bool translate(std::int32_t dx, std::int32_t dy) override;

protected:
    RuleRect(RuleType type, const RulePlacement &placement, std::int32_t nPenWidth)
        : AbstractRule(type, placement, nPenWidth)
    {
    }

private:
    enum class Grab { None, TopLeft, TopRight, BottomRight, BottomLeft, Whole };

    [[nodiscard]] Grab grabAt(PixelPoint point) const;
    void moveWhole(PixelPoint way);

    PixelRect m_rect;
    /** Where drawing began: the corner opposite to the mouse. */
    PixelPoint m_anchor;
    Grab m_grabMode = Grab::None;
};

} // namespace pellora

#endif
