#ifndef RULES_LINEWITHARROWRULE_H
#define RULES_LINEWITHARROWRULE_H

#include "rules/RuleLine.h"

namespace pellora
{

/**
 * A line to be crossed, with arrows and the letters A and B to its two sides.
 *
 * It begins upright in the middle of the pane: users move it, they do not draw it.
 *
 * Threads and units: see AbstractRule.
 */
class LineWithArrowRule : public RuleLine
{
public:
    static constexpr std::uint16_t kBothArrows = 0;
    static constexpr std::uint16_t kArrowA = 1;
    static constexpr std::uint16_t kArrowB = 2;

    explicit LineWithArrowRule(const RulePlacement &placement);

    /** Any number; those that are none of the above show no arrow. The letters are always there. */
    void setArrowType(std::uint16_t nArrowType);

    void draw(RuleCanvas &canvas) override;

private:
    std::int32_t m_nArrowType = kBothArrows;
};

} // namespace pellora

#endif
