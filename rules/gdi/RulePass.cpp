#include "rules/gdi/RulePass.h"

#include "rules/gdi/DibPixels.h"
#include "rules/gdi/GdiCanvas.h"

namespace pellora
{

namespace
{

/** So many bands' ink is made in one pass, and that of one rule more: no picture waits long, however much changed. */
constexpr std::int32_t kBandsPerPass = 8;

} // namespace

RulePass::RulePass(HDC hDc) : m_hDc(hDc), m_pixels(pixelsOf(hDc)) {}

void RulePass::paint(AbstractRule &rule, RuleInkCache &cache)
{
    if (!m_pixels) {
        draw(rule);
        return;
    }
    switch (cache.nextWay(rule.revision(), {m_pixels->nWidth, m_pixels->nHeight})) {
    case RuleInkCache::Way::Draw:
        draw(rule);
        break;
    case RuleInkCache::Way::Make:
        if (make(rule, cache)) {
            put(cache.ink());
        } else {
            draw(rule);
        }
        break;
    case RuleInkCache::Way::Put:
        put(cache.ink());
        break;
    }
}

void RulePass::draw(AbstractRule &rule)
{
    if (!m_saved) {
        m_saved.emplace(m_hDc);
    }
    GdiCanvas canvas(m_hDc);
    rule.draw(canvas);
    m_bDrawing = true;
}

bool RulePass::make(AbstractRule &rule, RuleInkCache &cache)
{
    if (m_nBandsMade >= kBandsPerPass) {
        return false;
    }
    if (!m_maker) {
        m_maker.emplace(m_hDc, PixelSize{m_pixels->nWidth, m_pixels->nHeight});
    }
    if (!m_maker->isReady()) {
        return false;
    }
    m_nBandsMade += m_maker->make(rule, cache.ink());
    cache.made();
    return !cache.ink().isTooMuch();
}

void RulePass::put(const RuleInk &ink)
{
    if (m_bDrawing) {
        GdiFlush();
        m_bDrawing = false;
    }
    ink.putOn(*m_pixels);
}

} // namespace pellora
