#include "rules/gdi/RuleDrawing.h"

#include "rules/gdi/GdiCanvas.h"
#include "rules/gdi/RulePass.h"
#include "rules/gdi/SavedDc.h"

namespace pellora
{

void drawRule(HDC hDc, AbstractRule &rule)
{
    const SavedDc saved(hDc);
    GdiCanvas canvas(hDc);
    rule.draw(canvas);
}

void drawRules(HDC hDc, RuleTable &rules)
{
    RulePass pass(hDc);
    rules.forEachWithInk([&pass](AbstractRule &rule, RuleInkCache &cache) { pass.paint(rule, cache); });
}

} // namespace pellora
