#include "rules/PolygonWithTextRule.h"

#include "rules/RuleCaption.h"
#include "rules/RuleGeometry.h"

#include <utility>

namespace pellora
{

PolygonWithTextRule::PolygonWithTextRule(const RulePlacement &placement, PolygonShape shape, std::string text)
    : RulePolygon(RuleType::PolygonWithText, placement, shape, kThinOutlineWidth), m_text(std::move(text))
{
}

void PolygonWithTextRule::draw(RuleCanvas &canvas)
{
    RulePolygon::draw(canvas);
    drawCaptionAround(canvas, m_text, centroid(getPoints()), color());
}

} // namespace pellora
