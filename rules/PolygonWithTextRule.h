#ifndef RULES_POLYGONWITHTEXTRULE_H
#define RULES_POLYGONWITHTEXTRULE_H

#include "rules/RulePolygon.h"

#include <string>

namespace pellora
{

/** A polygon, thinly drawn, with a caption (UTF-8) on its vertices' mean. Threads and units: see AbstractRule. */
class PolygonWithTextRule : public RulePolygon
{
public:
    PolygonWithTextRule(const RulePlacement &placement, PolygonShape shape, std::string text);

    void draw(RuleCanvas &canvas) override;

private:
    const std::string m_text;
};

} // namespace pellora

#endif
