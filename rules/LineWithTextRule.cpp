#include "rules/LineWithTextRule.h"

#include "rules/RuleArithmetic.h"
#include "rules/RuleCaption.h"

#include <utility>

namespace pellora
{

LineWithTextRule::LineWithTextRule(const RulePlacement &placement, std::string text)
    : RuleLine(RuleType::LineWithText, placement), m_text(std::move(text))
{
}

void LineWithTextRule::draw(RuleCanvas &canvas)
{
    RuleLine::draw(canvas);
    drawCaptionAround(canvas, m_text, middle(getStart(), getEnd()), color());
}

} // namespace pellora
