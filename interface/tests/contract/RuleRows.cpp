// The overlay and its rules.

#include "VideoWindow/tests/RuleReports.h"
#include "interface/tests/contract/ContractRow.h"
#include "interface/tests/contract/Readings.h"

#include <cstring>

namespace contract
{

namespace
{

tagPELLORA_RULE_TEXT g_text;
tagPELLORA_RULE_LINE g_line = {{1000, 0}, {0, 1000}};

std::string writtenText(const Scene & /*scene*/, long /*lPane*/)
{
    return g_text.szText;
}

void forgetText(const Scene & /*scene*/)
{
    std::memset(&g_text, 0, sizeof(g_text));
}

Row createRow(unsigned short wRuleType, char *pExtend)
{
    return row("PELLORA_CreateRule", &PELLORA_CreateRule,
               "long __cdecl PELLORA_CreateRule(long,unsigned short,unsigned long,unsigned long,unsigned long,void *,"
               "unsigned char,long)")
        .acting(ActsOn::Pane, Playing::Files)
        .asked([=](const Target &t) {
            const auto wType = static_cast<unsigned short>(t.broken(0) ? 11 : wRuleType);
            return PELLORA_CreateRule(t.lHandle, wType, 1, 2, 3, pExtend, 0, t.lSubHandel);
        })
        .answering(3)
        .showingInThePane(ruleNumbers, "0 1 2 3");
}

/** Three bytes of a polygon's, and what may be a caption. */
char g_extension[] = "\x04\x01\x01gate";

/** With an extension; what follows the type in the line, or no line at all. */
Row extendedRow(unsigned short wRuleType, const char *pLogged)
{
    Row made = createRow(wRuleType, g_extension);
    made.is("Type" + std::to_string(wRuleType) + "WithExtension");
    if (pLogged != nullptr) {
        made.logging({"PELLORA_CreateRule: lHandle: {handle}, lSubHandel: {sub}, wRuleType: " +
                      std::to_string(wRuleType) + ", pExtend: " + pLogged});
    }
    return made;
}

Row plainRow(unsigned short wRuleType)
{
    return createRow(wRuleType, nullptr)
        .is("Type" + std::to_string(wRuleType))
        .logging({"PELLORA_CreateRule: lHandle: {handle}, lSubHandel: {sub}, wRuleType: " + std::to_string(wRuleType)});
}

std::vector<Row> createRows()
{
    // A polygon's caption begins behind its three bytes; the plain polygon's is logged although it has none.
    const char *const captions[] = {
        nullptr,           nullptr, nullptr, "gate", nullptr, nullptr, "\x04\x01\x01gate", "gate", "\x04\x01\x01gate",
        "\x04\x01\x01gate"};
    std::vector<Row> rows;
    for (unsigned short wRuleType = 1; wRuleType <= 10; ++wRuleType) {
        rows.push_back(plainRow(wRuleType));
        rows.push_back(extendedRow(wRuleType, captions[wRuleType - 1]));
    }
    // Refused by the pane with the number of no rule, and logged like others.
    rows.front().refusing({{"Type", Lookup::First, "there is no rule type 11"}}, -1);
    return rows;
}

std::vector<Row> overlayRows()
{
    return {
        row("PELLORA_SetOriginPos", &PELLORA_SetOriginPos, "int __cdecl PELLORA_SetOriginPos(long,unsigned short,long)")
            .is("Bottom")
            .acting(ActsOn::Pane, Playing::Files)
            .asked([](const Target &t) { return PELLORA_SetOriginPos(t.lHandle, t.broken(0) ? 3 : 2, t.lSubHandel); })
            .logging({"PELLORA_SetOriginPos: lHandle: {handle}, wOriginPos: 2, lSubHandel: {sub}."})
            .refusing({{"Above", Lookup::Later, "there is no origin 3, only 1 and 2"}})
            .showingInThePane(firstRule, "0,1000 1000,0"),
        row("PELLORA_SetOriginPos", &PELLORA_SetOriginPos, "int __cdecl PELLORA_SetOriginPos(long,unsigned short,long)")
            .is("Top")
            .acting(ActsOn::Pane, Playing::Files)
            .prepared([](const Scene &scene) {
                for (long lPane = 0; lPane < 9; ++lPane) {
                    PELLORA_SetOriginPos(scene.lHandle, 2, lPane);
                }
            })
            .asked([](const Target &t) { return PELLORA_SetOriginPos(t.lHandle, t.broken(0) ? 0 : 1, t.lSubHandel); })
            .logging({"PELLORA_SetOriginPos: lHandle: {handle}, wOriginPos: 1, lSubHandel: {sub}."})
            .refusing({{"Below", Lookup::Later, "there is no origin 0, only 1 and 2"}})
            .showingInThePane(firstRule, "0,0 1000,1000"),
        row("PELLORA_OpenDraw", &PELLORA_OpenDraw, "int __cdecl PELLORA_OpenDraw(long,long)")
            .acting(ActsOn::Pane, Playing::Files)
            .asked([](const Target &t) { return PELLORA_OpenDraw(t.lHandle, t.lSubHandel); })
            .logging({"PELLORA_OpenDraw: lHandle: {handle}, lSubHandel: {sub}."})
            .calling({"Kavun_RegisterDrawFun({port}, {any}, {wnd})"})
            .failingWith("Kavun_RegisterDrawFun")
            .needingSource(),
        row("PELLORA_CloseDraw", &PELLORA_CloseDraw, "int __cdecl PELLORA_CloseDraw(long,long)")
            .acting(ActsOn::Pane, Playing::Files)
            .asked([](const Target &t) { return PELLORA_CloseDraw(t.lHandle, t.lSubHandel); })
            .logging({"PELLORA_CloseDraw: lHandle: {handle}, lSubHandel: {sub}."})
            .calling({"Kavun_RegisterDrawFun({port}, null, null)"})
            .failingWith("Kavun_RegisterDrawFun")
            .needingSource(),
    };
}

std::vector<Row> ruleCommandRows()
{
    return {
        row("PELLORA_DestroyRule", &PELLORA_DestroyRule, "int __cdecl PELLORA_DestroyRule(long,long,long)")
            .acting(ActsOn::Pane, Playing::Files)
            .asked([](const Target &t) { return PELLORA_DestroyRule(t.lHandle, 1, t.lSubHandel); })
            .logging({"PELLORA_DestroyRule: lHandle: {handle}, lSubHandel: {sub}, lRuleID: 1"})
            .failingFor([](const Target &t) { return PELLORA_DestroyRule(t.lHandle, 64, t.lSubHandel); },
                        "pane 4 of window {handle} has no rule 64")
            .showingInThePane(ruleNumbers, "0 2"),
        row("PELLORA_ClearRule", &PELLORA_ClearRule, "int __cdecl PELLORA_ClearRule(long,long)")
            .acting(ActsOn::PaneOrAll, Playing::Files)
            .asked([](const Target &t) { return PELLORA_ClearRule(t.lHandle, t.lSubHandel); })
            .logging({"PELLORA_ClearRule: lHandle: {handle}, lSubHandel: {sub}"})
            .showingInThePane(ruleNumbers, "none"),
        row("PELLORA_GetRuleCoord", &PELLORA_GetRuleCoord, "int __cdecl PELLORA_GetRuleCoord(long,long,void *,long)")
            .acting(ActsOn::Pane, Playing::Files)
            .prepared(forgetText)
            .asked([](const Target &t) {
                return PELLORA_GetRuleCoord(t.lHandle, 2, t.broken(0) ? nullptr : &g_text, t.lSubHandel);
            })
            .logging({"PELLORA_GetRuleCoord: lHandle: {handle}, lSubHandel: {sub}, lRuleID: 2"})
            .failingFor([](const Target &t) { return PELLORA_GetRuleCoord(t.lHandle, 5, &g_text, t.lSubHandel); },
                        "pane 4 of window {handle} has no rule 5")
            .refusing({{"NullRecord", Lookup::Any, "pCoord is null"}})
            .showing(writtenText, "text of pane {pane}"),
        row("PELLORA_SetRuleCoord", &PELLORA_SetRuleCoord, "int __cdecl PELLORA_SetRuleCoord(long,long,void *,long)")
            .acting(ActsOn::Pane, Playing::Files)
            .asked([](const Target &t) {
                return PELLORA_SetRuleCoord(t.lHandle, 1, t.broken(0) ? nullptr : &g_line, t.lSubHandel);
            })
            .logging({"PELLORA_SetRuleCoord: lHandle: {handle}, lSubHandel: {sub}, lRuleID: 1"})
            .failingFor([](const Target &t) { return PELLORA_SetRuleCoord(t.lHandle, 5, &g_line, t.lSubHandel); },
                        "pane 4 of window {handle} has no rule 5")
            .refusing({{"NullRecord", Lookup::Any, "pCoord is null"}})
            .showingInThePane(secondRule, "1000,0 0,1000"),
        // The rule's number reads as a pointer there.
        row("PELLORA_SetRuleArrowType", &PELLORA_SetRuleArrowType,
            "int __cdecl PELLORA_SetRuleArrowType(long,long,unsigned short,long)")
            .acting(ActsOn::Pane, Playing::Files)
            .asked(
                [](const Target &t) { return PELLORA_SetRuleArrowType(t.lHandle, 1, PELLORA_ARROW_B, t.lSubHandel); })
            .logging({"PELLORA_SetRuleArrowType: lHandle: {handle}, lSubHandel: {sub}, lRuleID: 0000000000000001, "
                      "wArrowType: " +
                      std::to_string(PELLORA_ARROW_B) + "."})
            // A line without arrows.
            .failingFor(
                [](const Target &t) { return PELLORA_SetRuleArrowType(t.lHandle, 0, PELLORA_ARROW_B, t.lSubHandel); },
                "pane 4 of window {handle} has no rule with arrows 0")
            .showingInThePane(arrows, "B"),
    };
}

Row callbackRow()
{
    return row("PELLORA_SetRuleCoordCallback", &PELLORA_SetRuleCoordCallback,
               "int __cdecl PELLORA_SetRuleCoordCallback(long,void (__cdecl *)(long,unsigned short,void *,"
               "unsigned char,long,long,unsigned long),long)")
        .acting(ActsOn::PaneOrAll, Playing::Files);
}

std::vector<Row> callbackRows()
{
    return {
        callbackRow()
            .is("Some")
            .asked([](const Target &t) {
                return PELLORA_SetRuleCoordCallback(t.lHandle, &rulereports::callback, t.lSubHandel);
            })
            .logging({"PELLORA_SetRuleCoordCallback: lHandle: {handle}, lSubHandel: {sub}, pfnRuleCoordCB: " +
                      digits(reinterpret_cast<const void *>(&rulereports::callback))})
            .showingInThePane(toldRule, "handle {handle} pane {pane}"),
        callbackRow()
            .is("None")
            .prepared([](const Scene &scene) {
                for (long lPane = 0; lPane < 9; ++lPane) {
                    PELLORA_SetRuleCoordCallback(scene.lHandle, &rulereports::callback, lPane);
                }
            })
            .asked([](const Target &t) { return PELLORA_SetRuleCoordCallback(t.lHandle, nullptr, t.lSubHandel); })
            .logging({"PELLORA_SetRuleCoordCallback: lHandle: {handle}, lSubHandel: {sub}, "
                      "pfnRuleCoordCB: 0000000000000000"})
            .showingInThePane(toldRule, "nothing"),
    };
}

} // namespace

std::vector<Row> ruleRows()
{
    std::vector<Row> rows = createRows();
    for (const auto &part : {overlayRows(), ruleCommandRows(), callbackRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

} // namespace contract
