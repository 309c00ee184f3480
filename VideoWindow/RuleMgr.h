#ifndef VIDEOWINDOW_RULEMGR_H
#define VIDEOWINDOW_RULEMGR_H

#include "VideoWindow/DisplayRegion.h"
#include "rules/RuleTable.h"

#include <windows.h>

#include <memory>
#include <optional>
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
    long createRule(RuleType type, COLORREF color, const void *pExtend, unsigned char byLimitMask);
    /** A rule for the picture as it is now, in no slot; null for a type that is none. */
    [[nodiscard]] std::unique_ptr<AbstractRule> makeRule(RuleType type, const void *pExtend,
                                                         unsigned char byLimitMask) const;
    /** True also for an empty slot. */
    bool destroyRule(long lRuleID);
    bool clearRules();

    [[nodiscard]] const AbstractRule *getRule(long lRuleID) const;
    /** -1 when no slot holds it; null is held by none. */
    [[nodiscard]] long indexOf(const AbstractRule *pRule) const;
    [[nodiscard]] std::vector<const AbstractRule *> allRules() const;
    /** Selects the rule under the point, the one with the lowest id, and no other; null when there is none. */
    const AbstractRule *selectAt(PixelPoint point);
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
    /** docs/compatibility.md: spellings. */
    bool setRuleCoode(long lRuleID, const void *pCoord);
    /** Calls the host with the rule's coordinates; false without a callback or a rule. The host may call back in. */
    bool notifyRuleCoord(long lRuleID, unsigned char byState) const;
    bool setRuleArrowType(long lRuleID, unsigned short wArrowType);

    /** 1 top-left, 2 bottom-left; with any other value no coordinate is converted. */
    void setOriginPos(unsigned short wOriginPos);
    [[nodiscard]] unsigned short getOriginPos() const;
    bool setRuleCoordCallback(RuleCoordCallback pfnRuleCoordCB, long lHandle, long lSubHandle);

    // Where the picture is. Rules go with it: they are scaled in single precision and truncated. While there are none,
    // the picture is computed anew from the pane and the region in it, so that no rounding adds up.
    /** The picture's surface is resized; a width or height of 0 before counts as 1. */
    void paneResized(PixelSize before, PixelSize after);
    /**
     * Shows a part of the picture, in thousandths of it. False, and nothing changes, when the part is empty in pixels,
     * or so large that the picture would shrink to nothing.
     */
    bool showRegion(const RECT &region);
    /** The whole picture fills the pane again, exactly. Rules stay as they are in a pane without width or height. */
    void showWhole(PixelSize pane);
    bool moveAll(int dx, int dy);
    bool scaleAll(float fx, float fy);
    [[nodiscard]] PixelRect getPictureRect() const;

private:
    void change(const PictureChange &change);

    /** Has the mutex. */
    RuleTable m_rules;

    // GUI thread only.
    /** The region that is shown; none: the whole picture. */
    std::optional<DisplayRegion> m_region;
    long m_lHandle = -1;
    long m_lSubHandle = -1;
    RuleCoordCallback m_pfnRuleCoordCB = nullptr;
};

} // namespace pellora

#endif
