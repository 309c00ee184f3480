#include "rules/gdi/RuleInkMaker.h"

#include "rules/gdi/GdiCanvas.h"

#include <algorithm>

namespace pellora
{

namespace
{

constexpr std::uint32_t kBlack = 0;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

/** As a surface has it: red and blue the other way round. */
std::uint32_t pixelOf(RuleColor color)
{
    return ((color & 0xFFU) << 16U) | (color & 0xFF00U) | ((color >> 16U) & 0xFFU);
}

void fill(const BandSurface &surface, std::int32_t nRows, const std::vector<ColumnSpan> &spans, std::uint32_t color)
{
    for (std::int32_t nRow = 0; nRow < nRows; ++nRow) {
        for (const ColumnSpan span : spans) {
            std::fill(surface.row(nRow) + span.begin, surface.row(nRow) + span.end, color);
        }
    }
}

/** Draws the rule's band that begins there. */
void drawBand(const BandSurface &surface, std::int32_t nTop, AbstractRule &rule)
{
    SetViewportOrgEx(surface.get(), 0, -nTop, nullptr);
    GdiCanvas canvas(surface.get());
    rule.draw(canvas);
}

} // namespace

RuleInkMaker::RuleInkMaker(HDC hDc, PixelSize surface)
    : m_surface(surface),
      m_onBlack(hDc, surface.width, RuleCover::kBandHeight),
      m_onWhite(hDc, surface.width, RuleCover::kBandHeight)
{
}

std::int32_t RuleInkMaker::make(AbstractRule &rule, RuleInk &ink)
{
    GdiCanvas measuring(m_onBlack.get());
    RuleCover cover(measuring, m_surface);
    rule.draw(cover);
    ink.begin(pixelOf(cover.textColor()));
    std::int32_t nMade = 0;
    for (std::int32_t nBand = 0; nBand < cover.bands() && !ink.isTooMuch(); ++nBand) {
        const std::vector<ColumnSpan> spans = cover.spansOf(nBand);
        if (!spans.empty()) {
            makeBand(rule, ink, nBand * RuleCover::kBandHeight, spans);
            ++nMade;
        }
    }
    return nMade;
}

void RuleInkMaker::makeBand(AbstractRule &rule, RuleInk &ink, std::int32_t nTop, const std::vector<ColumnSpan> &spans)
{
    const std::int32_t nRows = std::min(RuleCover::kBandHeight, m_surface.height - nTop);
    GdiFlush();
    fill(m_onBlack, nRows, spans, kBlack);
    fill(m_onWhite, nRows, spans, kWhite);
    drawBand(m_onBlack, nTop, rule);
    drawBand(m_onWhite, nTop, rule);
    GdiFlush();
    for (std::int32_t nRow = 0; nRow < nRows; ++nRow) {
        const std::uint32_t *pOnBlack = m_onBlack.row(nRow);
        const std::uint32_t *pOnWhite = m_onWhite.row(nRow);
        for (const ColumnSpan span : spans) {
            ink.takeRow(span.begin, nTop + nRow, pOnBlack + span.begin, pOnWhite + span.begin, span.end - span.begin);
        }
    }
}

} // namespace pellora
