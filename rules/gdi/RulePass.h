#ifndef RULES_GDI_RULEPASS_H
#define RULES_GDI_RULEPASS_H

#include "rules/AbstractRule.h"
#include "rules/RuleInkCache.h"
#include "rules/gdi/RuleInkMaker.h"
#include "rules/gdi/SavedDc.h"

#include <optional>

namespace pellora
{

/**
 * One pass over the rules for one picture.
 *
 * Rules rarely change and pictures come all the time, so what a rule left behind is put again instead of asking GDI,
 * where the context lets it; a context of any other kind is drawn on. To see the same pixels either way is the point.
 *
 * Threads: the one that draws.
 * Owns:    the context's saved state, once something was drawn, and room for making ink, once that was needed.
 * Errors:  what cannot be put is drawn; what a rule throws passes through, with the context as it was found.
 */
class RulePass
{
public:
    explicit RulePass(HDC hDc);

    void paint(AbstractRule &rule, RuleInkCache &cache);

private:
    void draw(AbstractRule &rule);
    bool make(AbstractRule &rule, RuleInkCache &cache);
    void put(const RuleInk &ink);

    const HDC m_hDc;
    const std::optional<PixelRows> m_pixels;
    std::optional<SavedDc> m_saved;
    std::optional<RuleInkMaker> m_maker;
    std::int32_t m_nBandsMade = 0;
    /** GDI may still be drawing. */
    bool m_bDrawing = false;
};

} // namespace pellora

#endif
