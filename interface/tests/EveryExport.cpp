#include "interface/tests/EveryExport.h"

#include "interface/Pellora.h"
#include "tests/doubles/DoubleControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace
{

using Target = const CallTarget &;

constexpr long kPane = PELLORA_CURRENT_PANE;

char g_file[] = "b.mkv";
char g_caption[] = "gate";
unsigned char g_jpeg[64];
unsigned long g_jpegSize = 0;
tagPELLORA_SYSTEM_TIME g_time;
tagPELLORA_POINT g_size;
tagPELLORA_RULE_LINE g_line = {{100, 100}, {900, 900}};

void onStatus(tagPELLORA_PREVIEW_STATUS) {}
void onFileEnd(long) {}
void onRule(long, unsigned short, void *, unsigned char, long, long, unsigned long) {}

tagPELLORA_PREVIEW_PARAM request()
{
    tagPELLORA_PREVIEW_PARAM param = {};
    param.userID = 7;
    param.lChannel = 2;
    return param;
}

tagPELLORA_BATCH_PREVIEW_PARAM requests()
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    batch.struPreviewParam[0] = request();
    batch.struPreviewParam[1] = request();
    batch.wNum = 2;
    return batch;
}

long setClipArea(Target target)
{
    tagPELLORA_CLIP_AREA area = {{{10, 10, 60, 40}, {}, {}, {}}, {5, 0, 0, 0}, 1};
    return PELLORA_SetClipArea(target.lHandle, &area);
}

long screenshot(Target target)
{
    unsigned long crop[4] = {100, 100, 900, 900};
    tagPELLORA_CROP_PIC_INFO info = {g_jpeg, sizeof(g_jpeg), 0, 0, {0, 0, 0}, crop};
    return PELLORA_Screenshot(target.lHandle, &info);
}

long setDisplayRegion(Target target)
{
    tagPELLORA_RECT region = {0, 0, 500, 500};
    return PELLORA_SetDisplayRegion(target.lHandle, &region, kPane);
}

std::vector<ExportCall> lifecycleCalls()
{
    return {
        {"Init", [](Target) { return PELLORA_Init(); }, 1, 0, false},
        {"Fini", [](Target) { return PELLORA_Fini(); }, 1, 0, false},
        {"CreateWindow", [](Target t) { return PELLORA_CreateWindow(t.hHost, PELLORA_EMBED_PLAIN); }, 1, -1, false},
        {"CreateWindow2", [](Target t) { return PELLORA_CreateWindow2(t.hHost); }, 1, 0, false},
        // 1 also without such a window.
        {"DestroyWindow", [](Target t) { return PELLORA_DestroyWindow(t.lHandle); }, 1, 0, false},
        {"SetVisible", [](Target t) { return PELLORA_SetVisible(t.lHandle, 0); }, 1},
        {"SetGeometry", [](Target t) { return PELLORA_SetGeometry(t.lHandle, 10, 10, 300, 200); }, 1},
        {"SetClipArea", &setClipArea, 1},
        {"SplitScreen", [](Target t) { return PELLORA_SplitScreen(t.lHandle, 9); }, 1},
        {"FullScreen", [](Target t) { return PELLORA_FullScreen(t.lHandle); }, 1},
        {"NormalScreen", [](Target t) { return PELLORA_NormalScreen(t.lHandle); }, 1},
        {"SetCurWnd", [](Target t) { return PELLORA_SetCurWnd(t.lHandle, 3); }, 1},
    };
}

std::vector<ExportCall> previewCalls()
{
    return {
        {"PreviewStream", [](Target t) { return PELLORA_PreviewStream(t.lHandle, request()); }, 1},
        {"StopPreviewStream", [](Target t) { return PELLORA_StopPreviewStream(t.lHandle); }, 1},
        {"BatchPreviewStream", [](Target t) { return PELLORA_BatchPreviewStream(t.lHandle, requests(), nullptr); }, 1},
        {"BatchPreviewStream_Async",
         [](Target t) { return PELLORA_BatchPreviewStream_Async(t.lHandle, requests(), nullptr); }, 1},
        {"StopAllPreviewStream", [](Target t) { return PELLORA_StopAllPreviewStream(t.lHandle); }, 1},
        {"StopAllPreviewStream_Async", [](Target t) { return PELLORA_StopAllPreviewStream_Async(t.lHandle); }, 1},
        {"SetPreviewStatusCallback", [](Target t) { return PELLORA_SetPreviewStatusCallback(t.lHandle, &onStatus); },
         1},
        {"SetIntelData", [](Target t) { return PELLORA_SetIntelData(t.lHandle, 1); }, 1},
    };
}

