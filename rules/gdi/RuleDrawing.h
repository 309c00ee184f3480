#ifndef RULES_GDI_RULEDRAWING_H
#define RULES_GDI_RULEDRAWING_H

#include "rules/RuleTable.h"

#include <windows.h>

namespace pellora
{

/** Draws one rule; the context is left as it was found. Its box, if it is a text, takes the text's extent. */
void drawRule(HDC hDc, AbstractRule &rule);

/**
 * Paints the live rules by id, later ones over earlier ones; the context is left as it was found. What has not changed
 * lately is put there without GDI, where the context allows it (see RulePass).
 */
void drawRules(HDC hDc, RuleTable &rules);

} // namespace pellora

#endif
