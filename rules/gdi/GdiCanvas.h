#ifndef RULES_GDI_GDICANVAS_H
#define RULES_GDI_GDICANVAS_H

#include "gdi/GdiObjects.h"
#include "gdi/Selection.h"
#include "rules/FarLine.h"
#include "rules/RuleCanvas.h"

#include <optional>

namespace pellora
{

/**
 * Paints one rule on a device context with GDI.
 *
 * It starts from the stock pen, brush and font whatever the context holds, and puts the context's own back when it
 * goes. Colours, background mode and current position change: a SavedDc around the whole pass puts those back.
 *
 * Threads: the one that draws.
 * Owns:    at most one pen, one brush and one font, each made when first needed. Borrows the context.
 * Errors:  an object that the system does not make is left out: the stock one stays.
 */
class GdiCanvas : public RuleCanvas
{
public:
    explicit GdiCanvas(HDC hDc);

    void setPen(RulePen pen) override;
    void moveTo(PixelPoint point) override;
    void lineTo(PixelPoint point) override;
    void frame(const PixelRect &rect) override;
    void disc(PixelPoint centre, std::int32_t nRadius, RuleColor fill) override;
    [[nodiscard]] PixelSize measureText(const char16_t *pText) override;
    void drawText(const char16_t *pText, const PixelRect &box, RuleColor color) override;

private:
    void drawFarLine(const PixelSegment &line);
    void needFont();

    const HDC m_hDc;
    PixelPoint m_position;
    /** What can be drawn on; asked for when first needed. */
    std::optional<PixelRect> m_surface;
    std::int32_t m_nPenWidth = 1;
    // Objects before selections: they are deselected first, then deleted.
    gdi::Pen m_pen;
    gdi::Brush m_brush;
    gdi::Font m_font;
    const gdi::Selection m_penSelection;
    const gdi::Selection m_brushSelection;
    const gdi::Selection m_fontSelection;
};

} // namespace pellora

#endif
