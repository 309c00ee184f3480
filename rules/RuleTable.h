#ifndef RULES_RULETABLE_H
#define RULES_RULETABLE_H

#include "rules/AbstractRule.h"
#include "rules/CoordinateMapping.h"
#include "rules/RuleLayer.h"
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
 * Rules change through the table only, which counts the changes: the layer is good as long as the count stays.
 *
 * Threads: any. One thread adds, edits and removes, another draws; the mutex is held for each operation, and for the
 *          whole of a drawing pass. Pointers to rules that are handed out stay valid as long as the thread that removes
 *          rules removes none: use them there only.
 * Owns:    its rules, and the layer of what they look like.
 * Units:   pixels of the pane; records in thousandths of the picture.
 * Errors:  -1, null or false.
 */
class RuleTable
{
public:
    static constexpr std::int32_t kCapacity = 64;
    using Slots = std::array<std::unique_ptr<AbstractRule>, kCapacity>;

    /** Puts the rule into the lowest free slot, whose number is its id; -1 when none is free, and the rule is gone. */
    std::int32_t add(std::unique_ptr<AbstractRule> pRule);
    /** False only for an id that no slot has; an empty slot is fine. */
    bool remove(std::int32_t nId);

    [[nodiscard]] const AbstractRule *get(std::int32_t nId) const;
    [[nodiscard]] std::int32_t indexOf(const AbstractRule *pRule) const;
    /** The live rules by id. */
    [[nodiscard]] std::vector<const AbstractRule *> all() const;
    /** Whether there is no rule. */
    [[nodiscard]] bool isClear() const;
    /** Selects the rule with the lowest id under the point and no other; null when there is none. */
    const AbstractRule *selectAt(PixelPoint point);
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
    /** Puts the picture there; the rules stay where they are, and take it as their picture. */
    void setPicture(const PixelRect &picture);

    /** Gives what change(AbstractRule &) gives; false without a rule. It must not come back to the table. */
    template <typename Change>
    bool change(std::int32_t nId, Change change)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        AbstractRule *const pRule = find(nId);
        if (pRule == nullptr) {
            return false;
        }
        ++m_nChanges;
        return change(*pRule);
    }
    /**
     * Calls pass(const Slots &, std::uint64_t nChanges, RuleLayer &) under the lock: it must not come back to the
     * table. Rules are not changed but by their drawing.
     */
    template <typename Pass>
    void paint(Pass pass)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        pass(m_rules, m_nChanges, m_layer);
    }

private:
    [[nodiscard]] AbstractRule *find(std::int32_t nId) const;

    /** Guards everything below, the rules' geometry too: a frame that meets a growing array would crash. */
    mutable std::mutex m_mutex;
    Slots m_rules;
    PictureGeometry m_geometry;
    /** Counts everything that may have changed what is drawn. */
    std::uint64_t m_nChanges = 0;
    RuleLayer m_layer;
};

} // namespace pellora

#endif
