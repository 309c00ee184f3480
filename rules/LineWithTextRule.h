#ifndef RULES_LINEWITHTEXTRULE_H
#define RULES_LINEWITHTEXTRULE_H

#include "rules/RuleLine.h"

#include <string>

namespace pellora
{

/** A line with a caption (UTF-8) in its middle. Threads and units: see AbstractRule. */
class LineWithTextRule : public RuleLine
{
public:
    LineWithTextRule(const RulePlacement &placement, std::string text);

    void draw(RuleCanvas &canvas) override;

private:
    const std::string m_text;
};

} // namespace pellora

#endif
