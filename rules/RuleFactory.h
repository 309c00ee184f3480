#ifndef RULES_RULEFACTORY_H
#define RULES_RULEFACTORY_H

#include "rules/AbstractRule.h"
#include "rules/RulePolygon.h"

#include <memory>
#include <string>

namespace pellora
{

/** What a host may add to a new rule; each type takes what concerns it. */
struct RuleExtras {
    PolygonShape shape;
    std::string caption; /**< UTF-8 */
};

/** A rule without geometry (but see LineWithArrowRule); null for a type that is none. */
[[nodiscard]] std::unique_ptr<AbstractRule> makeRule(RuleType type, const RulePlacement &placement, RuleExtras extras);

} // namespace pellora

#endif
