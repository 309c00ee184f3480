#ifndef RULES_RULECANVAS_H
#define RULES_RULECANVAS_H

#include "rules/RuleTypes.h"

namespace pellora
{

struct RulePen {
    std::int32_t width;
    RuleColor color;
};

/**
 * What one rule is painted on, once: pens are solid, texts are in the captions' font at its default size.
 *
 * A rule uses one pen and one brush colour at most, so that a canvas makes each object at most once for it.
 */
class RuleCanvas
{
public:
    RuleCanvas(const RuleCanvas &) = delete;
    RuleCanvas &operator=(const RuleCanvas &) = delete;
    virtual ~RuleCanvas() = default;

    /** For everything drawn from now on; before, outlines are in the stock black pen. */
    virtual void setPen(RulePen pen) = 0;
    virtual void moveTo(PixelPoint point) = 0;
    virtual void lineTo(PixelPoint point) = 0;
    /** An outline; as GDI has it, right and bottom are the first pixels outside. */
    virtual void frame(const PixelRect &rect) = 0;
    /** A circle filled with the colour and outlined by the pen. */
    virtual void disc(PixelPoint centre, std::int32_t nRadius, RuleColor fill) = 0;
    /** The extent of the text, lines broken where it says so. */
    [[nodiscard]] virtual PixelSize measureText(const char16_t *pText) = 0;
    /** One line in the middle of the box, cut at its edges, on a transparent ground. */
    virtual void drawText(const char16_t *pText, const PixelRect &box, RuleColor color) = 0;

protected:
    RuleCanvas() = default;
};

} // namespace pellora

#endif
