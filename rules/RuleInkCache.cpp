#include "rules/RuleInkCache.h"

namespace pellora
{

RuleInkCache::Way RuleInkCache::nextWay(std::uint32_t nRevision, PixelSize surface)
{
    const bool bSame =
        m_bSeen && m_nRevision == nRevision && m_surface.width == surface.width && m_surface.height == surface.height;
    if (!bSame) {
        forget();
        m_bSeen = true;
        m_nRevision = nRevision;
        m_surface = surface;
        return Way::Draw;
    }
    if (m_ink.isTooMuch()) {
        return Way::Draw;
    }
    return m_bMade ? Way::Put : Way::Make;
}

void RuleInkCache::made()
{
    m_bMade = !m_ink.isTooMuch();
}

void RuleInkCache::forget()
{
    // Its memory, too: a rule that is not drawn any more needs none.
    m_ink = {};
    m_bMade = false;
    m_bSeen = false;
}

} // namespace pellora