std::vector<ExportCall> fileCalls()
{
    return {
        {"PreviewFile", [](Target t) { return PELLORA_PreviewFile(t.lHandle, g_file, 1, 1); }, 1},
        {"StopPreviewFile", [](Target t) { return PELLORA_StopPreviewFile(t.lHandle); }, 1},
        {"Play", [](Target t) { return PELLORA_Play(t.lHandle); }, 1},
        {"Pause", [](Target t) { return PELLORA_Pause(t.lHandle); }, 1},
        {"Restore", [](Target t) { return PELLORA_Restore(t.lHandle); }, 1},
        {"Fast", [](Target t) { return PELLORA_Fast(t.lHandle); }, 1},
        {"Slow", [](Target t) { return PELLORA_Slow(t.lHandle); }, 1},
        {"OneByOne", [](Target t) { return PELLORA_OneByOne(t.lHandle); }, 1},
        // Refused while the file is being indexed.
        {"OneByOneBack", [](Target t) { return PELLORA_OneByOneBack(t.lHandle); }, 0},
        {"SetPlayPos", [](Target t) { return PELLORA_SetPlayPos(t.lHandle, 9); }, 1},
        {"GetPlayPos", [](Target t) { return static_cast<long>(PELLORA_GetPlayPos(t.lHandle)); }, 17},
        {"GetFileTime", [](Target t) { return static_cast<long>(PELLORA_GetFileTime(t.lHandle)); }, 3600},
        {"GetFileTimeNoPriview", [](Target) { return static_cast<long>(PELLORA_GetFileTimeNoPriview(g_file)); }, 3600,
         0, false},
        // 0 whatever they have filled in.
        {"GetSystemFileTime", [](Target t) { return PELLORA_GetSystemFileTime(t.lHandle, &g_time, &g_time); }, 0},
        {"GetSystemTime", [](Target t) { return PELLORA_GetSystemTime(t.lHandle, &g_time); }, 0},
        {"SetFileEndCallback",
         [](Target t) { return static_cast<long>(PELLORA_SetFileEndCallback(t.lHandle, &onFileEnd)); }, 1},
        {"GetPictureSize", [](Target t) { return PELLORA_GetPictureSize(t.lHandle, &g_size); }, 1},
        {"Capture", [](Target t) { return PELLORA_Capture(t.lHandle, g_jpeg, sizeof(g_jpeg), &g_jpegSize); }, 1},
        {"Screenshot", &screenshot, 1},
        {"SetDisplayRegion", &setDisplayRegion, 1},
        {"OpenSound", [](Target t) { return PELLORA_OpenSound(t.lHandle); }, 1},
        {"CloseSound", [](Target t) { return PELLORA_CloseSound(t.lHandle); }, 1},
        {"SetVolume", [](Target t) { return PELLORA_SetVolume(t.lHandle, 100); }, 1},
        {"GetVolume", [](Target t) { return static_cast<long>(PELLORA_GetVolume(t.lHandle)); }, 50000},
    };
}

std::vector<ExportCall> ruleCalls()
{
    return {
        {"SetOriginPos", [](Target t) { return PELLORA_SetOriginPos(t.lHandle, 2, kPane); }, 1},
        {"OpenDraw", [](Target t) { return PELLORA_OpenDraw(t.lHandle, kPane); }, 1},
        {"CloseDraw", [](Target t) { return PELLORA_CloseDraw(t.lHandle, kPane); }, 1},
        // The number of the second rule.
        {"CreateRule", [](Target t) { return PELLORA_CreateRule(t.lHandle, 7, 9, 9, 9, g_caption, 0, kPane); }, 1},
        {"DestroyRule", [](Target t) { return PELLORA_DestroyRule(t.lHandle, 0, kPane); }, 1},
        {"ClearRule", [](Target t) { return PELLORA_ClearRule(t.lHandle, PELLORA_ALL_PANES); }, 1},
        {"GetRuleCoord", [](Target t) { return PELLORA_GetRuleCoord(t.lHandle, 0, &g_line, kPane); }, 1},
        {"SetRuleCoord", [](Target t) { return PELLORA_SetRuleCoord(t.lHandle, 0, &g_line, kPane); }, 1},
        {"SetRuleCoordCallback", [](Target t) { return PELLORA_SetRuleCoordCallback(t.lHandle, &onRule, kPane); }, 1},
        {"SetRuleArrowType", [](Target t) { return PELLORA_SetRuleArrowType(t.lHandle, 0, 1, kPane); }, 1},
    };
}

std::vector<ExportCall> joined()
{
    std::vector<ExportCall> calls;
    for (const auto &part : {lifecycleCalls(), previewCalls(), fileCalls(), ruleCalls()}) {
        calls.insert(calls.end(), part.begin(), part.end());
    }
    return calls;
}

} // namespace

void PrintTo(const ExportCall &call, std::ostream *pStream)
{
    *pStream << call.name;
}

const std::vector<ExportCall> &everyExport()
{
    static const std::vector<ExportCall> calls = joined();
    return calls;
}

std::vector<ExportCall> everyExportBetween()
{
    std::vector<ExportCall> calls = everyExport();
    calls.erase(calls.begin(), calls.begin() + 2);
    return calls;
}

const ExportCall &exportNamed(const std::string &name)
{
    const auto &calls = everyExport();
    const auto it =
        std::find_if(calls.begin(), calls.end(), [&name](const ExportCall &call) { return call.name == name; });
    if (it == calls.end()) {
        throw std::out_of_range(name);
    }
    return *it;
}

void setScene(const CallTarget &target)
{
    doubles::PlayerOutputs outputs;
    outputs.playedTime = 17;
    outputs.fileTime = 3600;
    outputs.volume = 50000;
    doubles::setPlayerOutputs(outputs);
    std::string path = "a.mkv";
    EXPECT_EQ(PELLORA_PreviewFile(target.lHandle, path.data(), 0, 1), 1);
    EXPECT_EQ(PELLORA_CreateRule(target.lHandle, PELLORA_RULE_LINE_WITH_ARROWS, 0, 0, 0, nullptr, 0, kPane), 0);
    EXPECT_EQ(PELLORA_SetRuleCoord(target.lHandle, 0, &g_line, kPane), 1);
    doubles::clearCalls();
}
