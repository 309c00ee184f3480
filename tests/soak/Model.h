#ifndef TESTS_SOAK_MODEL_H
#define TESTS_SOAK_MODEL_H

#include <algorithm>
#include <array>
#include <optional>

namespace soak
{

constexpr long kPanes = 9;
constexpr long kWindows = 9;
constexpr long kRules = 64;

/**
 * What a host may expect of a pane. Where a camera had a hand in it, or calls came out of calls, only that nothing
 * breaks: the moment decides then.
 */
struct PaneModel {
    enum class Source { None, File, Unknown };

    Source source = Source::None;
    std::optional<unsigned short> volume;
    /** Types of the rules by number; 0 where there is none. */
    std::array<unsigned short, kRules> rules{};
    bool bRulesKnown = true;
    /** A camera was asked for: its start may come back at any time, and clears the rules of a pane that shows nothing.
     */
    bool bLive = false;

    /** What played has ended, and the rules went with it. */
    void clear()
    {
        forget();
        if (!bLive) {
            source = Source::None;
            clearRules();
        }
    }
    void clearRules()
    {
        rules.fill(0);
        bRulesKnown = !bLive;
    }
    void forget()
    {
        source = Source::Unknown;
        volume.reset();
        bRulesKnown = false;
    }
    /** The number of the next rule; -1 when there are 64. */
    [[nodiscard]] long freeRule() const
    {
        const auto *const free = std::find(rules.begin(), rules.end(), 0);
        return free == rules.end() ? -1 : static_cast<long>(free - rules.begin());
    }
};

/** What a host may expect of a video window. */
struct WindowModel {
    bool bExists = false;
    /** Its host's window is gone. */
    bool bDead = false;
    long nHost = -1;
    std::optional<long> current = 0;
    std::optional<long> split = 1;
    std::array<PaneModel, kPanes> panes{};

    [[nodiscard]] bool isAlive() const
    {
        return bExists && !bDead;
    }
    void forget()
    {
        current.reset();
        split.reset();
        for (PaneModel &pane : panes) {
            pane.forget();
        }
    }
    /** Null for a pane that is not there or not known. */
    [[nodiscard]] PaneModel *pane(long nPane)
    {
        if (nPane == -1) {
            return current ? &panes.at(static_cast<std::size_t>(*current)) : nullptr;
        }
        return nPane >= 0 && nPane < kPanes ? &panes.at(static_cast<std::size_t>(nPane)) : nullptr;
    }
};

} // namespace soak

#endif
