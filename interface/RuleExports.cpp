#include "interface/Pellora.h"

#include "interface/HostText.h"
#include "interface/PaneChoice.h"

#include "rules/RuleRecords.h"

using namespace pellora;

namespace
{

/** The text that comes with a new rule; null where its type takes none. */
const char *captionOf(unsigned short wRuleType, const void *pExtend)
{
    const auto *pText = static_cast<const char *>(pExtend);
    switch (static_cast<RuleType>(wRuleType)) {
    case RuleType::Polygon:
    case RuleType::PolygonWithText:
        return pText + RulePolygonExtension::kCaptionOffset;
    case RuleType::RectWithText:
    case RuleType::LineWithText:
    case RuleType::PointWithCross:
        return pText;
    case RuleType::Point:
    case RuleType::Line:
    case RuleType::Rect:
    case RuleType::Text:
    case RuleType::LineWithArrow:
        break;
    }
    return nullptr;
}

void logCreateRule(const LogLocation &where, long lHandle, long lSubHandel, unsigned short wRuleType,
                   const void *pExtend)
{
    if (pExtend == nullptr) {
        logCall(where, "PELLORA_CreateRule: lHandle: %d, lSubHandel: %d, wRuleType: %d", lHandle, lSubHandel,
                wRuleType);
        return;
    }
    // docs/compatibility.md: log-ignored-extension.
    if (const char *pCaption = captionOf(wRuleType, pExtend)) {
        logCallWithText(where, "PELLORA_CreateRule: lHandle: %d, lSubHandel: %d, wRuleType: %d, pExtend: %s", pCaption,
                        lHandle, lSubHandel, wRuleType);
    }
}

COLORREF colorOf(unsigned long dwRed, unsigned long dwGreen, unsigned long dwBlue)
{
    return (dwRed & 0xFF) | (dwGreen & 0xFF) << 8 | (dwBlue & 0xFF) << 16;
}

/** As onPane, and on every pane of the window, with the answer 1, for 255. */
template <typename Operation, typename... Arguments>
int onPaneOrAll(const LogLocation &where, long lHandle, long lSubHandel, Operation operation,
                Arguments... arguments) noexcept
{
    if (lSubHandel != PELLORA_ALL_PANES) {
        return onPane<int>(where, lHandle, lSubHandel, operation, arguments...);
    }
    return onWindow<int>(where, lHandle, [&](VideoWindow &window) {
        for (long i = 0; VideoWnd *pPane = window.getWnd(i); ++i) {
            std::invoke(operation, *pPane, arguments...);
        }
        return 1;
    });
}

/** As onPane, with an operation on a rule, which fails when the pane has none of this kind with the number. */
template <typename Operation, typename... Arguments>
int onRule(const LogLocation &where, const char *pKind, long lHandle, long lRuleID, long lSubHandel,
           Operation operation, Arguments... arguments) noexcept
{
    return onPane<int>(where, lHandle, lSubHandel, [&](VideoWnd &pane) {
        return std::invoke(operation, pane, lRuleID, arguments...) ||
               refuse(where, "pane %d of window %d has no %s %d", pane.subHandel(), lHandle, pKind, lRuleID);
    });
}

} // namespace

int PELLORA_SetOriginPos(long lHandle, unsigned short wOriginPos, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetOriginPos(long,unsigned short,long)");
    logCall(where, "PELLORA_SetOriginPos: lHandle: %d, wOriginPos: %d, lSubHandel: %d.", lHandle, wOriginPos,
            lSubHandel);
    if (wOriginPos != PELLORA_ORIGIN_TOP_LEFT && wOriginPos != PELLORA_ORIGIN_BOTTOM_LEFT) {
        return refuse(where, "there is no origin %d, only 1 and 2", wOriginPos);
    }
    return onPane<int>(where, lHandle, lSubHandel, &VideoWnd::setOriginPos, wOriginPos);
}

int PELLORA_OpenDraw(long lHandle, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_OpenDraw(long,long)");
    logCall(where, "PELLORA_OpenDraw: lHandle: %d, lSubHandel: %d.", lHandle, lSubHandel);
    return onSource<int>(where, lHandle, lSubHandel, &VideoWnd::openDraw);
}

