#include "rules/RuleFactory.h"

#include "rules/LineWithArrowRule.h"
#include "rules/LineWithTextRule.h"
#include "rules/PointWithCrossRule.h"
#include "rules/PolygonWithTextRule.h"
#include "rules/RectWithTextRule.h"
#include "rules/RuleRecords.h"
#include "rules/RuleText.h"

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

/** A record has no room for more vertices. */
PolygonShape boundedShape(PolygonShape shape)
{
    shape.maxPoints = std::min(shape.maxPoints, static_cast<std::int32_t>(kMaxPolygonPoints));
    return shape;
}

} // namespace

std::unique_ptr<AbstractRule> makeRule(RuleType type, const RulePlacement &placement, RuleExtras extras)
{
    switch (type) {
    case RuleType::Point:
        return std::make_unique<RulePoint>(placement);
    case RuleType::Line:
        return std::make_unique<RuleLine>(placement);
    case RuleType::Rect:
        return std::make_unique<RuleRect>(placement);
    case RuleType::Polygon:
        return std::make_unique<RulePolygon>(placement, boundedShape(extras.shape));
    case RuleType::Text:
        return std::make_unique<RuleText>(placement);
    case RuleType::LineWithArrow:
        return std::make_unique<LineWithArrowRule>(placement);
    case RuleType::RectWithText:
        return std::make_unique<RectWithTextRule>(placement, std::move(extras.caption));
    case RuleType::PolygonWithText:
        return std::make_unique<PolygonWithTextRule>(placement, boundedShape(extras.shape), std::move(extras.caption));
    case RuleType::LineWithText:
        return std::make_unique<LineWithTextRule>(placement, std::move(extras.caption));
    case RuleType::PointWithCross:
        return std::make_unique<PointWithCrossRule>(placement, std::move(extras.caption));
    }
    return nullptr;
}

} // namespace pellora
