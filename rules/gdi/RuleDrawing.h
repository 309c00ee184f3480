#ifndef RULES_GDI_RULEDRAWING_H
#define RULES_GDI_RULEDRAWING_H

#include "rules/RuleTable.h"

#include <windows.h>

namespace pellora
{

/** Draws one rule; the context is left as it was found. Its box, if it is a text, takes the text's extent. */
void drawRule(HDC hDc, AbstractRule &rule);

/**
 * Paints the live rules by id, later ones over earlier ones. The context is left as it was found.
 *
 * Rules rarely change, and pictures come all the time. From the second pass over unchanged rules on, the table's layer
 * is put without GDI. Any other context than a plain one (see pixelsOf) is drawn on with GDI.
 *
 * Errors: what a rule throws passes through, with the context as it was found.
 */
void drawRules(HDC hDc, RuleTable &rules);

} // namespace pellora

#endif
