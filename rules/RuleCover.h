#ifndef RULES_RULECOVER_H
#define RULES_RULECOVER_H

#include "rules/RuleCanvas.h"

#include <vector>

namespace pellora
{

/** Columns of the surface; end is the first one outside. */
struct ColumnSpan {
    std::int32_t begin;
    std::int32_t end;
};

/**
 * Finds out which parts of a surface drawing may touch, tile by tile; nothing is drawn.
 *
 * Threads: none of its own.
 * Owns:    a byte for each tile. Borrows a canvas that measures texts.
 * Units:   pixels of the surface.
 */
class RuleCover : public RuleCanvas
{
public:
    static constexpr std::int32_t kTileWidth = 32;
    /** Tiles beside each other are a band. */
    static constexpr std::int32_t kBandHeight = 64;

    RuleCover(RuleCanvas &measuring, PixelSize surface);

    void setPen(RulePen pen) override;
    void moveTo(PixelPoint point) override;
    void lineTo(PixelPoint point) override;
    void frame(const PixelRect &rect) override;
    void disc(PixelPoint centre, std::int32_t nRadius, RuleColor fill) override;
    [[nodiscard]] PixelSize measureText(const char16_t *pText) override;
    void drawText(const char16_t *pText, const PixelRect &box, RuleColor color) override;

    /** The colour of the texts; black without any. */
    [[nodiscard]] RuleColor textColor() const
    {
        return m_textColor;
    }
    [[nodiscard]] std::int32_t bands() const
    {
        return m_nBands;
    }
    /** What was touched of a band, from left to right; empty when nothing was. */
    [[nodiscard]] std::vector<ColumnSpan> spansOf(std::int32_t nBand) const;

private:
    void markSegment(PixelPoint a, PixelPoint b);
    void markBox(const PixelRect &box);
    void markColumns(std::int32_t nBand, double fLeft, double fRight);
    [[nodiscard]] std::int32_t bandAt(double fRow) const;

    RuleCanvas &m_measuring;
    const PixelSize m_surface;
    const std::int32_t m_nColumns;
    const std::int32_t m_nBands;
    std::vector<std::uint8_t> m_touched;
    std::int32_t m_nPenWidth = 1;
    RuleColor m_textColor = 0;
    PixelPoint m_position;
};

} // namespace pellora

#endif
