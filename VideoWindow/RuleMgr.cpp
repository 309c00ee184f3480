#include "VideoWindow/RuleMgr.h"

#include "VideoWindow/HostMemory.h"
#include "logging/Log.h"
#include "rules/RuleFactory.h"
#include "rules/gdi/RuleDrawing.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace pellora
{

namespace
{

constexpr const char *kFile = "VideoWindow\\RuleMgr";
constexpr LogLocation kCreateRule = logAt(
    kFile, "long __cdecl pellora::RuleMgr::createRule(enum pellora::RuleType,unsigned long,void *,unsigned char)");
constexpr LogLocation kDestroyRule = logAt(kFile, "bool __cdecl pellora::RuleMgr::destroyRule(long)");
constexpr LogLocation kSetRuleCoode = logAt(kFile, "bool __cdecl pellora::RuleMgr::setRuleCoode(long,const void *)");

/** The shape from a polygon's extension, which may lie at any address. */
PolygonShape shapeFrom(const unsigned char *pExtend)
{
    std::uint16_t nPoints = 0;
    std::memcpy(&nPoints, pExtend + RulePolygonExtension::kPointNumOffset, sizeof(nPoints));
    return {nPoints, pExtend[RulePolygonExtension::kFinishEarlyOffset] != 0};
}

/** What the type takes from the host's extension; the defaults without one. */
RuleExtras extrasFrom(RuleType type, const void *pExtend)
{
    if (pExtend == nullptr) {
        return {};
    }
    const auto *const pBytes = static_cast<const unsigned char *>(pExtend);
    switch (type) {
    case RuleType::Polygon:
        return {shapeFrom(pBytes), {}};
    case RuleType::PolygonWithText:
        return {shapeFrom(pBytes), readHostText(pBytes + RulePolygonExtension::kCaptionOffset)};
    case RuleType::RectWithText:
    case RuleType::LineWithText:
    case RuleType::PointWithCross:
        return {{}, readHostText(pExtend)};
    case RuleType::Point:
    case RuleType::Line:
    case RuleType::Rect:
    case RuleType::Text:
    case RuleType::LineWithArrow:
        break;
    }
    return {};
}

} // namespace

long RuleMgr::createRule(RuleType type, COLORREF color, const void *pExtend, unsigned char byLimitMask)
{
    std::unique_ptr<AbstractRule> pRule = makeRule(type, pExtend, byLimitMask);
    if (!pRule) {
        return -1;
    }
    pRule->setColor(color);
    const long lRuleID = m_rules.add(std::move(pRule));
    if (lRuleID == -1) {
        logError(kCreateRule, "the container of Rule is full, the max count is: %d", RuleTable::kCapacity);
    }
    return lRuleID;
}

std::unique_ptr<AbstractRule> RuleMgr::makeRule(RuleType type, const void *pExtend, unsigned char byLimitMask) const
{
    if (familyOf(type) == RuleFamily::None) {
        return nullptr;
    }
    const PictureGeometry geometry = m_rules.geometry();
    return pellora::makeRule(type, {geometry.width, geometry.height, geometry.picture, byLimitMask},
                             extrasFrom(type, pExtend));
}

bool RuleMgr::destroyRule(long lRuleID)
{
    // docs/compatibility.md: empty-slot-answers-1.
    if (!m_rules.remove(lRuleID)) {
        logError(kDestroyRule, "handle wrong: %d", lRuleID);
        return false;
    }
    return true;
}

bool RuleMgr::clearRules()
{
    for (std::int32_t nId = 0; nId < RuleTable::kCapacity; ++nId) {
        m_rules.remove(nId);
    }
    return true;
}

const AbstractRule *RuleMgr::getRule(long lRuleID) const
{
    return m_rules.get(lRuleID);
}

long RuleMgr::indexOf(const AbstractRule *pRule) const
{
    return m_rules.indexOf(pRule);
}

std::vector<const AbstractRule *> RuleMgr::allRules() const
{
    return m_rules.all();
}

const AbstractRule *RuleMgr::selectAt(PixelPoint point)
{
    return m_rules.selectAt(point);
}

bool RuleMgr::isRuleEmpty(long lRuleID) const
{
    return m_rules.isEmpty(lRuleID);
}

bool RuleMgr::addPoint(long lRuleID, PixelPoint point, RuleAction action)
{
    return m_rules.addPoint(lRuleID, point, action);
}

bool RuleMgr::editPoint(long lRuleID, PixelPoint point, RuleAction action)
{
    return m_rules.editPoint(lRuleID, point, action);
}

bool RuleMgr::drawAll(HDC hDc)
{
    drawRules(hDc, m_rules);
    return true;
}

bool RuleMgr::getRuleCoord(long lRuleID, void *pCoord) const
{
    return m_rules.read(lRuleID, pCoord);
}

bool RuleMgr::setRuleCoode(long lRuleID, const void *pCoord)
{
    const AbstractRule *const pRule = m_rules.get(lRuleID);
    if (pRule != nullptr && pRule->getType() == RuleType::Text && pCoord != nullptr) {
        const std::string text = readHostText(pCoord, kTextBytes);
        logInfo(kSetRuleCoode, "setRuleCoode szText: %s", text.c_str());
    }
    return m_rules.write(lRuleID, pCoord);
}

bool RuleMgr::notifyRuleCoord(long lRuleID, unsigned char byState) const
{
    // Copied: the host may set another callback, or destroy the rule, while it is called.
    const RuleCoordCallback pfnRuleCoordCB = m_pfnRuleCoordCB;
    if (pfnRuleCoordCB == nullptr) {
        return false;
    }
    std::optional<RuleReport> report = m_rules.report(lRuleID);
    if (!report) {
        return false;
    }
    pfnRuleCoordCB(lRuleID, static_cast<unsigned short>(report->type), report->record.data(), byState, m_lHandle,
                   m_lSubHandle, report->size);
    return true;
}

bool RuleMgr::setRuleArrowType(long lRuleID, unsigned short wArrowType)
{
    return m_rules.setArrowType(lRuleID, wArrowType);
}

void RuleMgr::setOriginPos(unsigned short wOriginPos)
{
    m_rules.setOriginPos(wOriginPos);
}

unsigned short RuleMgr::getOriginPos() const
{
    return m_rules.originPos();
}

bool RuleMgr::setRuleCoordCallback(RuleCoordCallback pfnRuleCoordCB, long lHandle, long lSubHandle)
{
    m_pfnRuleCoordCB = pfnRuleCoordCB;
    m_lHandle = lHandle;
    m_lSubHandle = lSubHandle;
    return true;
}

void RuleMgr::paneResized(PixelSize before, PixelSize after)
{
    if (m_rules.isClear()) {
        m_rules.setPicture(m_region ? pictureOf(*m_region, after) : wholePicture(after));
        return;
    }
    const PictureChange change = changeToSize({std::max(before.width, 1), std::max(before.height, 1)}, after);
    // Rules scaled to nothing could never come back.
    m_rules.scale(change.fScaleX == 0.0F ? 1.0F : change.fScaleX, change.fScaleY == 0.0F ? 1.0F : change.fScaleY);
}

bool RuleMgr::showRegion(const RECT &region)
{
    const DisplayRegion shown = {region, getOriginPos()};
    const std::optional<PictureChange> found = changeToRegion(shown, getPictureRect());
    if (!found) {
        return false;
    }
    m_region = shown;
    change(*found);
    return true;
}

void RuleMgr::showWhole(PixelSize pane)
{
    m_region.reset();
    if (m_rules.isClear() || (pane.width > 0 && pane.height > 0)) {
        change(changeToWhole(getPictureRect(), pane));
        m_rules.setPicture(wholePicture(pane));
    }
}

void RuleMgr::change(const PictureChange &change)
{
    m_rules.move(change.nOffsetX, change.nOffsetY);
    m_rules.scale(change.fScaleX, change.fScaleY);
}

bool RuleMgr::moveAll(int dx, int dy)
{
    m_rules.move(dx, dy);
    return true;
}

bool RuleMgr::scaleAll(float fx, float fy)
{
    m_rules.scale(fx, fy);
    return true;
}

PixelRect RuleMgr::getPictureRect() const
{
    return m_rules.geometry().picture;
}

} // namespace pellora