int PELLORA_CloseDraw(long lHandle, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_CloseDraw(long,long)");
    logCall(where, "PELLORA_CloseDraw: lHandle: %d, lSubHandel: %d.", lHandle, lSubHandel);
    return onSource<int>(where, lHandle, lSubHandel, &VideoWnd::closeDraw);
}

// docs/compatibility.md: create-rule-answers-0.
long PELLORA_CreateRule(long lHandle, unsigned short wRuleType, unsigned long dwRed, unsigned long dwGreen,
                        unsigned long dwBlue, const void *pExtend, unsigned char byLimitMask, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("long __cdecl PELLORA_CreateRule(long,unsigned short,unsigned long,"
                                       "unsigned long,unsigned long,void *,unsigned char,long)");
    logCreateRule(where, lHandle, lSubHandel, wRuleType, pExtend);
    return onPane<long>(where, lHandle, lSubHandel, [&](VideoWnd &pane) {
        const auto type = static_cast<RuleType>(wRuleType);
        const long lRuleID = pane.createRule(type, colorOf(dwRed, dwGreen, dwBlue), pExtend, byLimitMask);
        if (familyOf(type) == RuleFamily::None) {
            refuse(where, "there is no rule type %d", wRuleType);
        }
        return lRuleID;
    });
}

int PELLORA_DestroyRule(long lHandle, long lRuleID, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_DestroyRule(long,long,long)");
    logCall(where, "PELLORA_DestroyRule: lHandle: %d, lSubHandel: %d, lRuleID: %d", lHandle, lSubHandel, lRuleID);
    return onRule(where, "rule", lHandle, lRuleID, lSubHandel, &VideoWnd::destroyRule);
}

int PELLORA_ClearRule(long lHandle, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_ClearRule(long,long)");
    logCall(where, "PELLORA_ClearRule: lHandle: %d, lSubHandel: %d", lHandle, lSubHandel);
    return onPaneOrAll(where, lHandle, lSubHandel, &VideoWnd::clearRule);
}

int PELLORA_GetRuleCoord(long lHandle, long lRuleID, void *pCoord, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_GetRuleCoord(long,long,void *,long)");
    logCall(where, "PELLORA_GetRuleCoord: lHandle: %d, lSubHandel: %d, lRuleID: %d", lHandle, lSubHandel, lRuleID);
    if (pCoord == nullptr) {
        return refuse(where, "pCoord is null");
    }
    return onRule(where, "rule", lHandle, lRuleID, lSubHandel, &VideoWnd::getRuleCoord, pCoord);
}

int PELLORA_SetRuleCoord(long lHandle, long lRuleID, const void *pCoord, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetRuleCoord(long,long,void *,long)");
    logCall(where, "PELLORA_SetRuleCoord: lHandle: %d, lSubHandel: %d, lRuleID: %d", lHandle, lSubHandel, lRuleID);
    if (pCoord == nullptr) {
        return refuse(where, "pCoord is null");
    }
    return onRule(where, "rule", lHandle, lRuleID, lSubHandel, &VideoWnd::setRuleCoord, pCoord);
}

int PELLORA_SetRuleCoordCallback(long lHandle, pfnRuleCoordCB pfnCallback, long lSubHandel) noexcept
{
    const LogLocation where =
        exportAt("int __cdecl PELLORA_SetRuleCoordCallback(long,void (__cdecl *)(long,unsigned short,void *,"
                 "unsigned char,long,long,unsigned long),long)");
    logCall(where, "PELLORA_SetRuleCoordCallback: lHandle: %d, lSubHandel: %d, pfnRuleCoordCB: %p", lHandle, lSubHandel,
            pfnCallback);
    return onPaneOrAll(where, lHandle, lSubHandel, &VideoWnd::setRuleCoordCallback, pfnCallback, lHandle);
}

int PELLORA_SetRuleArrowType(long lHandle, long lRuleID, unsigned short wArrowType, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetRuleArrowType(long,long,unsigned short,long)");
    // docs/compatibility.md: log-rule-id-as-pointer.
    logCall(where, "PELLORA_SetRuleArrowType: lHandle: %d, lSubHandel: %d, lRuleID: %p, wArrowType: %d.", lHandle,
            lSubHandel, reinterpret_cast<void *>(static_cast<INT_PTR>(lRuleID)), wArrowType);
    return onRule(where, "rule with arrows", lHandle, lRuleID, lSubHandel, &VideoWnd::setRuleArrowType, wArrowType);
}
