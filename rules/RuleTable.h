#ifndef RULES_RULETABLE_H
#define RULES_RULETABLE_H

#include "rules/AbstractRule.h"
#include "rules/CoordinateMapping.h"
#include "rules/RuleInkCache.h"
#include "rules/RuleRecords.h"

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace pellora
{

/** The coordinates of one rule as the host is told them. */
struct RuleReport {
    RuleType type;
    std::uint32_t size; /**< bytes of the record of the rule's family */
    RuleRecord record;  /**< zero where the rule wrote nothing */
};

/**
 * The rules of one pane and the geometry that maps them to normalised coordinates.
 *
 * Threads: any. One thread adds, edits and removes, another draws; the mutex is held for each operation, and for the
 *          whole of a drawing pass. Pointers to rules that are handed out stay valid as long as the thread that removes
 *          rules removes none: use them there only, and for what never changes about a rule.
 * Owns:    its rules.
 * Units:   pixels of the pane; records in thousandths of the picture.
 * Errors:  -1, null or false.
 */
class RuleTable
{
public:
    static constexpr std::int32_t kCapacity = 64;

    /** Puts the rule into the lowest free slot, whose number is its id; -1 when none is free, and the rule is gone. */
    std::int32_t add(std::unique_ptr<AbstractRule> pRule);
    /** False only for an id that no slot has; an empty slot is fine. */
    bool remove(std::int32_t nId);

    [[nodiscard]] AbstractRule *get(std::int32_t nId) const;
    [[nodiscard]] std::int32_t indexOf(const AbstractRule *pRule) const;
    /** The live rules by id. */
    [[nodiscard]] std::vector<AbstractRule *> all() const;
    /** Selects the rule with the lowest id under the point and no other; null when there is none. */
    AbstractRule *selectAt(PixelPoint point);
    /** True when the slot holds a rule that has no geometry yet. */
    [[nodiscard]] bool isEmpty(std::int32_t nId) const;

    /** What the rule's own addPoint says; false without a rule. */
    bool addPoint(std::int32_t nId, PixelPoint point, RuleAction action);
    /** What the rule's own editPoint says; false without a rule. */
    bool editPoint(std::int32_t nId, PixelPoint point, RuleAction action);
    /** False when the slot holds no line with an arrow. */
    bool setArrowType(std::int32_t nId, std::uint16_t nArrowType);

    /** Writes the rule's coordinates into the host's record of its family; see RuleCoordinates.h. */
    bool read(std::int32_t nId, void *pRecord) const;
    /** Gives the rule the coordinates of the host's record of its family; see RuleCoordinates.h. */
    bool write(std::int32_t nId, const void *pRecord);
    /** A fresh record with the rule's coordinates; none without a rule. */
    [[nodiscard]] std::optional<RuleReport> report(std::int32_t nId) const;

    void setOriginPos(std::uint16_t nOriginPos);
    [[nodiscard]] std::uint16_t originPos() const;
    [[nodiscard]] PictureGeometry geometry() const;
    /** Moves the picture and every rule. */
    void move(std::int32_t dx, std::int32_t dy);
    /** Scales the picture and every rule about the pane's origin. */
    void scale(float fx, float fy);

    /** Calls visit(AbstractRule &) for each live rule by id, under the lock: it must not come back to the table. */
    template <typename Visit>
    void forEach(Visit visit)
    {
        forEachWithInk([&visit](AbstractRule &rule, RuleInkCache & /*ink*/) { visit(rule); });
    }
    /** The same with visit(AbstractRule &, RuleInkCache &): what was kept of the rule's looks, for one drawing thread.
     */
    template <typename Visit>
    void forEachWithInk(Visit visit)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (std::size_t i = 0; i < m_rules.size(); ++i) {
            if (m_rules[i]) {
                visit(*m_rules[i], m_inks[i]);
            }
        }
    }

private:
    [[nodiscard]] AbstractRule *find(std::int32_t nId) const;

    /** Guards everything below, the rules' geometry too: a frame that meets a growing array would crash. */
    mutable std::mutex m_mutex;
    std::array<std::unique_ptr<AbstractRule>, kCapacity> m_rules;
    /** Of the rule in the same slot. */
    std::array<RuleInkCache, kCapacity> m_inks;
    PictureGeometry m_geometry;
};

} // namespace pellora

#endif
