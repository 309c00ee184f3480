// The library and its windows.

#include "base/CLog.h"
#include "corvane/CorvaneMgr.h"
#include "interface/tests/contract/ContractRow.h"
#include "interface/tests/contract/Readings.h"

#include <cstring>

namespace contract
{

namespace
{

long long destroyed(long lHandle)
{
    return lHandle >= 0 && lHandle < 9 ? 1 : 0;
}

Row libraryRow(Row row)
{
    row.actsOn = ActsOn::Library;
    return row;
}

Row createWindowRow()
{
    Row made = row("PELLORA_CreateWindow", &PELLORA_CreateWindow,
                   "long __cdecl PELLORA_CreateWindow(struct HWND__ *,unsigned char)");
    made.acting(ActsOn::NoWindow).logging({"PELLORA_CreateWindow: hwnd: {hwnd}"}).answering(2);
    made.elsewhere = -1;
    return made;
}

Call creating(unsigned char embedMode)
{
    return [embedMode](const Target &t) { return PELLORA_CreateWindow(t.pScene->hSpareHost, embedMode); };
}

/** Square, with round corners, and one that is not counted. */
tagPELLORA_CLIP_AREA twoHoles()
{
    return {{{10, 10, 60, 60}, {100, 100, 200, 200}, {250, 250, 350, 350}, {0, 0, 0, 0}}, {0, 40, 0, 0}, 2};
}

/** The record's 74 bytes, behind which nothing can be read. */
const tagPELLORA_CLIP_AREA *lastBytes(const tagPELLORA_CLIP_AREA &area)
{
    constexpr std::size_t kPage = 4096;
    constexpr std::size_t kRecord = 74;
    static auto *const s_pPages =
        static_cast<unsigned char *>(VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD nBefore = 0;
    VirtualProtect(s_pPages + kPage, kPage, PAGE_NOACCESS, &nBefore);
    unsigned char *const pRecord = s_pPages + kPage - kRecord;
    std::memcpy(pRecord, &area, kRecord);
    return reinterpret_cast<const tagPELLORA_CLIP_AREA *>(pRecord);
}

Row clipRow()
{
    return row("PELLORA_SetClipArea", &PELLORA_SetClipArea,
               "int __cdecl PELLORA_SetClipArea(long,struct tagPELLORA_CLIP_AREA *)");
}

Row splitRow()
{
    return row("PELLORA_SplitScreen", &PELLORA_SplitScreen, "int __cdecl PELLORA_SplitScreen(long,unsigned short)");
}

std::vector<Row> lifeRows()
{
    return {
        libraryRow(row("PELLORA_Init", &PELLORA_Init, "int __cdecl PELLORA_Init(void)")
                       .asked([](const Target &) { return PELLORA_Init(); })
                       .logging({"==================Pellora Begin==================",
                                 "CorvaneMgr: " + digits(corvane::CorvaneMgr::getInstance()),
                                 "CLog: " + digits(Base::CLog::getInstance())})),
        libraryRow(row("PELLORA_Fini", &PELLORA_Fini, "int __cdecl PELLORA_Fini(void)")
                       .asked([](const Target &) { return PELLORA_Fini(); })
                       .logging({"==================Pellora End=================="})),
        createWindowRow()
            .is("BehindThePage")
            .asked(creating(0))
            .showing(missingChild, "hwndChromeLegacyWindow is null"),
        createWindowRow()
            .is("BehindTheD3dWindow")
            .asked(creating(1))
            .showing(missingChild, "hwndIntermediateD3DWindow is null"),
        createWindowRow().is("Plain").asked(creating(2)).showing(windows, "3, one in the spare host"),
        createWindowRow()
            .is("WithoutAHost")
            .asked([](const Target &) { return PELLORA_CreateWindow(nullptr, 0); })
            .logging({"PELLORA_CreateWindow: hwnd: 0000000000000000"})
            .answering(-1),
        row("PELLORA_CreateWindow2", &PELLORA_CreateWindow2, "long __cdecl PELLORA_CreateWindow2(struct HWND__ *)")
            .acting(ActsOn::NoWindow)
            .asked([](const Target &t) { return PELLORA_CreateWindow2(t.pScene->hSpareHost); })
            .showing(testChild, "100,100 to 700,700"),
    };
}

Row destroyRow()
{
    Row made = row("PELLORA_DestroyWindow", &PELLORA_DestroyWindow, "int __cdecl PELLORA_DestroyWindow(long)");
    made.asked(&PELLORA_DestroyWindow).logging({"PELLORA_DestroyWindow: lHandle: {handle}"}).showing(windows, "1");
    made.withoutWindow = destroyed;
    return made;
}

std::vector<Row> placeRows()
{
    const auto hide = [](const Scene &scene) { PELLORA_SetVisible(scene.lHandle, 0); };
    const Row visible =
        row("PELLORA_SetVisible", &PELLORA_SetVisible, "int __cdecl PELLORA_SetVisible(long,unsigned short)");
    return {
        destroyRow(),
        Row(visible)
            .is("No")
            .asked([](const Target &t) { return PELLORA_SetVisible(t.lHandle, 0); })
            .logging({"PELLORA_SetVisible: lHandle: {handle}, wVisible: 0"})
            .showing(visibility, "hidden"),
        Row(visible)
            .is("Yes")
            .prepared(hide)
            .asked([](const Target &t) { return PELLORA_SetVisible(t.lHandle, 2); })
            .logging({"PELLORA_SetVisible: lHandle: {handle}, wVisible: 2"})
            .showing(visibility, "shown"),
        Row(visible)
            .is("Most")
            .prepared(hide)
            .asked([](const Target &t) { return PELLORA_SetVisible(t.lHandle, 65535); })
            .logging({"PELLORA_SetVisible: lHandle: {handle}, wVisible: 65535"})
            .showing(visibility, "shown"),
        row("PELLORA_SetGeometry", &PELLORA_SetGeometry, "int __cdecl PELLORA_SetGeometry(long,int,int,int,int)")
            .asked([](const Target &t) { return PELLORA_SetGeometry(t.lHandle, -5, 20, 300, 200); })
            .showing(geometry, "-5,20 300 x 200"),
        clipRow()
            .is("Holes")
            .asked([](const Target &t) {
                tagPELLORA_CLIP_AREA area = twoHoles();
                return PELLORA_SetClipArea(t.lHandle, t.broken(0) ? nullptr : &area);
            })
            .refusing({{"NullRecord", Lookup::Any, "pArea is null"}})
            // The round corner at 100,100 stays.
            .showing(holes, "10,10 40,40 150,150"),
        clipRow()
            .is("AtTheEndOfItsMemory")
            .asked([](const Target &t) { return PELLORA_SetClipArea(t.lHandle, lastBytes(twoHoles())); })
            .showing(holes, "10,10 40,40 150,150"),
        clipRow()
            .is("NoHoles")
            .prepared([](const Scene &scene) {
                tagPELLORA_CLIP_AREA area = twoHoles();
                PELLORA_SetClipArea(scene.lHandle, &area);
            })
            .asked([](const Target &t) {
                tagPELLORA_CLIP_AREA area = twoHoles();
                area.wNum = 0;
                return PELLORA_SetClipArea(t.lHandle, &area);
            })
            .showing(holes, ""),
    };
}

std::vector<Row> layoutRows()
{
    const auto whole = [](const Scene &scene) { PELLORA_FullScreen(scene.lHandle); };
    return {
        splitRow()
            .is("Four")
            .asked([](const Target &t) { return PELLORA_SplitScreen(t.lHandle, t.broken(0) ? 2 : 4); })
            .logging({"PELLORA_SplitScreen: lHandle: {handle}, wSplitNum: 4"})
            .refusing({{"Number", Lookup::First, "there is no split into 2, only into 1, 4 and 9"}})
            .showing(split, "4"),
        splitRow()
            .is("One")
            .asked([](const Target &t) { return PELLORA_SplitScreen(t.lHandle, t.broken(0) ? 0 : 1); })
            .logging({"PELLORA_SplitScreen: lHandle: {handle}, wSplitNum: 1"})
            .refusing({{"None", Lookup::First, "there is no split into 0, only into 1, 4 and 9"}})
            .showing(split, "1"),
        splitRow()
            .is("Nine")
            .prepared([](const Scene &scene) { PELLORA_SplitScreen(scene.lHandle, 1); })
            .asked([](const Target &t) { return PELLORA_SplitScreen(t.lHandle, t.broken(0) ? 65535 : 9); })
            .logging({"PELLORA_SplitScreen: lHandle: {handle}, wSplitNum: 9"})
            .refusing({{"Most", Lookup::First, "there is no split into 65535, only into 1, 4 and 9"}})
            .showing(split, "9"),
        row("PELLORA_FullScreen", &PELLORA_FullScreen, "int __cdecl PELLORA_FullScreen(long)")
            .asked(&PELLORA_FullScreen)
            .logging({"PELLORA_FullScreen: lHandle: {handle}"})
            .showing(extent, "all of the screen"),
        row("PELLORA_NormalScreen", &PELLORA_NormalScreen, "int __cdecl PELLORA_NormalScreen(long)")
            .prepared(whole)
            .asked(&PELLORA_NormalScreen)
            .logging({"PELLORA_NormalScreen: lHandle: {handle}"})
            .showing(extent, "in the host"),
        row("PELLORA_SetCurWnd", &PELLORA_SetCurWnd, "int __cdecl PELLORA_SetCurWnd(long,long)")
            .acting(ActsOn::PaneByNumber)
            .asked([](const Target &t) { return PELLORA_SetCurWnd(t.lHandle, t.lSubHandel); })
            .logging({"PELLORA_SetCurWnd: lHandle: {handle}, lSubHandel: {sub}"})
            .showingInThePane(frame, "framed"),
    };
}

} // namespace

std::vector<Row> windowRows()
{
    std::vector<Row> rows = lifeRows();
    for (const auto &part : {placeRows(), layoutRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

} // namespace contract
