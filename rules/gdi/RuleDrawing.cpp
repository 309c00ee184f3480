#include "rules/gdi/RuleDrawing.h"

#include "rules/gdi/GdiCanvas.h"
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
    const SavedDc saved(hDc);
    rules.forEach([hDc](AbstractRule &rule) {
        GdiCanvas canvas(hDc);
        rule.draw(canvas);
    });
}

} // namespace pellora
