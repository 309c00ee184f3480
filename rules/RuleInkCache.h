#ifndef RULES_RULEINKCACHE_H
#define RULES_RULEINKCACHE_H

#include "rules/RuleInk.h"
#include "rules/RuleTypes.h"

namespace pellora
{

/**
 * The ink of one rule, and when it is worth having it.
 *
 * A rule that has just changed is probably being dragged: it is drawn. Once two passes have met it unchanged on a
 * surface of the same size its ink is made, and put from then on.
 *
 * Threads: under the lock of the table that has it. Owns: the ink.
 */
class RuleInkCache
{
public:
    enum class Way {
        Draw, /**< the ink would not pay */
        Make, /**< make ink(), call made(), and put it; drawing instead is fine, the next pass asks again */
        Put   /**< put ink() */
    };

    /** How a rule with that revision is to be painted on a surface of that extent. To be asked once in a pass. */
    [[nodiscard]] Way nextWay(std::uint32_t nRevision, PixelSize surface);
    /** Ink that was not completed is not put. */
    void made();
    [[nodiscard]] RuleInk &ink()
    {
        return m_ink;
    }
    /** There is another rule now. */
    void forget();

private:
    RuleInk m_ink;
    bool m_bMade = false;
    bool m_bSeen = false;
    std::uint32_t m_nRevision = 0;
    PixelSize m_surface;
};

} // namespace pellora

#endif
