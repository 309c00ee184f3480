#include "rules/RuleTable.h"

#include "rules/LineWithArrowRule.h"
#include "rules/RuleCoordinates.h"

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

using Lock = std::lock_guard<std::mutex>;

bool isSlot(std::int32_t nId)
{
    return nId >= 0 && nId < RuleTable::kCapacity;
}

} // namespace

std::int32_t RuleTable::add(std::unique_ptr<AbstractRule> pRule)
{
    if (!pRule) {
        return -1;
    }
    const Lock lock(m_mutex);
    const auto slot = std::find(m_rules.begin(), m_rules.end(), nullptr);
    if (slot == m_rules.end()) {
        return -1;
    }
    *slot = std::move(pRule);
    ++m_nChanges;
    return static_cast<std::int32_t>(slot - m_rules.begin());
}

bool RuleTable::remove(std::int32_t nId)
{
    if (!isSlot(nId)) {
        return false;
    }
    const Lock lock(m_mutex);
    m_rules[static_cast<std::size_t>(nId)].reset();
    ++m_nChanges;
    return true;
}

AbstractRule *RuleTable::find(std::int32_t nId) const
{
    return isSlot(nId) ? m_rules[static_cast<std::size_t>(nId)].get() : nullptr;
}

const AbstractRule *RuleTable::get(std::int32_t nId) const
{
    const Lock lock(m_mutex);
    return find(nId);
}

std::int32_t RuleTable::indexOf(const AbstractRule *pRule) const
{
    if (pRule == nullptr) {
        return -1;
    }
    const Lock lock(m_mutex);
    const auto slot = std::find_if(m_rules.begin(), m_rules.end(),
                                   [pRule](const auto &pCandidate) { return pCandidate.get() == pRule; });
    return slot == m_rules.end() ? -1 : static_cast<std::int32_t>(slot - m_rules.begin());
}

std::vector<const AbstractRule *> RuleTable::all() const
{
    std::vector<const AbstractRule *> rules;
    rules.reserve(m_rules.size());
    const Lock lock(m_mutex);
    for (const auto &pRule : m_rules) {
        if (pRule) {
            rules.push_back(pRule.get());
        }
    }
    return rules;
}

bool RuleTable::isClear() const
{
    const Lock lock(m_mutex);
    return std::all_of(m_rules.begin(), m_rules.end(), [](const auto &pRule) { return pRule == nullptr; });
}

const AbstractRule *RuleTable::selectAt(PixelPoint point)
{
    const AbstractRule *pSelected = nullptr;
    const Lock lock(m_mutex);
    ++m_nChanges;
    for (const auto &pRule : m_rules) {
        if (!pRule) {
            continue;
        }
        const bool bHit = pSelected == nullptr && pRule->hitTest(point);
        pRule->setSelected(bHit);
        if (bHit) {
            pSelected = pRule.get();
        }
    }
    return pSelected;
}

bool RuleTable::isEmpty(std::int32_t nId) const
{
    const Lock lock(m_mutex);
    const AbstractRule *pRule = find(nId);
    return pRule != nullptr && pRule->isEmpty();
}

bool RuleTable::addPoint(std::int32_t nId, PixelPoint point, RuleAction action)
{
    return change(nId, [point, action](AbstractRule &rule) { return rule.addPoint(point, action); });
}

bool RuleTable::editPoint(std::int32_t nId, PixelPoint point, RuleAction action)
{
    return change(nId, [point, action](AbstractRule &rule) { return rule.editPoint(point, action); });
}

bool RuleTable::setArrowType(std::int32_t nId, std::uint16_t nArrowType)
{
    return change(nId, [nArrowType](AbstractRule &rule) {
        if (rule.getType() != RuleType::LineWithArrow) {
            return false;
        }
        static_cast<LineWithArrowRule &>(rule).setArrowType(nArrowType);
        return true;
    });
}

bool RuleTable::read(std::int32_t nId, void *pRecord) const
{
    const Lock lock(m_mutex);
    const AbstractRule *pRule = find(nId);
    if (pRule == nullptr || pRecord == nullptr) {
        return false;
    }
    readCoordinates(*pRule, m_geometry, pRecord);
    return true;
}

bool RuleTable::write(std::int32_t nId, const void *pRecord)
{
    return pRecord != nullptr && change(nId, [this, pRecord](AbstractRule &rule) {
               writeCoordinates(rule, m_geometry, pRecord);
               return true;
           });
}

std::optional<RuleReport> RuleTable::report(std::int32_t nId) const
{
    const Lock lock(m_mutex);
    const AbstractRule *pRule = find(nId);
    if (pRule == nullptr) {
        return std::nullopt;
    }
    RuleReport result = {pRule->getType(), recordSize(familyOf(pRule->getType())), {}};
    readCoordinates(*pRule, m_geometry, result.record.data());
    return result;
}

void RuleTable::setOriginPos(std::uint16_t nOriginPos)
{
    const Lock lock(m_mutex);
    m_geometry.originPos = nOriginPos;
}

std::uint16_t RuleTable::originPos() const
{
    const Lock lock(m_mutex);
    return m_geometry.originPos;
}

PictureGeometry RuleTable::geometry() const
{
    const Lock lock(m_mutex);
    return m_geometry;
}

void RuleTable::move(std::int32_t dx, std::int32_t dy)
{
    const Lock lock(m_mutex);
    ++m_nChanges;
    m_geometry.move(dx, dy);
    for (const auto &pRule : m_rules) {
        if (pRule) {
            pRule->translate(dx, dy);
        }
    }
}

void RuleTable::scale(float fx, float fy)
{
    const Lock lock(m_mutex);
    ++m_nChanges;
    m_geometry.scale(fx, fy);
    for (const auto &pRule : m_rules) {
        if (pRule) {
            pRule->scale(fx, fy);
        }
    }
}

void RuleTable::setPicture(const PixelRect &picture)
{
    const Lock lock(m_mutex);
    m_geometry.setPicture(picture);
    for (const auto &pRule : m_rules) {
        if (pRule) {
            pRule->setPicture(picture);
        }
    }
}

} // namespace pellora
