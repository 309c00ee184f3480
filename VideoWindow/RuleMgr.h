#ifndef VIDEOWINDOW_RULEMGR_H
#define VIDEOWINDOW_RULEMGR_H

#include "rules/RuleTable.h"

#include <windows.h>

#include <memory>
#include <vector>

namespace pellora
{

/** Rule id, rule type, record of its family, editing state, window handle, pane index, size of the record in bytes. */
using RuleCoordCallback = void (*)(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState,
                                   long lHandle, long lSubHandel, unsigned long dwSize);

/**
 * The rules of one video pane: what the host creates, reads and writes, and what is drawn over the picture.
 *
 * Threads: created, used and destroyed on the GUI thread; drawAll runs on the player's draw thread. One mutex, held for
 *          each operation and for a whole drawing pass, never while the host is called. Pointers to rules are good for
 *          the GUI thread only, until the rule is destroyed; the operations that take an id are the ones that lock.
 * Owns:    its rules. Borrows records and extensions for the length of a call.
 * Units:   pixels of the pane; thousandths of the picture in records.
 * Errors:  false, -1 or null; a full table, a bad id and a text that is set are logged.
 */
class RuleMgr
{
public:
    RuleMgr() = default;
    RuleMgr(const RuleMgr &) = delete;
    RuleMgr &operator=(const RuleMgr &) = delete;

    /** The new rule's id: the lowest free one. -1 for a type that is none, and when all are taken. */
    long createRule(RuleType type, COLORREF color, void *pExtend, unsigned char byLimitMask);
    /** A rule for the picture as it is now, in no slot; null for a type that is none. */
    [[nodiscard]] std::unique_ptr<AbstractRule> makeRule(RuleType type, const void *pExtend,
                                                         unsigned char byLimitMask) const;
    /** True also for an empty slot. */
    bool destroyRule(long lRuleID);
    bool clearRules();

    [[nodiscard]] AbstractRule *getRule(long lRuleID) const;
    /** -1 when no slot holds it; null is held by none. */
    [[nodiscard]] long indexOf(const AbstractRule *pRule) const;
    [[nodiscard]] std::vector<AbstractRule *> allRules() const;
    /** Selects the rule under the point, the one with the lowest id, and no other; null when there is none. */
    AbstractRule *selectAt(PixelPoint point);
    /** True when there is such a rule and it has no geometry yet. */
    [[nodiscard]] bool isRuleEmpty(long lRuleID) const;

    /** Mouse input while a shape is drawn; false when it is complete, or when there is no such rule. */
    bool addPoint(long lRuleID, PixelPoint point, RuleAction action);
    /** Mouse input while a shape is edited; false when there is no such rule. */
    bool editPoint(long lRuleID, PixelPoint point, RuleAction action);

    /** Draws every rule, by id. The context is left as it was found. Any thread. */
    bool drawAll(HDC hDc);

    /** The record is the one of the rule's family; a text's record must have been zeroed. */
    bool getRuleCoord(long lRuleID, void *pCoord) const;
    /** The name's spelling is the system's. */
    bool setRuleCoode(long lRuleID, const void *pCoord);
    /** Calls the host with the rule's coordinates; false without a callback or a rule. The host may call back in. */
    bool notifyRuleCoord(long lRuleID, unsigned char byState) const;
    bool setRuleArrowType(long lRuleID, unsigned short wArrowType);

    /** 1 top-left, 2 bottom-left; with any other value no coordinate is converted. */
    void setOriginPos(unsigned short wOriginPos);
    [[nodiscard]] unsigned short getOriginPos() const;
    bool setRuleCoordCallback(RuleCoordCallback pfnRuleCoordCB, long lHandle, long lSubHandle);

    bool moveAll(int dx, int dy);
    bool scaleAll(float fx, float fy);
    [[nodiscard]] PixelRect getPictureRect() const;

private:
    /** Has the mutex. */
    RuleTable m_rules;

    /** GUI thread only. */
    long m_lHandle = -1;
    long m_lSubHandle = -1;
    RuleCoordCallback m_pfnRuleCoordCB = nullptr;
};

} // namespace pellora

#endif
