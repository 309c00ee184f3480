#ifndef RULES_RULELINE_H
#define RULES_RULELINE_H

#include "rules/AbstractRule.h"

namespace pellora
{

/** A straight line between two places. Two clicks draw it. Threads and units: see AbstractRule. */
class RuleLine : public AbstractRule
{
public:
    explicit RuleLine(const RulePlacement &placement) : RuleLine(RuleType::Line, placement) {}

    [[nodiscard]] PixelPoint getStart() const
    {
        return m_start;
    }
    [[nodiscard]] PixelPoint getEnd() const
    {
        return m_end;
    }
    /** Both kept within the limits. */
    void setPoints(PixelPoint start, PixelPoint end);

    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool hitTest(PixelPoint point) const override;
    void draw(RuleCanvas &canvas) override;
    /** A first click at (0, 0) leaves the line empty, so that the next one starts it again. */
    bool addPoint(PixelPoint point, RuleAction action) override;
    bool editPoint(PixelPoint point, RuleAction action) override;
    bool scale(float fx, float fy) override;
    bool translate(std::int32_t dx, std::int32_t dy) override;

protected:
    RuleLine(RuleType type, const RulePlacement &placement) : AbstractRule(type, placement) {}
    /** The ends as they are, whatever the limits. */
    void place(PixelPoint start, PixelPoint end);

private:
    enum class Grab { None, Start, End, Whole };

    [[nodiscard]] Grab grabAt(PixelPoint point) const;
    void moveWhole(PixelPoint way);

    PixelPoint m_start;
    PixelPoint m_end;
    Grab m_grabMode = Grab::None;
};

} // namespace pellora

#endif
