#ifndef RULES_GDI_RULEINKMAKER_H
#define RULES_GDI_RULEINKMAKER_H

#include "rules/AbstractRule.h"
#include "rules/RuleCover.h"
#include "rules/RuleInk.h"
#include "rules/gdi/BandSurface.h"

namespace pellora
{

/**
 * Finds out what drawing a rule leaves behind, by drawing it onto black and onto white.
 *
 * It works in bands as wide as the surface, and there only where something may be drawn, so that neither its memory
 * nor its time grows with the surface's height or with empty parts of it.
 *
 * Threads: the one that draws.
 * Owns:    two surfaces of one band's size.
 * Errors:  not ready when the system has no room.
 */
class RuleInkMaker
{
public:
    /** For a surface of that extent, of the context's kind. */
    RuleInkMaker(HDC hDc, PixelSize surface);

    [[nodiscard]] bool isReady() const
    {
        return m_onBlack.isReady() && m_onWhite.isReady();
    }
    /** Gives the rule's ink; the number of bands that it took. A text's box takes the text's extent. */
    std::int32_t make(AbstractRule &rule, RuleInk &ink);

private:
    void makeBand(AbstractRule &rule, RuleInk &ink, std::int32_t nTop, const std::vector<ColumnSpan> &spans);

    const PixelSize m_surface;
    const BandSurface m_onBlack;
    const BandSurface m_onWhite;
};

} // namespace pellora

#endif
