#ifndef RULES_POINTWITHCROSSRULE_H
#define RULES_POINTWITHCROSSRULE_H

#include "rules/RulePoint.h"

#include <string>

namespace pellora
{

/** A point drawn as a cross, its caption (UTF-8) up and to the right of it. Threads and units: see AbstractRule. */
class PointWithCrossRule : public RulePoint
{
public:
    static constexpr std::int32_t kCrossHalf = 12;

    PointWithCrossRule(const RulePlacement &placement, std::string text);

    void draw(RuleCanvas &canvas) override;

private:
    void drawCaption(RuleCanvas &canvas) const;

    const std::string m_text;
};

} // namespace pellora

#endif
