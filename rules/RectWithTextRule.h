#ifndef RULES_RECTWITHTEXTRULE_H
#define RULES_RECTWITHTEXTRULE_H

#include "rules/RuleRect.h"

#include <string>

namespace pellora
{

/** A rectangle, thinly drawn, with a caption (UTF-8) inside, cut at its edges. Threads and units: see AbstractRule. */
class RectWithTextRule : public RuleRect
{
public:
    RectWithTextRule(const RulePlacement &placement, std::string text);

    void draw(RuleCanvas &canvas) override;

private:
    const std::string m_text;
};

} // namespace pellora

#endif
